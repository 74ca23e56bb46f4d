// SPDX-License-Identifier: MIT
#pragma once

#include <QDeadlineTimer>
#include <QString>

#include <sqlite3.h>

#include <optional>

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

/// Puts the log back in its place that somebody has removed while `reader`, a connection to `path`, had it
/// open. Nothing is lost then; otherwise, every process that opens the file would miss what was only in the
/// log. Does nothing if another log is in use there. False if that is not possible now: `reader` can still be
/// used.
bool putLogBack(sqlite3 *reader, const QString &path);

/// If the file is damaged, copies it to FILE.damaged-TIME beside it and makes it a fresh one in place.
/// Processes that have it open continue with the new content. (If it were renamed, they would write to a file
/// that nobody reads.) If that is not possible until `limit`, the file does not change. The calling process
/// must not have it open. A file that only lacks its log is not damaged: it is as it was before the log.
/// Returns the path of the copy, if there is one.
std::optional<QString> setAsideIfDamaged(const QString &path, QDeadlineTimer limit);

} // namespace kavrin
