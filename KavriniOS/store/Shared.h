// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UserDefaults.h"

#include <optional>

namespace kavrin
{

/// The preferences suite that the application and the keyboard share. Both values are made on first use, from
/// any thread, and stay as they are for the life of the process.
struct Shared {
    /// The application group that the application and the keyboard use by default.
    static const QString &builtInGroup();

    /// The application group that this build may use: the first with a container among those that the
    /// embedded provisioning profile grants, those of the Info key "ALTAppGroups", and the built-in one. None
    /// where no group has a container.
    static const std::optional<QString> &group();

    /// The group's suite; the application's private defaults, which the keyboard cannot see, where there is
    /// no group or its suite cannot be opened.
    static UserDefaults &d();

    /// Whether d() is the group's suite.
    static bool isShared();
};

} // namespace kavrin
