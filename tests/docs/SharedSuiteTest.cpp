// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"
#include "support/Paths.h"
#include "support/Suite.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <memory>
#include <sqlite3.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

using Database = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Database open(const QString &path)
{
    sqlite3 *handle = nullptr;
    sqlite3_open(QFile::encodeName(path).constData(), &handle);
    return {handle, &sqlite3_close};
}

/// The rows that `sql` yields, each column on a line of its own.
QStringList rows(const Database &database, const char *sql)
{
    const auto append = [](void *lines, int count, char **columns, char **) {
        for (int column = 0; column < count; ++column) {
            static_cast<QStringList *>(lines)->append(QString::fromUtf8(columns[column]));
        }
        return 0;
    };
    QStringList lines;
    sqlite3_exec(database.get(), sql, append, &lines, nullptr);
    return lines;
}

/// The first block of SQL in docs/shared-suite.md.
QByteArray documentedSchema()
{
    static const QRegularExpression block(u"^```sql\n(.*?)^```$"_s,
                                          QRegularExpression::MultilineOption
                                              | QRegularExpression::DotMatchesEverythingOption);
    QFile file(sourcePath("docs/shared-suite.md"));
    file.open(QIODevice::ReadOnly);
    return block.match(QString::fromUtf8(file.readAll())).captured(1).toUtf8();
}

} // namespace

TEST(SharedSuiteDocument, TellsTheSchemaThatTheSuiteHas)
{
    test::put(UserDefaults::standard(), u"key"_s, true);
    const Database real = open(UserDefaults::standard().path());
    const Database documented = open(u":memory:"_s);
    ASSERT_EQ(sqlite3_exec(documented.get(), documentedSchema().constData(), nullptr, nullptr, nullptr),
              SQLITE_OK)
        << sqlite3_errmsg(documented.get());
    for (const char *sql : {"SELECT name, sql FROM sqlite_schema", "PRAGMA user_version"}) {
        SCOPED_TRACE(sql);
        EXPECT_FALSE(rows(real, sql).isEmpty());
        EXPECT_EQ(rows(documented, sql), rows(real, sql));
    }
}

} // namespace kavrin::test
