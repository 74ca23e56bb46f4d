// SPDX-License-Identifier: MIT
#include "screens/start/GetStarted.h"

#include "doubles/FakeStart.h"
#include "screens/Screens.h"
#include "support/LockedDefaults.h"
#include "support/Painted.h"
#include "support/PhoneWays.h"
#include "support/Suite.h"
#include "support/WaitingWrite.h"

#include <QFont>
#include <QGuiApplication>

namespace kavrin::test
{

namespace
{

const QString toChoose = u"Choose who turns speech into text"_s;
const QString toGetKey = u"Get a key that types what you say"_s;
const QString toTry = u"Try it"_s;
const QString chosen = u"Done: Speech becomes text"_s;
const QString hasKey = u"Done: Ctrl+Alt+D types what you say"_s;
const QString tried = u"Done: You have dictated"_s;

/// The first screen with the card for a new user.
class GetStartedTest : public testing::Test
{
protected:
    Journal journal;
    FakePasteboard pasteboard{journal};
    FakeContacts contacts;
    FakeLocalSpeechService local;
    FakeTypingKey key;
    SettingsModel settings{pasteboard, contacts};
    GetStarted started{local, key, pasteboard};

    void open(QSize size = QSize(420, 1600))
    {
        m_window.reset();
        m_window = std::make_unique<QmlWindow>(u"Kavrin.Screens"_s, u"SettingsView"_s,
                                               QVariantMap{{u"settings"_s, QVariant::fromValue(&settings)},
                                                           {u"started"_s, QVariant::fromValue(&started)}},
                                               size);
    }

    QmlWindow &window() { return *m_window; }
    bool shows(const QString &name) { return window().find(name) != nullptr; }
    bool showsSoon(const QString &name)
    {
        return waitUntil([&] { return shows(name); });
    }

    /// Where the item is that has such a property.
    QRectF placeOf(const char *property, QStringView part)
    {
        for (const QQuickItem *item : m_window->items()) {
            if (item->property(property).toString().contains(part)) {
                return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
            }
        }
        return {};
    }

