// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

/// Where files go. Safe from any thread.
namespace kavrin::FileManager
{

/// The folder that the processes of an application group share. None if this application is not entitled to
/// the group, or if `group` is not a valid name. This call creates no folder.
std::optional<QString> containerPath(const QString &group);

/// A folder for files that are not needed after the session. Only this user can read it. The call creates it
/// if it is missing.
QString temporaryDirectory();

/// The same folder, but only where it is gone after the session; none elsewhere.
std::optional<QString> sessionDirectory();

} // namespace kavrin::FileManager
