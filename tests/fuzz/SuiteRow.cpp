// SPDX-License-Identifier: MIT
// A row of the shared suite that another program wrote. An input is the row's type, one of the digits 0 to 7,
// the kind of its value, one of 0 to 3, and the value's bytes.
#include "fuzz/FuzzTarget.h"
#include "fuzz/SameValue.h"
#include "store/JsonSerialization.h"
#include "store/Shared.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstring>

using namespace kavrin;
using namespace Qt::StringLiterals;
using test::require;

namespace
{

const QString key = u"row"_s;
constexpr std::array types = {"bool", "int", "double", "string", "date", "data", "array", "dict"};

struct Row {
    const char *type;
    int kind;
    QByteArrayView value;
};

template <typename Number> Number asNumber(QByteArrayView bytes)
{
    Number number = {};
    std::memcpy(&number, bytes.data(), std::min(sizeof number, std::size_t(bytes.size())));
    return number;
}

void bindValue(sqlite3_stmt *statement, const Row &row)
{
    constexpr int parameter = 2;
    const int size = int(row.value.size());
    switch (row.kind) {
    case 0:
        sqlite3_bind_int64(statement, parameter, asNumber<sqlite3_int64>(row.value));
        break;
    case 1:
        sqlite3_bind_double(statement, parameter, asNumber<double>(row.value));
        break;
    case 2:
        sqlite3_bind_text(statement, parameter, row.value.data(), size, SQLITE_STATIC);
        break;
    default:
        sqlite3_bind_blob(statement, parameter, row.value.data(), size, SQLITE_STATIC);
    }
}

/// The other program's connection.
sqlite3_stmt *prepareWriting()
{
    sqlite3 *handle = nullptr;
    sqlite3_stmt *statement = nullptr;
    require(!Shared::d().remove(key), "the file can be made");
    sqlite3_open(Shared::d().path().toUtf8().constData(), &handle);
    sqlite3_exec(handle, "PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(handle, "INSERT OR REPLACE INTO defaults (key, type, value) VALUES ('row', ?1, ?2)",
                       -1, &statement, nullptr);
    require(statement != nullptr, "the suite can be written");
    return statement;
}

/// False where SQLite takes no such row: a value that is no number at all.
bool write(const Row &row)
{
    static sqlite3_stmt *const statement = prepareWriting();
    sqlite3_bind_text(statement, 1, row.type, -1, SQLITE_STATIC);
    bindValue(statement, row);
    const bool isWritten = sqlite3_step(statement) == SQLITE_DONE;
    sqlite3_reset(statement);
    return isWritten;
}

void check()
{
    const auto [value, failure] = Shared::d().read(key);
    require(!failure, "a row of any kind can be read");
    const std::optional<QString> string = Shared::d().string(key);
    require(value || !string, "what has no value is no string");
    const PropertyListDictionary all = Shared::d().dictionaryRepresentation().value;
    require(all.contains(key) == value.has_value(), "a value is among all or nowhere");
    require(test::isSame(Shared::d().objects({key}).value, all), "one of all is read like all");
    if (!value) {
        return;
    }
    toJson(*value);
    require(test::isSame(all.at(key), *value), "one is read like all");
    require(!Shared::d().set(key, *value), "what was read can be stored");
    const std::optional<PropertyListValue> again = Shared::d().object(key);
    require(again && test::isSame(*again, *value), "what was stored reads back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t head = 2;
    if (size < head) {
        return 0;
    }
    const Row row = {types.at(data[0] % types.size()), data[1] % 4,
                     QByteArrayView(data, qsizetype(size)).sliced(head)};
    if (write(row)) {
        check();
    }
    return 0;
}
