// SPDX-License-Identifier: MIT
#include "PrivateDisplay.h"
#include "support/Paths.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString owner = helperPath("pasteboard_owner");
const QString hint = u"x-kde-passwordManagerHint"_s;

std::unique_ptr<PrivateDisplay> makeDisplay(const std::string &kind)
{
    if (kind == "X11") {
        return std::make_unique<PrivateX11Display>();
    }
    return std::make_unique<PrivateWaylandDisplay>();
}

} // namespace

class DesktopPasteboardTest : public testing::TestWithParam<std::string>
{
protected:
    void set(const QStringList &texts) { m_display->show(owner, texts); }

    bool holds(const QString &text)
    {
        return waitUntil([&] { return m_display->clipboard() == text; });
    }

    /// The same where a key is pressed meanwhile.
    bool comesToHold(const QString &text)
    {
        return waitUntil([&] {
            m_display->press();
            return m_display->clipboard() == text;
        });
    }

    /// What a program without a window reads.
    QString read()
    {
        QFile file(QDir::home().filePath(u"read.txt"_s));
        m_display->show(owner, {u"--read"_s, file.fileName()});
        const bool isRead = waitUntil([&] { return file.open(QIODevice::ReadOnly); });
        return isRead ? QString::fromUtf8(file.readAll()) : u"nothing was read"_s;
    }

    /// Whether it says that other programs can read it.
    bool setAndAwait(const QString &text)
    {
        const QString told = QDir::home().filePath(u"told"_s);
        QFile::remove(told);
        m_display->show(owner, {u"--tell"_s, told, text});
        return waitUntil([&] { return QFile::exists(told); });
    }

    QString clipboard(const QString &type = {}) { return m_display->clipboard(type); }

private:
    std::unique_ptr<PrivateDisplay> m_display = makeDisplay(GetParam());
};

TEST_P(DesktopPasteboardTest, GivesTheTextToOtherPrograms)
{
    set({u"hello world"_s});
    EXPECT_TRUE(holds(u"hello world"_s));
}

TEST_P(DesktopPasteboardTest, SaysWhenOtherProgramsCanReadTheText)
{
    for (int round = 0; round < 12; ++round) {
        const QString text = u"text %1"_s.arg(round);
        ASSERT_TRUE(setAndAwait(text));
        EXPECT_EQ(clipboard(), text);
    }
}

TEST_P(DesktopPasteboardTest, KeepsEveryCharacter)
{
    const QString text = u"Günaydın, dünya! 你好 👋🏽\n\ttwo lines, \"quoted\", 100 % $HOME -n\n"_s;
    set({text});
    EXPECT_TRUE(holds(text));
}

TEST_P(DesktopPasteboardTest, TakesALongText)
{
    const QString text = u"a long dictation, "_s.repeated(60'000);
    QFile file(QDir::home().filePath(u"long.txt"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.toUtf8());
    file.close();
    set({u'@' + file.fileName()});
    EXPECT_TRUE(holds(text));
}

TEST_P(DesktopPasteboardTest, HoldsTheLastOfSeveralTexts)
{
    QStringList texts;
    for (int number = 0; number < 30; ++number) {
        texts.append(u"text %1"_s.arg(number));
    }
    set(texts);
    EXPECT_TRUE(holds(texts.last()));
}

TEST_P(DesktopPasteboardTest, DoesNotMarkOrdinaryTextAsSecret)
{
    set({u"hello world"_s});
    ASSERT_TRUE(holds(u"hello world"_s));
    EXPECT_EQ(clipboard(hint), u""_s);
}

TEST_P(DesktopPasteboardTest, AsksThatASecretBeForgotten)
{
    set({u"--secret"_s, u"KAVRINCFG1:Günaydın"_s});
    ASSERT_TRUE(comesToHold(u"KAVRINCFG1:Günaydın"_s));
    EXPECT_EQ(clipboard(hint), u"secret"_s);
}

TEST_P(DesktopPasteboardTest, ReadsWhatAnotherProgramHasSetWithoutTheFocus)
{
    const QString text = u"Günaydın 你好: 482 913\n"_s;
    set({text});
    ASSERT_TRUE(holds(text));
    EXPECT_EQ(read(), text);
}

TEST_P(DesktopPasteboardTest, ReadsNothingFromAnEmptyClipboard)
{
    EXPECT_EQ(read(), u""_s);
}

INSTANTIATE_TEST_SUITE_P(Displays, DesktopPasteboardTest, testing::Values("X11", "Wayland"),
                         [](const auto &kind) { return kind.param; });

TEST(DesktopPasteboard, GivesTheTextOfAWaylandWindowThatHasTheFocusButHadNoKey)
{
    PrivateWaylandDisplay display;
    display.show(owner, {u"--window"_s, u"hello world"_s});
    EXPECT_TRUE(waitUntil([&] { return display.clipboard() == u"hello world"_s; }));
}

TEST(DesktopPasteboard, SaysSoAlsoWhereWlCopyHangsOrIsMissing)
{
    PrivateWaylandDisplay display;
    const QDir home = QDir::home();
    qputenv("PATH", QFile::encodeName(home.path()) + ":/bin");
    QFile wlCopy(home.filePath(u"wl-copy"_s));
    ASSERT_TRUE(wlCopy.open(QIODevice::WriteOnly));
    wlCopy.write("#!/bin/sh\nexec sleep 20\n");
    wlCopy.close();
    ASSERT_TRUE(wlCopy.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    display.show(owner, {u"--tell"_s, home.filePath(u"hangs"_s), u"hello world"_s});
    EXPECT_TRUE(waitUntil([&] { return home.exists(u"hangs"_s); }));

    ASSERT_TRUE(wlCopy.remove());
    qputenv("PATH", QFile::encodeName(home.path()));
    display.show(owner, {u"--tell"_s, home.filePath(u"is missing"_s), u"hello world"_s});
    EXPECT_TRUE(waitUntil([&] { return home.exists(u"is missing"_s); }));
}

} // namespace kavrin::test
