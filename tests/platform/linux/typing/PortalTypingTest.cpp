// SPDX-License-Identifier: MIT
#include "platform/linux/typing/PortalTyping.h"
#include "FakePortal.h"
#include "doubles/FakeClock.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <array>

namespace kavrin::test
{

using namespace Qt::StringLiterals;

namespace
{

using testing::Contains;
using testing::Not;

constexpr auto token = "74e1cb0a-5f67-4bd9-8b4e-6c2a3ef2a9b1";

const QStringList shiftInsert = {u"NotifyKeyboardKeysym 65505 1"_s, u"NotifyKeyboardKeysym 65379 1"_s,
                                 u"NotifyKeyboardKeysym 65379 0"_s, u"NotifyKeyboardKeysym 65505 0"_s};

/// A desktop with a portal of the test's own, where wl-copy keeps what it is given in files.
class PortalTypingTest : public testing::Test
{
protected:
    PortalTypingTest()
    {
        const QString folder = QDir::home().filePath(u"bin"_s);
        QDir().mkpath(folder);
        QFile wlCopy(folder + u"/wl-copy"_s);
        EXPECT_TRUE(wlCopy.open(QIODevice::WriteOnly));
        wlCopy.write("#!/bin/sh\ncat > \"$HOME/selected$(echo \"$1\" | tr -dc a-z)\"\n");
        wlCopy.close();
        wlCopy.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("PATH", folder.toUtf8() + ':' + qgetenv("PATH"));
        qunsetenv("DISPLAY"); // there is no Xwayland
        qputenv("XDG_STATE_HOME", QDir::home().filePath(u"state"_s).toUtf8());
    }

    /// Why the text was not typed; empty where it was.
    QString type(const QString &text)
    {
        const std::optional<Error> failure = await(m_typing.type(text));
        return failure ? failure->localizedDescription : QString();
    }

    [[nodiscard]] qsizetype timesAsked() const { return m_portal.calls().count(u"Start"_s); }

    static QByteArray contents(const QString &file)
    {
        QFile opened(QDir::home().filePath(file));
        return opened.open(QIODevice::ReadOnly) ? opened.readAll() : QByteArray("no file");
    }

    PrivateBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    FakePortal m_portal{m_bus.connection()};
    PortalKeyboard m_keyboard;
    PortalTyping m_typing{m_keyboard};
    const QString m_tokenFile = u"state/kavrin/remote-desktop-token"_s;
};

} // namespace

TEST_F(PortalTypingTest, PastesTheTextFromBothSelections)
{
    EXPECT_EQ(type(u"Grüße – 2 €, 日本語, 👍🏽"_s), u"");
    EXPECT_EQ(m_portal.calls(),
              QStringList({u"Register"_s, u"CreateSession"_s, u"SelectDevices"_s, u"Start"_s}) + shiftInsert);
    EXPECT_EQ(contents(u"selectedprimary"_s), "Grüße – 2 €, 日本語, 👍🏽");
    EXPECT_EQ(contents(u"selectedtype"_s), "Grüße – 2 €, 日本語, 👍🏽");
}

TEST_F(PortalTypingTest, PressesNoKeyBeforeGnomeLetsProgramsPaste)
{
    for (const char *desktop : {"GNOME", "ubuntu:GNOME"}) {
        SCOPED_TRACE(desktop);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        const qsizetype before = m_portal.calls().size();
        FakeClock clock;
        PortalKeyboard keyboard;
        PortalTyping typing(keyboard, [&clock](auto duration) { return clock.sleep(duration, {}); });
        const QCoro::Task<std::optional<Error>> pasting = typing.type(QString::fromLatin1(desktop));
        ASSERT_TRUE(waitUntil([&] { return clock.isAsleep(); }));
        EXPECT_THAT(m_portal.calls().mid(before), Not(Contains(shiftInsert.first())));
        EXPECT_EQ(contents(u"selectedprimary"_s), desktop);
        EXPECT_EQ(contents(u"selectedtype"_s), desktop);
        clock.wake();
        EXPECT_TRUE(waitUntil([&] { return pasting.isReady(); }));
        EXPECT_EQ(m_portal.calls().mid(m_portal.calls().size() - shiftInsert.size()), shiftInsert);
    }
}

TEST_F(PortalTypingTest, DoesNotWaitOnOtherDesktops)
{
    for (const char *desktop : {"KDE", "sway", ""}) {
        SCOPED_TRACE(desktop);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        FakeClock clock;
        PortalTyping typing(m_keyboard, [&clock](auto duration) { return clock.sleep(duration, {}); });
        EXPECT_EQ(await(typing.type(u"a"_s)), std::nullopt);
        EXPECT_TRUE(clock.sleeps.empty());
    }
}

TEST_F(PortalTypingTest, AsksForAKeyboardOnly)
{
    EXPECT_EQ(type(u"a"_s), u"");
    EXPECT_EQ(m_portal.options(u"SelectDevices"_s).value(u"types"_s), 1U);
}

TEST_F(PortalTypingTest, AsksOnceForAllTexts)
{
    EXPECT_EQ(type(u"one"_s), u"");
    EXPECT_EQ(type(u"two"_s), u"");
    EXPECT_EQ(timesAsked(), 1);
    EXPECT_EQ(contents(u"selectedprimary"_s), "two");
}

TEST_F(PortalTypingTest, KeepsTheAnswerForTheNextLogin)
{
    EXPECT_EQ(type(u"one"_s), u"");
    EXPECT_EQ(contents(m_tokenFile), token);
    const QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    EXPECT_FALSE(QFile::permissions(QDir::home().filePath(m_tokenFile)) & others);

    PortalKeyboard nextLogin;
    EXPECT_NO_THROW(await([&]() -> QCoro::Task<bool> {
        const QCoro::Task<> pluggingIn = nextLogin.plugIn();
        co_await pluggingIn;
        co_return true;
    }()));
    EXPECT_EQ(m_portal.options(u"SelectDevices"_s).value(u"persist_mode"_s), 2U);
    EXPECT_EQ(m_portal.options(u"SelectDevices"_s).value(u"restore_token"_s), QString::fromLatin1(token));
}

TEST_F(PortalTypingTest, OffersOnlyWhatThePortalUnderstands)
{
    struct Case {
        const char *stored;
        uint version;
        QStringList options;
    };
    const QString types = u"types"_s;
    const QString persist = u"persist_mode"_s;
    for (const Case &c : std::to_array<Case>({{token, 1, {types}},
                                              {"damaged", 2, {persist, types}},
                                              {"", 2, {persist, types}},
                                              {token, 2, {persist, u"restore_token"_s, types}}})) {
        SCOPED_TRACE(c.stored);
        QDir::home().mkpath(u"state/kavrin"_s);
        QFile file(QDir::home().filePath(m_tokenFile));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(c.stored);
        file.close();
        m_portal.version = c.version;
        m_portal.closeSession();
        PortalKeyboard keyboard;
        PortalTyping typing(keyboard);
        EXPECT_EQ(await(typing.type(u"a"_s)), std::nullopt);
        QStringList options = m_portal.options(u"SelectDevices"_s).keys();
        options.removeOne(u"handle_token"_s);
        EXPECT_EQ(options, c.options);
    }
}

TEST_F(PortalTypingTest, TypesNothingWhereTheUserOrTheDesktopSaysNo)
{
    struct Case {
        const char *question;
        FakePortal::Answer answer;
        QString reason;
    };
    const QString refused = u"The desktop does not let Kavrin type. It asks again next time."_s;
    for (const Case &c : std::to_array<Case>({
             {"Start", {1, {}}, refused},
             {"Start", {2, {}}, refused},
             {"Start", {0, {{u"devices"_s, 2U}}}, refused},
             {"CreateSession", {2, {}}, u"The desktop's portal fails: it opens no session."_s},
         })) {
        SCOPED_TRACE(c.question);
        m_portal.answers = {{QString::fromLatin1(c.question), c.answer}};
        EXPECT_EQ(type(u"a"_s), c.reason);
        EXPECT_THAT(m_portal.calls(), Not(Contains(shiftInsert.first())));
    }
    m_portal.answers.clear();
    EXPECT_EQ(type(u"a"_s), u"");
}

TEST_F(PortalTypingTest, PressesNothingForATextThatMayNotBeTypedOnceTheUserHasAnswered)
{
    QStringList asked;
    const auto refuse = [&]() -> QCoro::Task<> {
        asked = m_portal.calls();
        throw typingError(u"The session is locked."_s);
        co_return;
    };
    const std::optional<Error> failure = await(m_typing.type(u"a"_s, refuse));
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->localizedDescription, u"The session is locked.");
    EXPECT_THAT(asked, Contains(u"Start"_s));
    EXPECT_EQ(m_portal.calls(), asked);
    EXPECT_EQ(contents(u"selectedtype"_s), "a");
}