    static void dictateOnce() { put(Shared::d(), u"tStamp"_s, 1.0); }
    static void chooseService() { Prefs::set(u"openaiKey"_s, u"a key"_s); }

private:
    std::unique_ptr<QmlWindow> m_window;
};

TEST_F(GetStartedTest, TellsANewUserThreeThingsToDoAboveEverythingElse)
{
    open();
    const QStringList names = window().names();
    EXPECT_EQ(names.mid(0, 3), (QStringList{u"Kavrin"_s, u"Get started"_s, u"Get started"_s}));
    for (const QString &line : {toChoose, toGetKey, toTry}) {
        EXPECT_LT(names.indexOf(line), names.indexOf(u"Setup"_s)) << qPrintable(line);
        EXPECT_TRUE(names.contains(line)) << qPrintable(line);
    }
    EXPECT_EQ(phoneWaysIn(names + painted(window().view(), window().top())), QStringList());
}

TEST_F(GetStartedTest, OneClickStartsAndChoosesTheServiceOfThisMachine)
{
    Prefs::set(u"customURL"_s, u"https://other.example/v1"_s);
    Prefs::set(u"customKey"_s, u"a key of another server"_s);
    open();
    window().click(u"Use this machine"_s);
    EXPECT_TRUE(shows(u"Starting the service on this machine…"_s));
    EXPECT_FALSE(shows(u"Use this machine"_s));
    EXPECT_FALSE(Shared::d().object(u"provider"_s));
    local.settle();
    EXPECT_TRUE(showsSoon(chosen));
    EXPECT_TRUE(shows(u"On this machine, in US English. Nothing leaves it."_s));
    EXPECT_EQ(Shared::d().string(u"provider"_s), u"custom");
    EXPECT_EQ(Shared::d().string(u"customURL"_s), local.address());
    EXPECT_FALSE(Shared::d().object(u"customKey"_s));
    EXPECT_EQ(local.starts, 1);
}

TEST_F(GetStartedTest, AServiceThatDoesNotStartIsNotChosenAndItSaysWhy)
{
    local.failure.emplace(u"service"_s, 1, u"kavrin-stt does not start."_s);
    open();
    window().click(u"Use this machine"_s);
    local.settle();
    EXPECT_TRUE(showsSoon(u"kavrin-stt does not start."_s));
    EXPECT_TRUE(painted(window().view(), window().top()).contains(u"(exclamationmark.triangle.fill)"_s));
    EXPECT_TRUE(shows(u"Use this machine"_s));
    EXPECT_FALSE(Shared::d().object(u"provider"_s));
}

TEST_F(GetStartedTest, AProviderWithItsKeyIsChosenToo)
{
    started.open();
    struct Case {
        QString provider;
        QString key;
        QString value;
        bool isChosen;
    };
    for (const Case &c : {Case{u"openai"_s, u"openaiKey"_s, u""_s, false},
                          Case{u"openai"_s, u"openaiKey"_s, u"a key"_s, true},
                          Case{u"gemini"_s, u"geminiKey"_s, u""_s, false},
                          Case{u"gemini"_s, u"geminiKey"_s, u"a key"_s, true},
                          Case{u"custom"_s, u"customURL"_s, u""_s, false},
                          Case{u"custom"_s, u"customURL"_s, u"http://[::1]:8080/v1"_s, true}}) {
        Prefs::set(u"provider"_s, c.provider);
        Prefs::set(c.key, c.value);
        started.refresh();
        EXPECT_EQ(started.service()->isDone(), c.isChosen) << qPrintable(c.provider);
    }
}

TEST_F(GetStartedTest, ANewKeyIsSetUpAndNamed)
{
    open();
    window().click(u"Set up a key"_s);
    EXPECT_TRUE(showsSoon(hasKey));
    EXPECT_FALSE(shows(u"Set up a key"_s));
}

TEST_F(GetStartedTest, ADesktopWithoutKeysIsToldTheCommand)
{
    const QString reason = u"The desktop gives Kavrin no shortcut. Make one of its own."_s;
    key.keysOnceStarted = reason;
    open();
    window().click(u"Set up a key"_s);
    EXPECT_TRUE(showsSoon(reason));
    EXPECT_TRUE(shows(toGetKey));
    window().click(u"Copy the command"_s);
    EXPECT_EQ(pasteboard.string, u"kavrinctl type toggle");
}

TEST_F(GetStartedTest, AKeyThatTookATextIsSetUpWhateverTheDesktopSays)
{
    put(Shared::d(), u"tUsed"_s, 1.0);
    open();
    EXPECT_TRUE(shows(u"Done: A key types what you say"_s));
}

TEST_F(GetStartedTest, WhatIsDoneElsewhereShowsWhenItLooksAgain)
{
    open();
    chooseService();
    key.keys = u"Ctrl+Alt+D"_s;
    dictateOnce();
    started.refresh();
    for (const QString &line : {chosen, hasKey, tried}) {
        EXPECT_TRUE(showsSoon(line)) << qPrintable(line);
    }
}

TEST_F(GetStartedTest, WhatIsDoneAMomentLaterShowsToo)
{
    open();
    started.refresh();
    dictateOnce();
    EXPECT_TRUE(showsSoon(tried));
}

TEST_F(GetStartedTest, AsksNobodyWhileTheWindowIsClosed)
{
    open();
    ASSERT_TRUE(waitUntil([&] { return started.isShown(); }));
    started.close();
    const int asked = key.asked;
    started.refresh();
    EXPECT_EQ(key.asked, asked);
    EXPECT_FALSE(started.isShown());
}

TEST_F(GetStartedTest, StaysWhenAllIsDoneUntilTheWindowIsOpenedAgain)
{
    open();
    chooseService();
    key.keys = u"Ctrl+Alt+D"_s;
    dictateOnce();
    started.refresh();
    EXPECT_TRUE(showsSoon(u"All set"_s));
    started.open();
    EXPECT_TRUE(waitUntil([&] { return key.asked > 1; }));
    EXPECT_FALSE(started.isShown());
}

TEST_F(GetStartedTest, ComesWhenOnlyTheKeyIsMissing)
{
    chooseService();
    dictateOnce();
    open();
    EXPECT_TRUE(showsSoon(toGetKey));
    EXPECT_TRUE(shows(chosen));
    EXPECT_TRUE(shows(tried));
}

TEST_F(GetStartedTest, TheButtonThatDismissesItStandsBesideTheTitleFromRightToLeft)
{
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    open();
    EXPECT_LE(placeOf("text", u"Dismiss").right(), placeOf("text", u"Get started").left());
}

TEST_F(GetStartedTest, ATickStandsBesideItsLineAlsoInLargeType)
{
    QFont font = QGuiApplication::font();
    font.setPointSize(22);
    QGuiApplication::setFont(font);
    chooseService();
    open(QSize(360, 1600));
    ASSERT_TRUE(showsSoon(chosen));
    const QRectF tick = placeOf("source", u"checkmark");
    const QRectF title = placeOf("text", u"Speech becomes text");
    EXPECT_GT(tick.height(), 0);
    EXPECT_LE(tick.right(), title.left());
}

TEST_F(GetStartedTest, ADismissedCardDoesNotComeAgain)
{
    open();
    window().click(u"Dismiss"_s);
    EXPECT_FALSE(shows(toChoose));
    open();
    EXPECT_FALSE(shows(toChoose));
    EXPECT_TRUE(Shared::d().dictionaryRepresentation().value.empty());
}

TEST_F(GetStartedTest, ADismissalThatCannotBeStoredKeepsNobodyWaitingAndHoldsUntilTheNextStart)
{
    open();
    LockedDefaults locked;
    const WaitingWrite write(UserDefaults::standard());
    window().click(u"Dismiss"_s);
    EXPECT_FALSE(shows(toChoose));
    EXPECT_TRUE(write.isWaiting());
    open();
    EXPECT_FALSE(shows(toChoose));
    locked.unlock();
}

TEST_F(GetStartedTest, LeadsToTheProvidersAndToTheDictationScreen)
{
    open();
    const QSignalSpy dictate(window().root(), SIGNAL(dictate()));
    window().click(u"Dictate"_s);
    EXPECT_EQ(dictate.size(), 1);
    window().click(u"OpenAI, Gemini, other…"_s);
    EXPECT_EQ(window().top()->property("title"), u"Voice typing"_s);
}

} // namespace

} // namespace kavrin::test
