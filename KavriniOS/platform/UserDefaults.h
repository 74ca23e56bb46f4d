// SPDX-License-Identifier: MIT
#pragma once

#include "platform/Error.h"
#include "platform/PropertyListValue.h"

#include <QDeadlineTimer>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kavrin
{

class SqliteDatabase;

/// A change of one key.
struct Change {
    QString key;
    std::optional<PropertyListValue> value; ///< the value to store; none removes the key
    /// If present, the change is made only if the key holds this string. Otherwise nothing happens.
    std::optional<QString> inPlaceOf = std::nullopt;
};
using Changes = std::vector<Change>;

/// A database of typed values by key. Several processes share it, and it outlives them all.
///
/// Any thread may call every function, and none of them throws. A read sees the values of one moment, and
/// never waits for a writer. A write is a transaction: other threads and processes see all of it or nothing.
/// If another process has locked the database, a write waits for it, up to the write's limit.
///
/// The file's format is a public contract: see docs/shared-suite.md.
class UserDefaults
{
public:
    /// How long a read of this process waits, from now on, for another process or thread that keeps the
    /// database from being read: it has locked the whole of it, makes it, or makes it anew. Five seconds at
    /// first. Nobody can lock the whole of a database while this process has it open.
    static void setReadPatience(std::chrono::milliseconds patience);

    /// How long a write waits for another process that has locked the database.
    static constexpr std::chrono::milliseconds patience{5000};

    /// How long the main thread of an application may wait, to read or to write.
    static constexpr std::chrono::milliseconds mainThreadPatience{100};

    /// The suite that the processes of the application group `group` share. Null if the group has no
    /// container, or if its database can neither be opened nor replaced by a fresh one. A temporary obstacle
    /// (another process's lock, a full disk, a disk that may not be written to) does not count: there is a
    /// suite then, reads find what can be read, and writes fail until they can be done.
    static std::unique_ptr<UserDefaults> suite(const QString &group);

    /// The application's own defaults, which no other application sees. They always exist. While their file
    /// cannot be opened, reads find nothing and writes fail.
    static UserDefaults &standard();

    ~UserDefaults();

    /// Calls `listener` with a text for the user whenever a damaged file was set aside, which says where its
    /// copy is; first for those that nobody was told of. Any thread may make the call. The listener must not
    /// call this function. There is one listener at a time; an empty one ends that.
    static void onDamage(std::function<void(const QString &text)> listener);

    /// The stored value. None if there is none, or if reading failed.
    [[nodiscard]] std::optional<PropertyListValue> object(const QString &key) const;

    /// The value as a string: a stored string, or a stored number in decimal; else none.
    [[nodiscard]] std::optional<QString> string(const QString &key) const;

    /// Like object(), for callers that must tell a key without a value from a failed read.
    [[nodiscard]] Result<std::optional<PropertyListValue>> read(const QString &key) const;

    /// The values of those `keys` that have one, all of the same moment.
    [[nodiscard]] Result<PropertyListDictionary> objects(const QStringList &keys) const;

    /// All keys with their values, all of the same moment.
    [[nodiscard]] Result<PropertyListDictionary> dictionaryRepresentation() const;

    /// Makes all the changes in their order, or none of them. If it made none, returns why. It refuses a
    /// number that is not finite, and a list that is nested more than 500 deep or has more than 100,000
    /// values.
    [[nodiscard]] std::optional<Error> write(const Changes &changes,
                                             QDeadlineTimer limit = QDeadlineTimer(patience));

    /// Makes the changes that `plan` says, all or none; it gets the values of those `keys` that have one. No
    /// other thread or process can change them between. If it made none, returns why.
    using Plan = std::function<Changes(const PropertyListDictionary &stored)>;
    [[nodiscard]] std::optional<Error> edit(const QStringList &keys, const Plan &plan,
                                            QDeadlineTimer limit = QDeadlineTimer(patience));

    /// Stores what `edit` makes of the key's value; none leaves it as it is. No other thread or process can
    /// change it between. If it could not be stored, returns why.
    using Edit =
        std::function<std::optional<PropertyListValue>(const std::optional<PropertyListValue> &stored)>;
    [[nodiscard]] std::optional<Error> edit(const QString &key, const Edit &edit,
                                            QDeadlineTimer limit = QDeadlineTimer(patience));

    /// write() with one change that stores a value.
    [[nodiscard]] std::optional<Error> set(const QString &key, const PropertyListValue &value);

    /// write() with one change that removes a key. Removing a missing key succeeds.
    [[nodiscard]] std::optional<Error> remove(const QString &key);

    /// The path of the database file.
    [[nodiscard]] QString path() const;

private:
    explicit UserDefaults(std::unique_ptr<SqliteDatabase> database);

    std::unique_ptr<SqliteDatabase> m_database;
};

} // namespace kavrin
