// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Folders and files that only this user may use, whatever the umask. Narrows those that let others in, but
/// cannot close what others have open. Safe from any thread.
namespace kavrin::PrivateFiles
{

/// Makes the folder, and those above it, if they are missing. False if the folder belongs to another user,
/// who could let others in again; root may use it nevertheless. True if it could not be made.
bool makeFolder(const QString &path);

/// The same for the file of a database, its folder, and the files that SQLite keeps beside it. Makes no file
/// where a link leads.
bool makeDatabase(const QString &path);

} // namespace kavrin::PrivateFiles
