// SPDX-License-Identifier: MIT
#pragma once

#include "codes/SaveVerificationCode.h"

#include <QStringList>

#include <vector>

namespace kavrin
{

/// An action ready to use, as a launcher or an assistant lists it.
struct AppShortcut {
    SaveVerificationCode intent;
    QStringList phrases; ///< what one says or types for it, with the application's name as a token
    QString shortTitle;
    QString systemImageName; ///< a system symbol (platform/Symbols.h)
};

/// The shortcuts that the application publishes. A value type without state; from any thread.
struct KavrinShortcuts {
    /// Stands in a phrase for the application's name: "${applicationName}".
    static QString applicationNameToken();

    /// Exactly one, saving a verification code; made anew on each call.
    static std::vector<AppShortcut> appShortcuts();

    /// A phrase as users see it, the token replaced by the name.
    static QString displayPhrase(const QString &phrase, const QString &applicationName);
};

} // namespace kavrin
