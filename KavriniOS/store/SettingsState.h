// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <QString>
#include <QStringList>

namespace kavrin
{

/// What the suite holds under some keys, as one line of text that keeps every value with its type, and which
/// keys have none: "KAVRINSTATE1:" and the Base64 of a binary property list.
struct SettingsState {
    /// The state of `keys`. Fails if the suite cannot be read.
    static Result<QString> read(const QStringList &keys);

    /// Whether `text` begins as a state does.
    static bool isState(const QString &text);

    /// The changes that bring the state in `text` back, of those keys that are among `allowed`. None if it is
    /// damaged.
    static std::optional<Changes> changes(const QString &text, const QStringList &allowed);
};

} // namespace kavrin
