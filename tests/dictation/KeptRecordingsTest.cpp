// SPDX-License-Identifier: MIT
#include "dictation/KeptRecordings.h"

#include "platform/FileManager.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

QDir folder()
{
    return QDir(FileManager::temporaryDirectory());
}

/// The contents of what is kept, in the order of the files' names.
QByteArrayList kept()
{
    QByteArrayList contents;
    for (const QString &name : folder().entryList({u"failed-*"_s}, QDir::Files, QDir::Name)) {
        QFile file(folder().filePath(name));
        EXPECT_TRUE(file.open(QFile::ReadOnly));
        contents.append(file.readAll());
    }
    return contents;
}

QByteArray latest()
{
    QFile file(KeptRecordings::latest().value_or(QString()));
    return file.open(QFile::ReadOnly) ? file.readAll() : "none";
}

} // namespace

TEST(KeptRecordings, AreNoneAtFirst)
{
    EXPECT_EQ(KeptRecordings::latest(), std::nullopt);
}

TEST(KeptRecordings, AreTheLastThree)
{
    for (const char *recording : {"one", "two", "three", "four"}) {
        EXPECT_TRUE(KeptRecordings::keep(recording));
        EXPECT_EQ(latest(), recording);
    }
    EXPECT_EQ(kept(), (QByteArrayList{"two", "three", "four"}));
}

TEST(KeptRecordings, AreCountedBeyondTen)
{
    for (int number = 1; number <= 11; ++number) {
        KeptRecordings::keep(QByteArray::number(number));
    }
    EXPECT_EQ(latest(), "11");
    EXPECT_EQ(kept().size(), KeptRecordings::most);
}

TEST(KeptRecordings, AreTheUsersAlone)
{
    KeptRecordings::keep("spoken");
    constexpr auto access = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::WriteGroup
        | QFile::ReadOther | QFile::WriteOther;
    EXPECT_EQ(QFile::permissions(*KeptRecordings::latest()) & access, QFile::ReadOwner | QFile::WriteOwner);
}

TEST(KeptRecordings, OnceRemovedLeaveTheOneBefore)
{
    KeptRecordings::keep("one");
    KeptRecordings::keep("two");
    KeptRecordings::remove(*KeptRecordings::latest());
    EXPECT_EQ(latest(), "one");
    KeptRecordings::remove(*KeptRecordings::latest());
    EXPECT_EQ(KeptRecordings::latest(), std::nullopt);
}

TEST(KeptRecordings, RemoveNoOtherFile)
{
    QFile recording(folder().filePath(u"dict.m4a"_s));
    ASSERT_TRUE(recording.open(QFile::WriteOnly));
    KeptRecordings::remove(recording.fileName());
    EXPECT_TRUE(recording.exists());
}

TEST(KeptRecordings, AreNoneOfAnEmptyRecording)
{
    EXPECT_FALSE(KeptRecordings::keep({}));
    EXPECT_EQ(KeptRecordings::latest(), std::nullopt);
}

TEST(KeptRecordings, AreNotKeptOutsideTheSession)
{
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_FALSE(KeptRecordings::keep("spoken"));
    EXPECT_EQ(KeptRecordings::latest(), std::nullopt);
}
