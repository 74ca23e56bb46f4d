// SPDX-License-Identifier: MIT
#include "codes/SaveVerificationCode.h"

#include "codes/Codes.h"

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
    Codes::note(text, QStringLiteral("message"));
    co_return;
}

} // namespace kavrin
