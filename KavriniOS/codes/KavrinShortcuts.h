// SPDX-License-Identifier: MIT
#pragma once

#include "codes/SaveVerificationCode.h"

#include <QStringList>

#include <vector>

namespace kavrin
{

/// An action that is ready to use, as a launcher or an assistant lists it.
struct AppShortcut {
    SaveVerificationCode intent;
    QStringList phrases; ///< what a user says or types to run it, with a token for the application's name
    QString shortTitle;
    QString systemImageName; ///< a system symbol (platform/Symbols.h)
};

/// The shortcuts that the application publishes. A value type without state; safe from any thread.
struct KavrinShortcuts {
    /// The token that stands for the application's name in a phrase: "${applicationName}".
    static QString applicationNameToken();

    /// Exactly one shortcut, which saves a verification code. Each call makes a new one.
    static std::vector<AppShortcut> appShortcuts();

    /// A phrase as users see it, with the name in place of the token.
    static QString displayPhrase(const QString &phrase, const QString &applicationName);
};

} // namespace kavrin
