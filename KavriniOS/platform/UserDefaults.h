// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/PropertyListValue.h"

#include <QDeadlineTimer>
#include <QStringList>

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

namespace kavrin
{

class SqliteDatabase;

/// A change of one key.
struct Change {
    QString key;
    std::optional<PropertyListValue> value; ///< what is stored; none removes the key
    /// Where it is there: the change is made only in the place of this string, and else nothing happens.
    std::optional<QString> inPlaceOf = std::nullopt;
};
using Changes = std::vector<Change>;

/// A database of typed values by key that several processes share and that outlives them all.
///
/// Every function may be called from any thread, and none of them throws. A read sees what is stored at one
/// moment, and never waits for a writer. A write is a transaction: other threads and processes see all of it
/// or nothing. When another process holds the database locked, a write waits for it, as long as its limit
/// permits.
///
/// The file's format is a public contract: see docs/shared-suite.md.
class UserDefaults
{
public:
    /// How long a write waits for another process that holds the database.
    static constexpr std::chrono::milliseconds patience{5000};

    /// The suite that the processes of the application group `group` share; null where the group has no
    /// container or its database can neither be opened nor begun anew. Where only something passing is in the
    /// way (another process's lock, a disk that is full or may not be written to), there is a suite: reads
    /// find what can be read, writes fail until they can be done.
    static std::unique_ptr<UserDefaults> suite(const QString &group);

    /// The application's own defaults, which no other application sees. Always there; where its file cannot
    /// be opened, reads find nothing and writes fail until it can.
    static UserDefaults &standard();

    ~UserDefaults();

    /// The value as it is stored; none where there is none, and where reading failed.
    [[nodiscard]] std::optional<PropertyListValue> object(const QString &key) const;

    /// The value as a string: a stored string, or a stored number in decimal; else none.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;

    /// As object(), for who must know a key without a value from one that could not be read.
    [[nodiscard]] Result<std::optional<PropertyListValue>> read(const QString &key) const;

    /// Those of `keys` that have a value, as they stood at one moment.
    [[nodiscard]] Result<PropertyListDictionary> objects(const QStringList &keys) const;

    /// All keys with their values, as they stood at one moment.
    [[nodiscard]] Result<PropertyListDictionary> dictionaryRepresentation() const;

    /// Makes all the changes, in their order, or none of them. Returns why it made none. A number that is not
    /// finite is refused, and so is a list that is nested more than 500 deep or has more than 100,000 values.
    [[nodiscard]] std::optional<Error> write(const Changes &changes,
                                             QDeadlineTimer limit = QDeadlineTimer(patience));

    /// write() with one change that stores a value.
    [[nodiscard]] std::optional<Error> set(const QString &key, const PropertyListValue &value);

    /// write() with one change that removes a key; removing one that is not there succeeds.
    [[nodiscard]] std::optional<Error> remove(const QString &key);

    /// Where the database is.
    [[nodiscard]] QString path() const;

private:
    explicit UserDefaults(std::unique_ptr<SqliteDatabase> database);

    std::unique_ptr<SqliteDatabase> m_database;
};

} // namespace kavrin
