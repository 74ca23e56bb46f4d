// SPDX-License-Identifier: MIT
#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "support/PrivateDisk.h"
#include "support/Suite.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

// A suite on a disk that is full or that may not be written to, by root neither.

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString group = QStringLiteral("group.app.kavrin.shared");

class UnwritableDisk : public testing::Test
{
protected:
    UnwritableDisk()
    {
        QDir().mkpath(m_folder);
        m_disk = std::make_unique<PrivateDisk>(m_folder, 1024 * 1024);
    }

    void SetUp() override
    {
        if (m_disk->refusal()) {
            GTEST_SKIP() << *m_disk->refusal();
        }
    }

    QString path() const { return m_folder + u"/defaults.sqlite"_s; }

    static void store(const QString &value) { test::put(*UserDefaults::suite(group), u"key"_s, value); }

    static void expectRefusal(UserDefaults &suite, const QString &reason)
    {
        const QString failure = test::failureOf(suite.set(u"other"_s, QString(10'000, u'x')));
        EXPECT_TRUE(failure.contains(reason)) << failure.toStdString();
        EXPECT_TRUE(failure.contains(suite.path()));
    }

    static void expectWriting(UserDefaults &suite)
    {
        EXPECT_EQ(test::failureOf(suite.set(u"other"_s, true)), u"");
        EXPECT_EQ(suite.object(u"other"_s), PropertyListValue(true));
    }

    QString m_folder = *FileManager::containerPath(group);
    std::unique_ptr<PrivateDisk> m_disk;
};

} // namespace

TEST_F(UnwritableDisk, AFullOneHasItsSuiteReadAndTakesWritesOnceThereIsRoom)
{
    store(u"value"_s);
    m_disk->fill();
    const auto suite = UserDefaults::suite(group);
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->string(u"key"_s), u"value"_s);
    expectRefusal(*suite, u"the disk is full. Make room"_s);
    m_disk->makeRoom();
    expectWriting(*suite);
    EXPECT_EQ(suite->string(u"key"_s), u"value"_s);
}

TEST_F(UnwritableDisk, AFullOneGetsASuiteOnceThereIsRoom)
{
    m_disk->fill();
    const auto suite = UserDefaults::suite(group);
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    expectRefusal(*suite, u"the disk is full. Make room"_s);
    m_disk->makeRoom();
    expectWriting(*suite);
}

TEST_F(UnwritableDisk, AFullOneKeepsADamagedSuiteUntilThereIsRoomForItsCopy)
{
    store(u"value"_s);
    const QByteArray rubbish = QByteArray("no database ").repeated(500);
    QFile file(path());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(rubbish) == rubbish.size());
    file.close();
    m_disk->fill();
    const auto suite = UserDefaults::suite(group);
    ASSERT_NE(suite, nullptr);
    expectRefusal(*suite, u"damaged"_s);
    EXPECT_EQ(QDir(m_folder).entryList({u"*.damaged-*"_s}), QStringList());
    EXPECT_EQ(QFileInfo(path()).size(), rubbish.size());
    m_disk->makeRoom();
    expectWriting(*suite);
    EXPECT_EQ(QDir(m_folder).entryList({u"*.damaged-*Z"_s}).size(), 1);
}

TEST_F(UnwritableDisk, AReadOnlyOneHasItsSuiteReadAndTakesWritesOnceItIsWritable)
{
    store(u"value"_s);
    m_disk->setReadOnly(true);
    const auto suite = UserDefaults::suite(group);
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->string(u"key"_s), u"value"_s);
    expectRefusal(*suite, u"cannot be written to. Make both writable"_s);
    m_disk->setReadOnly(false);
    expectWriting(*suite);
}

TEST_F(UnwritableDisk, AReadOnlyOneGetsASuiteOnceItIsWritable)
{
    m_disk->setReadOnly(true);
    const auto suite = UserDefaults::suite(group);
    ASSERT_NE(suite, nullptr);
    EXPECT_EQ(suite->object(u"key"_s), std::nullopt);
    expectRefusal(*suite, u"cannot be"_s);
    m_disk->setReadOnly(false);
    expectWriting(*suite);
}

TEST_F(UnwritableDisk, AnotherThatIsMountedInItsPlaceIsNoticed)
{
    store(u"old"_s);
    const auto suite = UserDefaults::suite(group);
    test::put(*suite, u"key"_s, u"older"_s);
    const PrivateDisk other(m_folder, qint64(1024) * 1024); // numbers its files in the same way
    store(u"new"_s);
    EXPECT_EQ(suite->string(u"key"_s), u"new"_s);
    EXPECT_EQ(test::failureOf(suite->set(u"key"_s, u"newer"_s)), u"");
    EXPECT_EQ(UserDefaults::suite(group)->string(u"key"_s), u"newer"_s);
}

} // namespace kavrin::test
