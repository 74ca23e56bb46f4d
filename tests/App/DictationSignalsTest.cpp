// SPDX-License-Identifier: MIT
#include "App/DictationSignals.h"
#include "App/DictationBus.h"
#include "doubles/FakeRecorderPlatform.h"
#include "platform/linux/desktop/DesktopNotifications.h"
#include "platform/linux/desktop/FakeNotificationServer.h"
#include "support/PrivateBus.h"
#include "support/Wait.h"

#include <QDBusPendingCall>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

const QString listening = u"Listening: Stop, Cancel"_s;
const QString transcribing = u"Transcribing: Cancel"_s;
const QString silent = u"Kavrin hears nothing: Stop, Cancel"_s;
const QString none = u"none"_s;

/// A keyboard on the bus, which announces dictations.
class Announcer
{
public:
    Announcer() = default;
    ~Announcer() { end(); }

    Announcer(const Announcer &) = delete;
    Announcer &operator=(const Announcer &) = delete;

    /// The name of the error; empty if there is none.
    QString call(const QString &method, const QVariantList &arguments)
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(QDBusConnection::sessionBus().baseService(), DictationBus::path(),
                                           u"app.kavrin.Dictation"_s, method);
        message.setArguments(arguments);
        const QDBusPendingCall asked = m_bus.asyncCall(message);
        EXPECT_TRUE(waitUntil([&] { return asked.isFinished(); }));
        return asked.reply().errorName();
    }

    void end()
    {
        m_bus = QDBusConnection(QString());
        QDBusConnection::disconnectFromBus(u"announcer"_s);
    }

private:
    QDBusConnection m_bus =
        QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), u"announcer"_s);
};

class DictationSignalsTest : public testing::Test
{
protected:
    DictationSignalsTest() { server.answersAtOnce = true; }

    void start() { await(bridge.start()); }

    void announce() { EXPECT_EQ(announcer.call(u"Announce"_s, {machine.dictations.latest()}), u""); }

    QString delivered(const QString &problem)
    {
        return announcer.call(u"Delivered"_s, {machine.dictations.latest(), problem});
    }

    /// An announced dictation, up to its text.
    void dictate()
    {
        start();
        announce();
        bridge.stop();
        machine.finishTranscription(u"text"_s);
        waitUntilIdle();
    }

    void waitUntilIdle()
    {
        ASSERT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"idle"; }));
    }

    void press(const QString &button) { Q_EMIT server.ActionInvoked(1, button); }

    void hear(float power, Recorder::Hearing heard)
    {
        machine.recorders.back().lock()->power = power;
        ASSERT_TRUE(waitUntil([&] { return bridge.recorder().hearing() == heard; }));
    }

    /// The title and the buttons of what the desktop shows.
    QString shown()
    {
        EXPECT_TRUE(waitUntil([this] { return !notifications.isPending(); }));
        QStringList labels;
        for (qsizetype label = 3; label < server.last.actions.size(); label += 2) {
            labels.append(server.last.actions.at(label));
        }
        return server.isShown ? server.last.title + u": "_s + labels.join(u", "_s) : none;
    }

    PrivateBus bus = PrivateBus("DBUS_SESSION_BUS_ADDRESS");
    FakeNotificationServer server{bus.connection()};
    DesktopNotifications notifications;
    FailureNotices failures{notifications};
    FakeRecorderPlatform machine;

    Recorder::Platform platform()
    {
        Recorder::Platform platform = machine.platform();
        platform.reportFailure = [this](const QString &message, bool isKept) {
            failures.report(message, isKept);
        };
        return platform;
    }

    DictationBridge bridge{platform(), [](const QByteArray &) { return std::make_unique<FakeAudioPlayer>(); },
                           [] {}};
    bool isScreenSeen = false;
    DictationSignals signs{bridge, machine.dictations, notifications, failures,
                           [this] { return isScreenSeen; }};
    DictationBus dictationBus{bridge, machine.dictations, signs};
    Announcer announcer;
};

} // namespace

TEST_F(DictationSignalsTest, ADictationThatNobodyHasAnnouncedShowsNothing)
{
    start();
    EXPECT_EQ(shown(), none);
    bridge.stop();
    machine.finishTranscription(u"text"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), none);
    EXPECT_TRUE(server.asked.isEmpty());
}

TEST_F(DictationSignalsTest, AnAnnouncedOneShowsEachStageInPlaceUntilItsTextIsDelivered)
{
    start();
    announce();
    EXPECT_EQ(shown(), listening);
    bridge.stop();
    EXPECT_EQ(shown(), transcribing);
    EXPECT_EQ(server.last.replaced, 1U);
    machine.finishTranscription(u"text"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), transcribing);
    EXPECT_EQ(delivered({}), u"");
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, TheButtonsStopAndCancel)
{
    start();
    announce();
    EXPECT_EQ(shown(), listening);
    press(u"stop"_s);
    EXPECT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"working"; }));
    EXPECT_EQ(shown(), transcribing);
    press(u"give-up"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), none);
    machine.finishTranscription(u"late"_s);

    start();
    announce();
    EXPECT_EQ(shown(), listening);
    Q_EMIT server.ActionInvoked(2, u"cancel"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, ATextThatIsOnItsWayCanBeGivenUp)
{
    dictate();
    const quint64 number = machine.dictations.latest();
    EXPECT_EQ(shown(), transcribing);
    EXPECT_FALSE(signs.isGivenUp(number));
    press(u"give-up"_s);
    EXPECT_TRUE(waitUntil([&] { return signs.isGivenUp(number); }));
    EXPECT_EQ(shown(), none);
    EXPECT_EQ(delivered({}), u"");
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, ARecordingThatHasBegunSinceIsNotGivenUp)
{
    dictate();
    start();
    announce();
    EXPECT_EQ(shown(), listening);
    press(u"give-up"_s);
    EXPECT_EQ(announcer.call(u"State"_s, {}), u""); // which comes after the button
    EXPECT_FALSE(signs.isGivenUp(machine.dictations.latest()));
    EXPECT_EQ(shown(), listening);
}

