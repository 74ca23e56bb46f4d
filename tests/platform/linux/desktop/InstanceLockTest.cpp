// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/InstanceLock.h"

#include "support/ChildProcess.h"
#include "support/Paths.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class InstanceLockTest : public testing::Test
{
protected:
    /// A process that holds the lock.
    std::unique_ptr<ChildProcess> hold(const QStringList &arguments)
    {
        auto process = std::make_unique<ChildProcess>(helperPath("application_instance"), arguments);
        EXPECT_TRUE(waitUntil([&] { return process->output().startsWith(u"locked\n"_s); }));
        return process;
    }

    void write(const QByteArray &content)
    {
        QFile file(m_path);
        file.open(QFile::WriteOnly);
        file.write(content);
    }

    bool canBeTaken() { return InstanceLock(m_path).take(0s); }

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"application.lock"_s);
};

} // namespace

TEST_F(InstanceLockTest, OneProcessHoldsIt)
{
    const auto holder = hold({u"lock"_s, m_path});
    EXPECT_FALSE(canBeTaken());
}

TEST_F(InstanceLockTest, TellsWhetherAProcessHoldsIt)
{
    EXPECT_EQ(InstanceLock::isHeld(m_path), false);
    auto holder = hold({u"lock"_s, m_path});
    EXPECT_EQ(InstanceLock::isHeld(m_path), true);
    holder.reset(); // kills it, so its file stays
    EXPECT_EQ(InstanceLock::isHeld(m_path), false);
    EXPECT_TRUE(canBeTaken());
}

TEST_F(InstanceLockTest, TellsNothingWhereThereCanBeNoLock)
{
    ASSERT_TRUE(QDir().mkdir(m_path));
    EXPECT_EQ(InstanceLock::isHeld(m_path), std::nullopt);
}

TEST_F(InstanceLockTest, AKilledProcessHoldsItNoMoreThoughAProgramThatItStartedLives)
{
    auto holder = hold({u"lock"_s, m_path, u"sleep"_s});
    ASSERT_TRUE(waitUntil([&] { return holder->output().count(u'\n') == 2; }));
    const pid_t child = holder->output().split(u'\n').at(1).toInt();
    holder.reset();
    EXPECT_TRUE(QFileInfo::exists(m_path));
    EXPECT_TRUE(canBeTaken());
    EXPECT_EQ(::kill(child, SIGKILL), 0);
}

TEST_F(InstanceLockTest, WhatTheFileContainsSaysNothing)
{
    const QByteArray running = QByteArray::number(QCoreApplication::applicationPid());
    const QByteArray first = "1\nsystemd\n";
    for (const QByteArray &content :
         {QByteArray(), running + "\nkavrin\nthis-machine\n",
          first + QSysInfo::machineHostName().toUtf8() + '\n' + QSysInfo::machineUniqueId() + '\n'
              + QSysInfo::bootUniqueId() + '\n',
          first + "another-machine\n0123456789abcdef\n", QByteArray(5000, '\xff')}) {
        SCOPED_TRACE(content.left(40).toStdString());
        write(content);
        EXPECT_TRUE(canBeTaken());
    }
}

TEST_F(InstanceLockTest, SomethingThatIsNoFileKeepsNobodyOut)
{
    const QByteArray path = m_path.toUtf8();
    const std::pair<const char *, std::function<bool()>> cases[] = {
        {"a folder", [&] { return QDir().mkpath(m_path); }},
        {"a link to itself", [&] { return QFile::link(m_path, m_path); }},
        {"a pipe", [&] { return ::mkfifo(path.constData(), 0600) == 0; }},
        {"no folder to be in", [&] { return m_folder.remove(); }},
    };
    for (const auto &[name, make] : cases) {
        SCOPED_TRACE(name);
        QFile::remove(m_path);
        QDir().rmdir(m_path);
        ASSERT_TRUE(make());
        EXPECT_TRUE(canBeTaken());
    }
}

TEST_F(InstanceLockTest, AProcessOfAnOlderVersionHoldsIt)
{
    auto holder = hold({u"old-lock"_s, m_path});
    EXPECT_FALSE(canBeTaken());
    holder.reset();
    EXPECT_TRUE(canBeTaken());
}

TEST_F(InstanceLockTest, AProcessOfAnOlderVersionIsKeptOut)
{
    for (const QByteArray &content : {QByteArray(), QByteArray("999999999\nkavrin\n\n")}) {
        SCOPED_TRACE(content.toStdString());
        write(content);
        InstanceLock lock(m_path);
        ASSERT_TRUE(lock.take(0s));
        ChildProcess old(helperPath("application_instance"), {u"old-lock"_s, m_path});
        EXPECT_FALSE(old.succeeds());
        EXPECT_FALSE(canBeTaken());
    }
}

TEST_F(InstanceLockTest, IsAwaitedWhileItsHolderEnds)
{
    auto holder = hold({u"lock"_s, m_path});
    InstanceLock lock(m_path);
    EXPECT_FALSE(lock.take(50ms));
    std::jthread ending([&] { holder.reset(); });
    EXPECT_TRUE(lock.take(20s));
}

TEST_F(InstanceLockTest, IsHeldByOneAtATimeWhileMostEnd)
{
    constexpr int holders = 4;
    constexpr int rounds = 500;
    std::atomic<int> holding = 0;
    std::atomic<bool> isShared = false;
    const auto holdOften = [&] {
        for (int round = 0; round < rounds; ++round) {
            InstanceLock lock(m_path);
            if (lock.take(0s)) {
                isShared = ++holding > 1 || isShared;
                std::this_thread::yield();
                --holding;
            }
        }
    };
    {
        std::vector<std::jthread> threads;
        std::generate_n(std::back_inserter(threads), holders, [&] { return std::jthread(holdOften); });
    }
    EXPECT_FALSE(isShared);
}

TEST_F(InstanceLockTest, LeavesAnothersFileWhereItIs)
{
    std::optional<InstanceLock> first(std::in_place, m_path);
    ASSERT_TRUE(first->take(0s));
    ASSERT_TRUE(QFile::remove(m_path));
    InstanceLock second(m_path);
    ASSERT_TRUE(second.take(0s));
    first.reset();
    EXPECT_FALSE(canBeTaken());
}

TEST_F(InstanceLockTest, LeavesNoFileBehind)
{
    ASSERT_TRUE(canBeTaken());
    EXPECT_FALSE(QFileInfo::exists(m_path));
}

} // namespace kavrin::test