TEST_F(PortalTypingTest, TakesTheQuestionBackThatNobodyAnswers)
{
    m_portal.answers = {{u"Start"_s, std::nullopt}};
    PortalKeyboard keyboard(QDBusConnection::sessionBus(), std::chrono::milliseconds(1));
    PortalTyping typing(keyboard);
    const std::optional<Error> failure = await(typing.type(u"a"_s));
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->localizedDescription,
              u"The desktop's question whether Kavrin may type was not answered. It asks again next time.");
    EXPECT_TRUE(waitUntil([&] { return m_portal.calls().count(u"Close"_s) == 2; })); // question and session
}

TEST_F(PortalTypingTest, AsksAgainWhenItsKeyboardWasTakenAway)
{
    EXPECT_EQ(type(u"a"_s), u"");
    m_portal.closeSession();
    EXPECT_TRUE(waitUntil([&] { return type(u"a"_s).isEmpty() && timesAsked() == 2; }));
}

TEST_F(PortalTypingTest, OffersTheKeptAnswerNoMoreOnceItsKeyboardWasTakenAway)
{
    EXPECT_EQ(type(u"a"_s), u"");
    EXPECT_EQ(type(u"b"_s), u"");
    EXPECT_EQ(contents(m_tokenFile), token);
    m_portal.closeSession();
    EXPECT_TRUE(waitUntil([&] { return type(u"c"_s).isEmpty() && timesAsked() == 2; }));
    EXPECT_FALSE(m_portal.options(u"SelectDevices"_s).contains(u"restore_token"_s));
    EXPECT_EQ(contents(m_tokenFile), token); // that of the new answer
}

TEST_F(PortalTypingTest, AsksAgainWhenTheDesktopTakesNoKeys)
{
    m_portal.refused = u"NotifyKeyboardKeysym"_s;
    EXPECT_EQ(type(u"a"_s), u"The desktop's portal fails: Not allowed");
    m_portal.refused.clear();
    EXPECT_EQ(type(u"a"_s), u"");
    EXPECT_EQ(timesAsked(), 2);
}

TEST_F(PortalTypingTest, AsksAgainWhenThePortalHasBegunAgain)
{
    EXPECT_EQ(type(u"a"_s), u"");
    QDBusConnection bus = m_bus.connection();
    bus.unregisterService(u"org.freedesktop.portal.Desktop"_s);
    bus.registerService(u"org.freedesktop.portal.Desktop"_s);
    EXPECT_TRUE(waitUntil([&] { return type(u"a"_s).isEmpty() && timesAsked() == 2; }));
    EXPECT_EQ(m_portal.options(u"SelectDevices"_s).value(u"restore_token"_s), QString::fromLatin1(token));
}

TEST_F(PortalTypingTest, AsksAgainWhenTheDesktopsPartOfThePortalHasEnded)
{
    QDBusConnection bus = m_bus.connection();
    bus.registerService(u"org.freedesktop.impl.portal.desktop.fake"_s);
    EXPECT_EQ(type(u"a"_s), u"");
    bus.unregisterService(u"org.freedesktop.impl.portal.desktop.fake"_s);
    EXPECT_TRUE(waitUntil([&] { return type(u"a"_s).isEmpty() && timesAsked() == 2; }));
    EXPECT_EQ(m_portal.options(u"SelectDevices"_s).value(u"restore_token"_s), QString::fromLatin1(token));
}

TEST_F(PortalTypingTest, SaysSoWhereThereIsNoPortal)
{
    m_bus.connection().unregisterService(u"org.freedesktop.portal.Desktop"_s);
    EXPECT_FALSE(m_keyboard.isAvailable());
    EXPECT_THAT(type(u"a"_s).toStdString(), testing::StartsWith("The desktop has no portal for that."));
}

TEST_F(PortalTypingTest, AsksNobodyForATextWithControlCharacters)
{
    EXPECT_NE(type(u"rm\n"_s), u"");
    EXPECT_EQ(type(u""_s), u"");
    EXPECT_EQ(timesAsked(), 0);
}

} // namespace kavrin::test
