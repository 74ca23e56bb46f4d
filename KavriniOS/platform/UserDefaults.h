// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PropertyListValue.h"

#include <QStringList>

#include <memory>
#include <optional>

namespace kavrin
{

/// A database of typed values by key that several processes share and that outlives them all.
///
/// Reading and writing one key is atomic, between threads and between processes: a reader sees the old value
/// or the new one, never half of each, and at once. Every function may be called from any thread, and none of
/// them throws. When another process holds the database locked, a write waits for it, five seconds at most.
///
/// The file's format is a public contract: see docs/shared-suite.md.
class UserDefaults
{
public:
    /// The suite that the processes of the application group `group` share; null where the group has no
    /// container or its database can neither be opened nor begun anew. Where only something passing is in the
    /// way (another process's lock, a disk that is full or may not be written to), there is a suite: reads
    /// find what can be read, writes fail until they can be done.
    static std::unique_ptr<UserDefaults> suite(const QString &group);

    /// The application's own defaults, which no other application sees. Always there; where its file cannot
    /// be opened, reads find nothing and writes fail until it can.
    static UserDefaults &standard();

    ~UserDefaults();

    /// The value as it is stored, or none.
    [[nodiscard]] std::optional<PropertyListValue> object(const QString &key) const;

    /// The value as a string: a stored string, or a stored number in decimal; else none.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;

    /// All keys with their values, as they stood at one moment.
    [[nodiscard]] PropertyListDictionary dictionaryRepresentation() const;

    /// Those of `keys` that have a value, as they stood at one moment.
    [[nodiscard]] PropertyListDictionary objects(const QStringList &keys) const;

    /// Stores a value. False where that failed: the old value is then still there, and lastError() says why.
    /// A number that is not finite is refused, and so is a list that is nested more than 500 deep or has more
    /// than 100,000 values.
    bool set(const QString &key, const PropertyListValue &value);

    /// Stores a string in the place of another one and of nothing else: what a process has stored under the
    /// key meanwhile stays. False where nothing was replaced; lastError() is empty then, or says what failed.
    bool replace(const QString &key, const QString &from, const QString &to);

    /// Removes a key; removing one that is not there succeeds. False as with set().
    bool remove(const QString &key);

    /// Where the database is.
    [[nodiscard]] QString path() const;

    /// Why the calling thread's last operation failed, in words for a person; empty when it did not. A read
    /// that failed finds no value.
    [[nodiscard]] QString lastError() const;

private:
    class Database;
    explicit UserDefaults(std::unique_ptr<Database> database);

    std::unique_ptr<Database> m_database;
};

} // namespace kavrin
