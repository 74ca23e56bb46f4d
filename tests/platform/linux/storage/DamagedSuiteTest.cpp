// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

constexpr int settingCount = 40;

std::unique_ptr<UserDefaults> makeSuite()
{
    return UserDefaults::suite(u"group.app.kavrin.shared"_s);
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void replace(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    file.open(QIODevice::WriteOnly);
    file.write(bytes);
}

/// A suite with some settings, closed, so that one file holds it all.
QString makeFile()
{
    const auto suite = makeSuite();
    for (int number = 0; number < settingCount; ++number) {
        suite->set(u"key%1"_s.arg(number), u"value %1"_s.arg(number));
    }
    return suite->path();
}

QFileInfoList setAside(const QString &path)
{
    const QFileInfo file(path);
    return file.dir().entryInfoList({file.fileName() + u".damaged-*"_s}, QDir::Files);
}

} // namespace

TEST(DamagedSuite, AFileThatIsNoDatabaseIsSetAsideAndAFreshOneBegun)
{
    const QString path = makeFile();
    const QByteArray rubbish = QByteArray("this is no database\n").repeated(200);
    replace(path, rubbish);

    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->object(u"key1"_s), std::nullopt);
    EXPECT_TRUE(suite->set(u"key1"_s, u"new"_s));
    ASSERT_EQ(setAside(path).size(), 1);
    EXPECT_EQ(contents(setAside(path).first().filePath()), rubbish);
    EXPECT_EQ(makeSuite()->string(u"key1"_s), u"new"_s);
}

TEST(DamagedSuite, AFileCutShortIsSetAside)
{
    const QString path = makeFile();
    replace(path, contents(path).chopped(1000));
    const auto suite = makeSuite();
    ASSERT_NE(suite, nullptr);
    EXPECT_TRUE(suite->set(u"key1"_s, u"new"_s));
    EXPECT_EQ(setAside(path).size(), 1);
}

TEST(DamagedSuite, ASoundFileIsNotSetAside)
{
    const QString path = makeFile();
    EXPECT_EQ(makeSuite()->string(u"key1"_s), u"value 1"_s);
    EXPECT_TRUE(setAside(path).isEmpty());
}

TEST(DamagedSuite, DamageAnywhereNeverStopsReadingAndWriting)
{
    const QString path = makeFile();
    const QByteArray sound = contents(path);
    constexpr quint32 seed = 20261121;
    QRandomGenerator random(seed);
    for (int round = 0; round < 100; ++round) {
        const auto place = qsizetype(random.bounded(quint32(sound.size())));
        SCOPED_TRACE(place);
        QByteArray damaged = sound;
        damaged[place] = char(damaged.at(place) ^ char(random.bounded(1, 256)));
        for (const QString &suffix : {u"-wal"_s, u"-shm"_s}) {
            QFile::remove(path + suffix);
        }
        replace(path, damaged);

        const auto suite = makeSuite();
        // A format number that is not known is the one thing that is left alone.
        if (suite == nullptr) {
            ASSERT_EQ(contents(path), damaged);
            continue;
        }
        ASSERT_TRUE(suite->set(u"written"_s, qint64(round))) << suite->lastError().toStdString();
        ASSERT_EQ(suite->object(u"written"_s), PropertyListValue(qint64(round)));
        ASSERT_GE(suite->dictionaryRepresentation().size(), 1U);
    }
}

TEST(DamagedSuite, DamageUnderARunningProgramIsFoundAndTheProgramGoesOn)
{
    const QString path = makeFile();
    const auto suite = makeSuite();
    EXPECT_EQ(suite->string(u"key1"_s), u"value 1"_s);
    QByteArray damaged = contents(path);
    damaged.replace(512, damaged.size() - 512, QByteArray(damaged.size() - 512, '\xAA'));
    replace(path, damaged);

    EXPECT_TRUE(suite->set(u"key1"_s, u"new"_s)) << suite->lastError().toStdString();
    EXPECT_EQ(suite->string(u"key1"_s), u"new"_s);
}