TEST_F(DictationSignalsTest, AFailureStaysWithItsReason)
{
    start();
    announce();
    bridge.stop();
    machine.failTranscription(Error(u"network"_s, 1, u"no"_s));
    waitUntilIdle();
    EXPECT_EQ(shown(), u"Voice typing: Settings");
    EXPECT_EQ(server.last.text, u"Error: no");
}

TEST_F(DictationSignalsTest, AProblemWithTheDeliveryIsShown)
{
    dictate();
    EXPECT_EQ(delivered(u"The text is on the clipboard. Nothing can be typed here."_s), u"");
    EXPECT_EQ(shown(), u"Voice typing: Settings");
    EXPECT_EQ(server.last.text, u"The text is on the clipboard. Nothing can be typed here.");
}

TEST_F(DictationSignalsTest, WhyAnotherProgramBeganNoDictationIsShown)
{
    EXPECT_EQ(announcer.call(u"Report"_s, {u"The suite is locked."_s}), u"");
    EXPECT_EQ(shown(), u"Voice typing: Settings");
    EXPECT_EQ(server.last.text, u"The suite is locked.");
}

TEST_F(DictationSignalsTest, IfTheAnnouncerEndsTheUserIsToldOfTheClipboard)
{
    dictate();
    announcer.end();
    EXPECT_TRUE(waitUntil([this] { return server.asked.contains(u"The text is on the clipboard."_s); }));
    EXPECT_TRUE(server.last.hints.value(u"transient"_s).toBool());
    start();
    bridge.cancel();
    EXPECT_EQ(shown(), u"Voice typing: ");
}

TEST_F(DictationSignalsTest, ASilenceIsShownOnceInARecordingUntilSoundComes)
{
    start();
    hear(-60, Recorder::Hearing::Nothing);
    EXPECT_EQ(shown(), silent);
    hear(-20, Recorder::Hearing::Sound);
    EXPECT_EQ(shown(), none);
    hear(-60, Recorder::Hearing::Nothing);
    EXPECT_EQ(shown(), none);
    bridge.cancel();

    start();
    announce();
    machine.recorders.back().lock()->muted = true;
    hear(-60, Recorder::Hearing::Muted);
    EXPECT_EQ(shown(), silent);
    EXPECT_TRUE(server.last.text.contains(u"muted"_s));
    hear(-20, Recorder::Hearing::Sound);
    EXPECT_EQ(shown(), listening);
    bridge.cancel();
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, ASilenceThatTheWindowShowsIsNotShown)
{
    isScreenSeen = true;
    start();
    hear(-60, Recorder::Hearing::Nothing);
    EXPECT_EQ(shown(), none);
    bridge.cancel();
}

TEST_F(DictationSignalsTest, ASilenceIsNoLongerShownOnceTheRecordingHasEnded)
{
    start();
    hear(-60, Recorder::Hearing::Nothing);
    EXPECT_EQ(shown(), silent);
    bridge.cancel();
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, UnknownNumbersAreRefused)
{
    const QString refused = u"app.kavrin.Kavrin.Error.Refused"_s;
    EXPECT_EQ(announcer.call(u"Announce"_s, {7ULL}), refused);
    EXPECT_EQ(announcer.call(u"Delivered"_s, {7ULL, u"problem"_s}), refused);
    EXPECT_EQ(shown(), none);
}

TEST_F(DictationSignalsTest, AnotherDictationThanTheAnnouncedOneDoesNotShow)
{
    dictate();
    delivered({});
    start();
    bridge.stop();
    EXPECT_EQ(shown(), none);
    machine.finishTranscription({});
    waitUntilIdle();
}

TEST_F(DictationSignalsTest, WhatIsTriedAgainEndsOnTheClipboard)
{
    QFile recording(Recorder::url());
    ASSERT_TRUE(recording.open(QFile::WriteOnly));
    recording.write("spoken");
    recording.close();
    start();
    bridge.stop();
    machine.failTranscription(Error(u"network"_s, 1, u"no"_s));
    waitUntilIdle();
    EXPECT_EQ(shown(), u"Voice typing: Try again, Settings");
    press(u"again"_s);
    EXPECT_TRUE(waitUntil([this] { return machine.dictations.activity() == u"working"; }));
    EXPECT_EQ(shown(), transcribing);
    machine.finishTranscription(u"text"_s);
    waitUntilIdle();
    EXPECT_EQ(shown(), u"Voice typing: ");
    EXPECT_EQ(server.last.text, u"The text is on the clipboard.");
    EXPECT_EQ(machine.pasteboard.string, u"text");

    press(u"again"_s);
    EXPECT_TRUE(
        waitUntil([this] { return server.asked.contains(u"There is no recording to send again."_s); }));
}

TEST_F(DictationSignalsTest, NothingIsShownWhenTheApplicationEnds)
{
    start();
    announce();
    EXPECT_EQ(shown(), listening);
    signs.close();
    EXPECT_EQ(shown(), none);
    bridge.cancel();
    EXPECT_EQ(shown(), none);
}
