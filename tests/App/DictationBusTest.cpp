// SPDX-License-Identifier: MIT
#include "App/DictationBus.h"
#include "dictation/KeptRecordings.h"
#include "doubles/FakeNotifications.h"
#include "doubles/FakeRecorderPlatform.h"
#include "store/Shared.h"
#include "support/PrivateBus.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

class DictationBusTest : public testing::Test
{
protected:
    DictationBusTest()
    {
        bridge.run(m_stop.get_token()).then([this] { m_hasEnded = true; });
        waitUntil([this] { return machine.clock.isAsleep(); });
    }

    ~DictationBusTest() override
    {
        m_stop.request_stop();
        waitUntil([this] { return m_hasEnded; });
    }

    static QDBusMessage request(const QString &method)
    {
        return QDBusMessage::createMethodCall(QDBusConnection::sessionBus().baseService(),
                                              DictationBus::path(), u"app.kavrin.Dictation"_s, method);
    }

    /// Another program's call.
    [[nodiscard]] QDBusPendingCall call(const QString &method, const QVariantList &arguments = {}) const
    {
        QDBusMessage message = request(method);
        message.setArguments(arguments);
        return m_bus.connection().asyncCall(message);
    }

    /// A call of a program that has left the bus before it is taken. Returns when it was taken.
    void callAndLeave(const QString &method, bool awaitsAnswer)
    {
        const QString connectionName = u"leaving"_s;
        QString name;
        {
            QDBusConnection leaving = QDBusConnection::connectToBus(
                qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), connectionName);
            name = leaving.baseService();
            if (awaitsAnswer) {
                leaving.asyncCall(request(method));
            } else {
                leaving.send(request(method));
            }
            EXPECT_TRUE(leaving.interface()->isServiceRegistered(name)); // so the bus has the call
        }
        QDBusConnection::disconnectFromBus(connectionName);
        // No event is handled here, so the call is not taken.
        while (m_bus.connection().interface()->isServiceRegistered(name)) { }
        answer(call(u"State"_s)); // which comes after the call
    }

    static QDBusMessage answer(const QDBusPendingCall &asked)
    {
        EXPECT_TRUE(waitUntil([&] { return asked.isFinished(); }));
        return asked.reply();
    }

    qulonglong commanded() { return answer(call(u"Commanded"_s)).arguments().value(0).toULongLong(); }

    [[nodiscard]] QDBusPendingCall askForOutcome(qulonglong number) const
    {
        return call(u"Outcome"_s, {number});
    }

    /// Returns when the bridge has taken the command.
    void command(const QString &text)
    {
        test::put(Shared::d(), u"dictationCommand"_s, text);
        const size_t passes = machine.clock.sleeps.size();
        machine.clock.wake();
        waitUntil([&] { return machine.clock.sleeps.size() > passes && machine.clock.isAsleep(); });
    }

    void dictate(const QString &text)
    {
        command(u"start"_s);
        command(u"stop"_s);
        machine.finishTranscription(text);
    }

private:
    const PrivateBus m_bus{"DBUS_SESSION_BUS_ADDRESS"};
    std::stop_source m_stop;
    bool m_hasEnded = false;

protected:
    FakeRecorderPlatform machine;
    DictationBridge bridge{machine.platform(),
                           [](const QByteArray &) { return std::make_unique<FakeAudioPlayer>(); }, [] {}};
    FakeNotifications notifications;
    FailureNotices failures{notifications};
    DictationSignals signs{bridge, machine.dictations, notifications, failures};
    DictationBus bus{bridge, machine.dictations, signs};
};

} // namespace

TEST_F(DictationBusTest, NumbersWhatCommandsOfTheSuiteBegin)
{
    EXPECT_EQ(commanded(), 0U);
    await(bridge.start());
    EXPECT_EQ(commanded(), 0U);
    EXPECT_EQ(bridge.cancel(), std::nullopt);
    command(u"start"_s);
    EXPECT_EQ(commanded(), 2U);
}

TEST_F(DictationBusTest, ACommandThatBeginsNothingHasNoNumber)
{
    command(u"start"_s);
    command(u"start"_s);
    EXPECT_EQ(commanded(), 1U);
}

