// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"

#include "platform/FileManager.h"
#include "platform/Logging.h"
#include "platform/PropertyList.h"
#include "platform/linux/storage/BinaryPropertyListBounds.h"
#include "platform/linux/storage/DamageReports.h"
#include "platform/linux/storage/PrivateFiles.h"
#include "platform/linux/storage/SqliteDatabase.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QStandardPaths>
#include <QStringDecoder>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *readSql = "SELECT type, value FROM defaults WHERE key = ?1";
constexpr const char *readAllSql = "SELECT type, value, key FROM defaults";
constexpr const char *readSomeSql =
    "SELECT type, value, key FROM defaults WHERE key IN (SELECT json_each.value FROM json_each(?1))";
// ON CONFLICT DO UPDATE would make SQLite open a temporary table for each write.
constexpr const char *writeSql = "INSERT OR REPLACE INTO defaults (key, type, value) VALUES (?1, ?2, ?3)";
constexpr const char *replaceSql =
    "UPDATE defaults SET type = ?2, value = ?3 WHERE key = ?1 AND type = 'string' AND value = ?4";
constexpr const char *removeSql = "DELETE FROM defaults WHERE key = ?1";

constexpr int typeColumn = 0;
constexpr int valueColumn = 1;
constexpr int keyColumn = 2;

/// Binds the type name and the value of a row to write.
struct BindValue {
    SqliteStatement &statement;

    void operator()(bool value) const { bindRow("bool", qint64(value)); }
    void operator()(qint64 value) const { bindRow("int", value); }
    void operator()(double value) const { bindRow("double", value); }
    void operator()(Date value) const { bindRow("date", value.secondsSince1970); }
    void operator()(const PropertyListArray &value) const
    {
        bindBlobRow("array", PropertyList::toBinary(value));
    }
    void operator()(const PropertyListDictionary &value) const
    {
        bindBlobRow("dict", PropertyList::toBinary(value));
    }
    void operator()(const QByteArray &value) const { bindBlobRow("data", value); }
    void operator()(const QString &value) const
    {
        statement.bindText(2, "string");
        statement.bindText(3, value.toUtf8());
    }

private:
    template <typename Number> void bindRow(const char *type, Number value) const
    {
        statement.bindText(2, type);
        statement.bind(3, value);
    }

    void bindBlobRow(const char *type, const QByteArray &value) const
    {
        statement.bindText(2, type);
        statement.bindBlob(3, value);
    }
};

using Decoded = std::optional<PropertyListValue>;

bool isNumber(const SqliteStatement &row)
{
    return row.columnType(valueColumn) == SQLITE_INTEGER || row.columnType(valueColumn) == SQLITE_FLOAT;
}

template <typename Container> Decoded decodePropertyList(const SqliteStatement &row)
{
    const QByteArray list = row.bytes(valueColumn);
    const Decoded value = list.startsWith("bplist") ? PropertyList::parse(list) : std::nullopt;
    return value && std::holds_alternative<Container>(*value) ? value : std::nullopt;
}

