// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <sqlite3.h>

namespace kavrin
{

/// Whether a result of SQLite tells of a damaged file.
bool isDamage(int result);

/// Whether every page can be read and holds what it should, keys in their order included. A file that cannot
/// be looked at now, because it is locked say, is not known to be damaged.
bool pagesAreSound(sqlite3 *handle);

/// Whether the file's header says what ours do where SQLite takes other values as well: a text encoding in
/// which no key would be found, and a format that may be read but not written.
bool headerIsSound(sqlite3 *handle, const QString &path);

/// Whether the table has one row a key; asked without writing.
bool keyIsSound(sqlite3 *handle);

/// Where the file is damaged, copies it to a file beside itself, FILE.damaged-TIME, and begins it anew in
/// place: processes that have it open go on with that, where renaming it away would leave them writing to a
/// file that nobody reads. Where that is not possible at present, the file stays as it is. The calling
/// process must not have it open.
void setAsideIfDamaged(const QString &path);

} // namespace kavrin
