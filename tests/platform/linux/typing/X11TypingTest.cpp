// SPDX-License-Identifier: MIT
#include "platform/linux/typing/X11Typing.h"
#include "TypingFixture.h"
#include "support/ChildProcess.h"

#include <gmock/gmock.h>

namespace kavrin::test
{

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace
{

class X11TypingTest : public testing::Test
{
protected:
    /// Presses keys as the user does.
    static void press(const QString &verb, const QString &key)
    {
        ASSERT_TRUE(ChildProcess(u"xdotool"_s, {verb, key}).succeeds());
    }

    /// Another program that puts a text on the clipboard, and holds it.
    std::unique_ptr<ChildProcess> copy(const QString &text)
    {
        QFile file(QDir::home().filePath(u"copied"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) != -1);
        file.close();
        const QStringList arguments = {u"-selection"_s, u"clipboard"_s, u"-quiet"_s, file.fileName()};
        auto owner = std::make_unique<ChildProcess>(u"xclip"_s, arguments);
        EXPECT_TRUE(waitUntil([&] { return m_display.clipboard() == text; }));
        return owner;
    }

    PrivateX11Display m_display;
};

} // namespace

TEST_F(X11TypingTest, IsNotChangedByCapsLock)
{
    showField(m_display, u"Terminal"_s);
    X11Typing typing;
    press(u"key"_s, u"Caps_Lock"_s);
    EXPECT_EQ(type(typing, u"Aa Üü"_s), u"");
    EXPECT_TRUE(waitUntil([] { return fieldText() == u"Aa Üü"_s; })) << qPrintable(fieldText());
}

TEST_F(X11TypingTest, WaitsUntilTheUserReleasesAModifier)
{
    showField(m_display, u"Terminal"_s);
    X11Typing typing({.withUser = 1min});
    press(u"keydown"_s, u"ctrl"_s);
    QCoro::Task<std::optional<Error>> task = typing.type(u"hello"_s);
    EXPECT_TRUE(waitUntil([this] { return m_display.clipboard() == u"hello"_s; }));
    press(u"keydown"_s, u"alt"_s); // meanwhile it could have typed
    EXPECT_FALSE(task.isReady());
    press(u"keyup"_s, u"alt"_s);
    press(u"keyup"_s, u"ctrl"_s);
    const std::optional<Error> failure = await(std::move(task));
    ASSERT_FALSE(failure) << failure->what();
    EXPECT_TRUE(waitUntil([] { return fieldText() == u"hello"_s; })) << qPrintable(fieldText());
}

TEST_F(X11TypingTest, LeavesTheTextOnTheClipboardWhereAModifierIsHeld)
{
    showField(m_display, u"Terminal"_s);
    X11Typing typing({.withUser = 50ms});
    press(u"keydown"_s, u"ctrl"_s);
    EXPECT_THAT(type(typing, u"hello"_s).toStdString(), testing::HasSubstr("held"));
    EXPECT_EQ(m_display.clipboard(), u"hello"_s);
    EXPECT_EQ(fieldText(), u"");
}

TEST_F(X11TypingTest, ChecksTheTextOnlyWhenTheModifierIsReleased)
{
    X11Typing typing({.withUser = 1min});
    press(u"keydown"_s, u"ctrl"_s);
    bool isChecked = false;
    const auto refuse = [&]() -> QCoro::Task<> {
        isChecked = true;
        throw typingError(u"The session is locked."_s);
        co_return;
    };
    QCoro::Task<std::optional<Error>> task = typing.type(u"hello"_s, refuse);
    EXPECT_TRUE(waitUntil([this] { return m_display.clipboard() == u"hello"_s; }));
    EXPECT_FALSE(isChecked);
    press(u"keyup"_s, u"ctrl"_s);
    const std::optional<Error> failure = await(std::move(task));
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->localizedDescription, u"The session is locked.");
}

TEST_F(X11TypingTest, LeavesTheTextOnBothSelectionsWhenItIsGone)
{
    const std::unique_ptr<ChildProcess> owner = copy(u"another"_s);
    {
        X11Typing typing;
        EXPECT_EQ(type(typing, everyKind), u"");
    }
    EXPECT_EQ(m_display.clipboard(), everyKind);
    ChildProcess primary(u"xclip"_s, {u"-selection"_s, u"primary"_s, u"-o"_s});
    ASSERT_TRUE(primary.succeeds());
    EXPECT_EQ(primary.output(), everyKind);
}

TEST_F(X11TypingTest, PressesNothingBeforeBothSelectionsHoldTheText)
{
    QDir::home().mkdir(u"bin"_s);
    QFile idle(QDir::home().filePath(u"bin/xclip"_s)); // in the place of one that is slow
    ASSERT_TRUE(idle.open(QIODevice::WriteOnly) && idle.write("#!/bin/sh\n") != -1);
    ASSERT_TRUE(idle.setPermissions(QFile::ReadOwner | QFile::ExeOwner));
    idle.close();
    qputenv("PATH", QFile::encodeName(QDir::home().filePath(u"bin"_s)) + ':' + qgetenv("PATH"));
    X11Typing typing({.withSelections = 50ms});
    bool isChecked = false;
    const auto note = [&]() -> QCoro::Task<> {
        isChecked = true;
        co_return;
    };
    EXPECT_EQ(type(typing, u"hello"_s, note),
              u"The text cannot be pasted: another program keeps the selections.");
    EXPECT_FALSE(isChecked);
}

TEST_F(X11TypingTest, PutsATextOnTheClipboardThatIsThereAlready)
{
    const std::unique_ptr<ChildProcess> owner = copy(u"hello"_s);
    showField(m_display, u"GTK"_s);
    X11Typing typing;
    EXPECT_EQ(type(typing, u"hello"_s), u"");
    EXPECT_TRUE(waitUntil([] { return fieldText() == u"hello"_s; })) << qPrintable(fieldText());
}

TEST_F(X11TypingTest, TakesTheClipboardFromAProgramThatHangs)
{
    const std::unique_ptr<ChildProcess> owner = copy(u"hello"_s);
    owner->freeze();
    showField(m_display, u"GTK"_s);
    X11Typing typing;
    EXPECT_EQ(type(typing, u"hello"_s), u"");
    EXPECT_TRUE(waitUntil([] { return fieldText() == u"hello"_s; })) << qPrintable(fieldText());
}

TEST_F(X11TypingTest, SaysSoWhereTheServerIsGone)
{
    X11Typing typing;
    m_display.endServer();
    EXPECT_THAT(type(typing, u"hello"_s).toStdString(), testing::HasSubstr("xclip fails"));
}

} // namespace kavrin::test