/// The whole text. QString::fromUtf8() would drop a byte order mark, but "start" is a command only without
/// one.
QString toString(const QByteArray &utf8)
{
    QStringDecoder decode(QStringDecoder::Utf8,
                          QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
    return decode(utf8);
}

/// The value of a row. None if it is not of the type that the row names, because other programs write rows,
/// too.
Decoded decode(const SqliteStatement &row)
{
    const QByteArray type = row.bytes(typeColumn);
    const int storage = row.columnType(valueColumn);
    if (type == "string") {
        return storage == SQLITE_TEXT ? Decoded(toString(row.bytes(valueColumn))) : std::nullopt;
    }
    if (type == "bool") {
        return storage == SQLITE_INTEGER ? Decoded(row.integer(valueColumn) != 0) : std::nullopt;
    }
    if (type == "int") {
        return storage == SQLITE_INTEGER ? Decoded(row.integer(valueColumn)) : std::nullopt;
    }
    if (type == "double" || type == "date") {
        const double number = row.real(valueColumn);
        if (!isNumber(row) || !std::isfinite(number)) {
            return std::nullopt;
        }
        return type == "double" ? Decoded(number) : Decoded(Date{number});
    }
    if (storage != SQLITE_BLOB) {
        return std::nullopt;
    }
    if (type == "data") {
        return row.bytes(valueColumn);
    }
    return type == "array" ? decodePropertyList<PropertyListArray>(row)
                           : decodePropertyList<PropertyListDictionary>(row);
}

int readValue(SqliteStatement &statement, const QString &key, Decoded &value)
{
    statement.bindText(1, key.toUtf8());
    const int result = statement.step();
    value = result == SQLITE_ROW ? decode(statement) : std::nullopt;
    return result;
}

/// Collects all remaining rows.
int collect(SqliteStatement &statement, PropertyListDictionary &values)
{
    values.clear();
    int result = statement.step();
    for (; result == SQLITE_ROW; result = statement.step()) {
        if (Decoded value = decode(statement)) {
            values.insert_or_assign(QString::fromUtf8(statement.bytes(keyColumn)), *std::move(value));
        }
    }
    return result;
}

/// Collects the rows of these keys.
int collectSome(SqliteStatement &statement, const QStringList &keys, PropertyListDictionary &values)
{
    statement.bindText(1, QJsonDocument(QJsonArray::fromStringList(keys)).toJson(QJsonDocument::Compact));
    return collect(statement, values);
}

bool isFinite(const PropertyListValue &value)
{
    if (const auto *number = std::get_if<double>(&value)) {
        return std::isfinite(*number);
    }
    if (const auto *date = std::get_if<Date>(&value)) {
        return std::isfinite(date->secondsSince1970);
    }
    return true;
}

bool isTooLarge(const PropertyListValue &value)
{
    const bool isContainer = std::holds_alternative<PropertyListArray>(value)
        || std::holds_alternative<PropertyListDictionary>(value);
    return isContainer && !isWithinBounds(PropertyList::toBinary(value));
}

/// Why a later read would not find the value; none if it would.
std::optional<Error> obstacle(const PropertyListValue &value)
{
    if (!isFinite(value)) {
        return Error{u"store"_s, 1, u"a number that is not finite cannot be stored"_s};
    }
    if (isTooLarge(value)) {
        return Error{u"store"_s, 1,
                     u"a list that is nested so deeply or has so many values cannot be stored"_s};
    }
    return std::nullopt;
}

std::optional<Error> obstacle(const Changes &changes)
{
    for (const Change &change : changes) {
        if (std::optional<Error> found = change.value ? obstacle(*change.value) : std::nullopt) {
            return found;
        }
    }
    return std::nullopt;
}

const char *sqlOf(const Change &change)
{
    return !change.value ? removeSql : change.inPlaceOf ? replaceSql : writeSql;
}

int make(const Change &change, SqliteConnection &connection)
{
    return connection.run(sqlOf(change), [&](SqliteStatement &statement) {
        statement.bindText(1, change.key.toUtf8());
        if (change.value) {
            std::visit(BindValue{statement}, *change.value);
        }
        if (change.inPlaceOf) {
            statement.bindText(4, change.inPlaceOf->toUtf8());
        }
        return statement.step();
    });
}

int makeAll(const Changes &changes, SqliteConnection &connection)
{
    for (const Change &change : changes) {
        const int result = make(change, connection);
        if (result != SQLITE_DONE) {
            return result;
        }
    }
    return SQLITE_DONE;
}

void logFailure(const QStringList &keys, const std::optional<Error> &failure)
{
    if (failure) {
        qCWarning(Logging::store) << "Not stored:" << keys << failure->localizedDescription;
    }
}

QStringList keysOf(const Changes &changes)
{
    QStringList keys;
    std::ranges::transform(changes, std::back_inserter(keys), &Change::key);
    return keys;
}

} // namespace

void UserDefaults::setReadPatience(std::chrono::milliseconds patience)
{
    SqliteDatabase::setReadPatience(patience);
}

UserDefaults::UserDefaults(std::unique_ptr<SqliteDatabase> database) : m_database(std::move(database)) { }

UserDefaults::~UserDefaults() = default;

