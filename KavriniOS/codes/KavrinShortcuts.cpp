// SPDX-License-Identifier: MIT
#include "codes/KavrinShortcuts.h"

namespace kavrin
{

QString KavrinShortcuts::applicationNameToken()
{
    return QStringLiteral("${applicationName}");
}

std::vector<AppShortcut> KavrinShortcuts::appShortcuts()
{
    return {{
        .intent = {},
        .phrases = {QStringLiteral("Save code in ") + applicationNameToken()},
        .shortTitle = QStringLiteral("Save code"),
        .systemImageName = QStringLiteral("number"),
    }};
}

QString KavrinShortcuts::displayPhrase(const QString &phrase, const QString &applicationName)
{
    return QString(phrase).replace(applicationNameToken(), applicationName);
}

} // namespace kavrin
