// SPDX-License-Identifier: MIT
#include "codes/SaveVerificationCode.h"

#include "codes/Codes.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>

namespace kavrin
{

QString SaveVerificationCode::title()
{
    return QStringLiteral("Save verification code");
}

QString SaveVerificationCode::textTitle()
{
    return QStringLiteral("Message");
}

QCoro::Task<> SaveVerificationCode::perform() const
{
    const QFuture<std::optional<Error>> written =
        SuiteWriter::write(Codes::changes(text, Codes::messageSource));
    co_await written;
}

} // namespace kavrin
