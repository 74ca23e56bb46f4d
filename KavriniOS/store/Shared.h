// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <optional>

namespace kavrin
{

/// The preferences suite that the application and the keyboard share. Each value is made on first use, from
/// any thread, and does not change while the process lives.
struct Shared {
    /// The application group that the application and the keyboard use by default.
    static const QString &builtInGroup();

    /// The application group that this build may use: the first one with a container. The candidates are
    /// those that the embedded provisioning profile grants, then those of the Info key "ALTAppGroups", then
    /// the built-in one. None if no group has a container.
    static const std::optional<QString> &group();

    /// The group's suite. If there is no group, or its suite cannot be opened, the application's private
    /// defaults, which the keyboard cannot see.
    static UserDefaults &d();

    /// The path of the file that a process keeps locked while it serves the keyboard.
    static QString lockPath();

    /// Whether d() is the group's suite.
    static bool isShared();
};

} // namespace kavrin
