// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <optional>

/// Where files go. Safe from any thread.
namespace kavrin::FileManager
{

/// The folder that the processes of an application group share, or none where this application is not
/// entitled to the group or `group` cannot name one. Looking makes no folder.
std::optional<QString> containerPath(const QString &group);

/// A folder for files that need not outlive the session, readable by this user alone; made when missing.
QString temporaryDirectory();

} // namespace kavrin::FileManager