std::unique_ptr<UserDefaults> UserDefaults::suite(const QString &group)
{
    const std::optional<QString> container = FileManager::containerPath(group);
    if (!container) {
        return nullptr;
    }
    // Whoever may write into the folder of all groups can replace the folder of this one.
    const QString groups = QFileInfo(*container).path();
    if (!PrivateFiles::makeFolder(groups)) {
        qCWarning(Logging::store) << "Not opened:" << groups << "belongs to another user";
        return nullptr;
    }
    auto database = std::make_unique<SqliteDatabase>(*container + u"/defaults.sqlite"_s);
    if (!database->open()) {
        return nullptr;
    }
    return std::unique_ptr<UserDefaults>(new UserDefaults(std::move(database)));
}

UserDefaults &UserDefaults::standard()
{
    // Never destroyed: threads may use it until the process has ended.
    static UserDefaults *const defaults = [] {
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        auto database = std::make_unique<SqliteDatabase>(folder + u"/app.kavrin.Kavrin/defaults.sqlite"_s);
        database->open();
        return new UserDefaults(std::move(database));
    }();
    return *defaults;
}

void UserDefaults::onDamage(std::function<void(const QString &)> listener)
{
    DamageReports::listen(std::move(listener));
}

Result<std::optional<PropertyListValue>> UserDefaults::read(const QString &key) const
{
    Result<Decoded> result;
    result.failure = m_database->read(
        readSql, [&](SqliteStatement &statement) { return readValue(statement, key, result.value); });
    return result;
}

std::optional<PropertyListValue> UserDefaults::object(const QString &key) const
{
    return read(key).value;
}

std::optional<QString> UserDefaults::string(const QString &key) const
{
    const std::optional<PropertyListValue> value = object(key);
    return value ? PropertyList::toText(*value) : std::nullopt;
}

Result<PropertyListDictionary> UserDefaults::dictionaryRepresentation() const
{
    Result<PropertyListDictionary> result;
    result.failure = m_database->read(
        readAllSql, [&](SqliteStatement &statement) { return collect(statement, result.value); });
    return result;
}

Result<PropertyListDictionary> UserDefaults::objects(const QStringList &keys) const
{
    Result<PropertyListDictionary> result;
    result.failure = m_database->read(
        readSomeSql, [&](SqliteStatement &statement) { return collectSome(statement, keys, result.value); });
    return result;
}

std::optional<Error> UserDefaults::write(const Changes &changes, QDeadlineTimer limit)
{
    if (changes.empty()) {
        return std::nullopt;
    }
    std::optional<Error> failure = obstacle(changes);
    if (!failure) {
        failure = m_database->write(
            [&](SqliteConnection &connection) { return makeAll(changes, connection); }, limit);
    }
    logFailure(keysOf(changes), failure);
    return failure;
}

std::optional<Error> UserDefaults::edit(const QStringList &keys, const Plan &plan, QDeadlineTimer limit)
{
    const std::optional<Error> failure = m_database->write(
        [&](SqliteConnection &connection) {
            PropertyListDictionary stored;
            const int result = connection.run(readSomeSql, [&](SqliteStatement &statement) {
                return collectSome(statement, keys, stored);
            });
            return result == SQLITE_DONE ? makeAll(plan(stored), connection) : result;
        },
        limit);
    logFailure(keys, failure);
    return failure;
}

std::optional<Error> UserDefaults::edit(const QString &key, const Edit &edit, QDeadlineTimer limit)
{
    const Plan plan = [&](const PropertyListDictionary &stored) {
        const auto found = stored.find(key);
        const Decoded edited = edit(found == stored.end() ? Decoded() : Decoded(found->second));
        return edited ? Changes{{key, edited}} : Changes();
    };
    return this->edit(QStringList(key), plan, limit);
}

std::optional<Error> UserDefaults::set(const QString &key, const PropertyListValue &value)
{
    return write({{key, value}});
}

std::optional<Error> UserDefaults::remove(const QString &key)
{
    return write({{key, std::nullopt}});
}

QString UserDefaults::path() const
{
    return m_database->path();
}

} // namespace kavrin
