// SPDX-License-Identifier: MIT
#include "codes/KavrinShortcuts.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

QString KavrinShortcuts::applicationNameToken()
{
    return u"${applicationName}"_s;
}

std::vector<AppShortcut> KavrinShortcuts::appShortcuts()
{
    return {{
        .intent = {},
        .phrases = {u"Save code in "_s + applicationNameToken()},
        .shortTitle = u"Save code"_s,
        .systemImageName = u"number"_s,
    }};
}

QString KavrinShortcuts::displayPhrase(const QString &phrase, const QString &applicationName)
{
    return QString(phrase).replace(applicationNameToken(), applicationName);
}

} // namespace kavrin
