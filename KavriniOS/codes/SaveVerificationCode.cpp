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
    const QFuture<std::optional<Error>> stored = store();
    co_await stored;
}

QFuture<std::optional<Error>> SaveVerificationCode::store() const
{
    return SuiteWriter::write(Codes::changes(text, Codes::messageSource));
}

} // namespace kavrin
