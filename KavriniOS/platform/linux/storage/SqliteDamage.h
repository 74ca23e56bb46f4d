// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <sqlite3.h>

namespace kavrin
{

/// Whether a result of SQLite means that the file is damaged.
bool isDamage(int result);

/// Whether every page can be read and has correct contents, with the keys in their order. A file that cannot
/// be checked now, for example because it is locked, does not count as damaged.
bool pagesAreSound(sqlite3 *handle);

/// Whether the file's header has our values in places where SQLite accepts others, too: with another text
/// encoding no key would be found, and another format may be read but not written.
bool headerIsSound(sqlite3 *handle, const QString &path);

/// Whether the table has one row for each key. Does not write.
bool keyIsSound(sqlite3 *handle);

/// If the file is damaged, copies it to FILE.damaged-TIME beside it and makes it a fresh one in place.
/// Processes that have it open continue with the new content. (If it were renamed, they would write to a file
/// that nobody reads.) If that is not possible now, the file does not change. The calling process must not
/// have it open.
void setAsideIfDamaged(const QString &path);

} // namespace kavrin