TEST_F(DictationBusTest, TheOutcomeOfADictationIsTheStampOfItsTranscript)
{
    command(u"start"_s);
    const QDBusPendingCall asked = askForOutcome(1);
    command(u"stop"_s);
    EXPECT_FALSE(asked.isFinished());
    machine.clock.time = 1795480000.25;
    machine.finishTranscription(u"said"_s);
    EXPECT_EQ(answer(asked).arguments(), (QVariantList{1795480000.25, QString()}));
    EXPECT_EQ(Shared::d().object(u"tStamp"_s), PropertyListValue(1795480000.25));
}

TEST_F(DictationBusTest, TheOutcomeIsStillKnownWhenTheNextDictationRuns)
{
    machine.clock.time = 1000;
    dictate(u"first"_s);
    waitUntil([this] { return !machine.dictations.isTranscribing(); });
    machine.clock.time = 2000;
    command(u"start"_s);
    EXPECT_EQ(answer(askForOutcome(1)).arguments(), (QVariantList{1000.0, QString()}));
    EXPECT_FALSE(askForOutcome(2).isFinished());
}

TEST_F(DictationBusTest, TheOutcomeOfAFailedTranscriptionIsItsReason)
{
    command(u"start"_s);
    command(u"stop"_s);
    machine.failTranscription(Error(u"network"_s, 1, u"No route."_s));
    EXPECT_EQ(answer(askForOutcome(1)).arguments(), (QVariantList{0.0, u"Error: No route."_s}));
}

TEST_F(DictationBusTest, TheOutcomeOfARecordingThatCannotBeginIsItsReason)
{
    machine.session.permission = false;
    command(u"start"_s);
    EXPECT_EQ(commanded(), 1U);
    EXPECT_EQ(answer(askForOutcome(1)).arguments(), (QVariantList{0.0, u"Microphone permission denied."_s}));
}

TEST_F(DictationBusTest, ATextThatCannotBeStoredHasNoStamp)
{
    const RefusedKey refused("tStamp");
    dictate(u"said"_s);
    const QVariantList outcome = answer(askForOutcome(1)).arguments();
    EXPECT_EQ(outcome.value(0), 0.0);
    EXPECT_TRUE(outcome.value(1).toString().startsWith(u"Error: the text is on the clipboard only"));
}

TEST_F(DictationBusTest, WhatTheUserCancelsHasNeitherStampNorReason)
{
    const QVariantList nothing = {0.0, QString()};
    command(u"start"_s);
    EXPECT_EQ(bridge.cancel(), std::nullopt);
    EXPECT_EQ(answer(askForOutcome(1)).arguments(), nothing) << "of a recording";
    command(u"start"_s);
    command(u"stop"_s);
    EXPECT_EQ(bridge.cancel(), std::nullopt);
    EXPECT_EQ(answer(askForOutcome(2)).arguments(), nothing) << "of a transcription";
    machine.session.answersAtOnce = false;
    command(u"start"_s);
    EXPECT_EQ(bridge.cancel(), std::nullopt);
    EXPECT_EQ(answer(askForOutcome(3)).arguments(), nothing) << "of the question for the microphone";
}

TEST_F(DictationBusTest, ANumberThatNoDictationHasIsRefused)
{
    EXPECT_EQ(answer(askForOutcome(1)).errorName(), u"app.kavrin.Kavrin.Error.Refused");
}

TEST_F(DictationBusTest, WhoWaitsForTheAnswerButHasLeftBeginsNothing)
{
    ASSERT_TRUE(KeptRecordings::keep("spoken"));
    for (const QString &method : {u"Start"_s, u"Toggle"_s, u"Again"_s}) {
        callAndLeave(method, true);
        EXPECT_EQ(machine.journal, Journal()) << method.toStdString();
        EXPECT_EQ(machine.dictations.activity(), u"idle");
    }
}

TEST_F(DictationBusTest, WhoWaitsForNoAnswerMayLeave)
{
    callAndLeave(u"Start"_s, false);
    EXPECT_EQ(machine.dictations.activity(), u"recording");
}
