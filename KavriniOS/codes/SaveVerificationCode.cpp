// SPDX-License-Identifier: MIT
#include "codes/SaveVerificationCode.h"

#include "codes/Codes.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>

namespace kavrin
{

using namespace Qt::StringLiterals;

QString SaveVerificationCode::title()
{
    return u"Save verification code"_s;
}

QString SaveVerificationCode::textTitle()
{
    return u"Message"_s;
}

QCoro::Task<> SaveVerificationCode::perform() const
{
    const QFuture<std::optional<Error>> written =
        SuiteWriter::write(Codes::changes(text, Codes::messageSource));
    co_await written;
}

} // namespace kavrin
