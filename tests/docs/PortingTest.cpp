// SPDX-License-Identifier: MIT
#include "support/Paths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString sources = sourcePath("");
const QString platform = sources + u"/KavriniOS/platform"_s;

QString guide()
{
    QFile file(sources + u"/docs/porting.md"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(file.errorString().toStdString());
    }
    return QString::fromUtf8(file.readAll());
}

/// What the group of `pattern` matches in the guide, each time.
QStringList found(const QString &pattern)
{
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    auto matches = expression.globalMatch(guide());
    while (matches.hasNext()) {
        found.append(matches.next().captured(1));
    }
    return found;
}

/// The guide names files from the top, from KavriniOS or from its folder platform.
bool isFile(const QString &path)
{
    const QStringList bases = {sources, sources + u"/KavriniOS"_s, platform};
    return std::any_of(bases.begin(), bases.end(),
                       [&](const QString &base) { return QFileInfo(base + u'/' + path).isFile(); });
}

} // namespace

TEST(PortingGuide, HasOneRowForEveryInterface)
{
    QStringList rows = found(u"^\\| `(\\w+\\.h)` \\|"_s);
    rows.sort();
    EXPECT_EQ(rows, QDir(platform).entryList({u"*.h"_s}, QDir::Files, QDir::Name));
}

TEST(PortingGuide, NamesFilesThatExist)
{
    const QStringList paths = found(u"`([\\w./-]+\\.(?:cpp|h|plist|qml|txt))`"_s);
    EXPECT_FALSE(paths.isEmpty());
    for (const QString &path : paths) {
        EXPECT_TRUE(isFile(path)) << path.toStdString();
    }
}

TEST(PortingGuide, NamesEveryLibraryOfThePlatform)
{
    QStringList rows = found(u"^ *\\| `kavrin_<platform>_(\\w+)` \\|"_s);
    rows.sort();
    EXPECT_EQ(rows, QDir(platform + u"/linux"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name));
}

} // namespace kavrin::test
