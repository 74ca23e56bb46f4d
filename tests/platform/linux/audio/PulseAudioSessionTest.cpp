// SPDX-License-Identifier: MIT
#include "platform/linux/audio/PulseAudioSession.h"

#include "FakeDevicePortal.h"
#include "SoundFiles.h"
#include "platform/linux/audio/PulseAudioPlayer.h"
#include "support/PatientRecorder.h"
#include "support/PrivateBus.h"
#include "support/PrivateSoundServer.h"
#include "support/Wait.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDir>
#include <QThread>

#include <gmock/gmock.h>

#include <array>

namespace kavrin::test
{

namespace
{

using Behaviour = FakeDevicePortal::Behaviour;
using Type = AudioSession::InterruptionType;

const AudioSession::Options standard =
    AudioSession::MixWithOthers | AudioSession::AllowBluetooth | AudioSession::DefaultToSpeaker;

/// A session as inside a sandbox.
std::unique_ptr<PulseAudioSession> sandboxedSession()
{
    return std::make_unique<PulseAudioSession>(std::make_shared<SoundServer>(),
                                               fileOf(QStringLiteral("flatpak-info"), "[Application]\n"));
}

/// What a session says about interruptions, in order.
class Interruptions
{
public:
    explicit Interruptions(PulseAudioSession &session)
    {
        QObject::connect(
            &session, &AudioSession::interruption, &m_context,
            [this](std::optional<Type> type) {
                EXPECT_EQ(QThread::currentThread(), QCoreApplication::instance()->thread());
                m_types.push_back(type);
            },
            Qt::DirectConnection);
    }

    /// Waits for as many as are expected, then compares.
    void expect(const std::vector<std::optional<Type>> &types) const
    {
        EXPECT_TRUE(waitUntil([&] { return m_types.size() >= types.size(); }));
        EXPECT_EQ(m_types, types);
    }

private:
    QObject m_context;
    std::vector<std::optional<Type>> m_types;
};

/// Why the session could not be activated; empty if it is active.
QCoro::Task<QString> failureOfActivating(AudioSession &session)
{
    const QCoro::Task<> activation = session.activate();
    try {
        co_await activation;
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, QStringLiteral("audio"));
        co_return error.localizedDescription;
    }
    co_return QString();
}

QString activationFailure(AudioSession &session)
{
    return await(failureOfActivating(session));
}

/// A running sound server with a session, recording.
class InterruptionTest : public testing::Test
{
protected:
    InterruptionTest()
    {
        m_machine.start();
        EXPECT_EQ(activationFailure(m_session), QString());
        m_recorder.setMeteringEnabled(true);
        EXPECT_TRUE(await(m_recorder.record()));
    }

    void suspend(const QString &kind, const QString &device, bool suspended) const
    {
        m_machine.control({QStringLiteral("suspend-") + kind, device,
                           suspended ? QStringLiteral("1") : QStringLiteral("0")});
    }

    void suspendMicrophone(bool suspended) const
    {
        suspend(QStringLiteral("source"), QStringLiteral("microphone"), suspended);
    }

    PrivateSoundServer m_machine;
    std::shared_ptr<SoundServer> m_server = std::make_shared<SoundServer>();
    PulseAudioSession m_session{m_server};
    Interruptions m_interruptions{m_session};
    PulseAudioRecorder m_recorder{
        m_server, QDir::home().filePath(QStringLiteral("dict.m4a")), {}, patientWithSound};
};

} // namespace

TEST(RecordPermission, IsGrantedOutsideASandbox)
{
    PulseAudioSession session(std::make_shared<SoundServer>(),
                              QDir::home().filePath(QStringLiteral("missing")));
    EXPECT_TRUE(await(session.requestRecordPermission()));
}

TEST(RecordPermission, IsWhatThePortalAnswers)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    const auto session = sandboxedSession();
    struct Case {
        uint result;
        bool granted;
    };
    for (const Case &c : std::to_array<Case>({{0, true}, {1, false}, {2, false}})) {
        SCOPED_TRACE(c.result);
        const FakeDevicePortal portal(bus.connection(), Behaviour::AnswersFirst, c.result);
        EXPECT_EQ(await(session->requestRecordPermission()), c.granted);
    }
}

TEST(RecordPermission, IsAskedForThisProcessAndTheMicrophone)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    const FakeDevicePortal portal(bus.connection(), Behaviour::AnswersFirst, 0);
    EXPECT_TRUE(await(sandboxedSession()->requestRecordPermission()));
    EXPECT_EQ(portal.processId(), QCoreApplication::applicationPid());
    EXPECT_EQ(portal.devices(), QStringList{QStringLiteral("microphone")});
}

TEST(RecordPermission, WaitsForTheUser)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    for (const Behaviour behaviour : {Behaviour::AnswersLater, Behaviour::ChoosesThePath}) {
        SCOPED_TRACE(static_cast<int>(behaviour));
        FakeDevicePortal portal(bus.connection(), behaviour, 1);
        const auto session = sandboxedSession();
        QCoro::Task<bool> permission = session->requestRecordPermission();
        EXPECT_TRUE(waitUntil([&] { return portal.wasAsked(); }));
        EXPECT_FALSE(permission.isReady());
        // An answer of a portal that chose the path can only be heard once the call has returned.
        EXPECT_TRUE(waitUntil([&] {
            portal.respond();
            return permission.isReady();
        }));
        EXPECT_FALSE(await(std::move(permission)));
    }
}

TEST(RecordPermission, IsNotGrantedWhenTheQuestionIsTakenBack)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    for (const Behaviour behaviour : {Behaviour::AnswersLater, Behaviour::ChoosesThePath}) {
        SCOPED_TRACE(static_cast<int>(behaviour));
        const FakeDevicePortal portal(bus.connection(), behaviour, 0);
        const auto session = sandboxedSession();
        std::stop_source withdrawn;
        QCoro::Task<bool> permission = session->requestRecordPermission(withdrawn.get_token());
        EXPECT_TRUE(waitUntil([&] { return portal.wasAsked(); }));
        withdrawn.request_stop();
        EXPECT_FALSE(await(std::move(permission)));
        EXPECT_TRUE(waitUntil([&] { return portal.isClosed(); }));
    }
}

TEST(RecordPermission, IsGrantedWhereThePortalDoesNotAnswerThisApplication)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    const FakeDevicePortal portal(bus.connection(), Behaviour::Refuses, 1);
    EXPECT_TRUE(await(sandboxedSession()->requestRecordPermission()));
    EXPECT_TRUE(portal.wasAsked());
}

TEST(RecordPermission, IsGrantedWhereThereIsNoPortal)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_TRUE(await(sandboxedSession()->requestRecordPermission()));
}

TEST(RecordPermission, IsGrantedWhereThereIsNoBus)
{
    EXPECT_TRUE(await(sandboxedSession()->requestRecordPermission()));
}

TEST(RecordPermission, IsGrantedWhenThePortalVanishesWhileTheUserIsAsked)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    auto portal = std::make_unique<FakeDevicePortal>(bus.connection(), Behaviour::AnswersLater, 1);
    const auto session = sandboxedSession();
    QCoro::Task<bool> permission = session->requestRecordPermission();
    EXPECT_TRUE(waitUntil([&] { return portal->wasAsked(); }));
    portal.reset();
    EXPECT_TRUE(await(std::move(permission)));
}

TEST(RecordPermission, MayBeAnsweredAfterTheSessionIsGone)
{
    const PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    FakeDevicePortal portal(bus.connection(), Behaviour::AnswersLater, 1);
    auto session = sandboxedSession();
    QCoro::Task<bool> permission = session->requestRecordPermission();
    EXPECT_TRUE(waitUntil([&] { return portal.wasAsked(); }));
    session.reset();
    portal.respond();
    EXPECT_FALSE(await(std::move(permission)));
}

TEST(PulseAudioSession, SaysWhatToDoWhereNoServerRuns)
{
    const PrivateSoundServer machine;
    PulseAudioSession session(std::make_shared<SoundServer>());
    session.setCategory(AudioSession::Category::PlayAndRecord, AudioSession::Mode::Default, standard);
    EXPECT_THAT(activationFailure(session).toStdString(),
                testing::HasSubstr("Check that PipeWire or PulseAudio is running"));
}

TEST(PulseAudioSession, IsActivatedOnceTheServerHasCome)
{
    PrivateSoundServer machine;
    PulseAudioSession session(std::make_shared<SoundServer>());
    EXPECT_NE(activationFailure(session), QString());
    machine.start();
    EXPECT_EQ(activationFailure(session), QString());
}

TEST(PulseAudioSession, LetsTheThreadGoOnWhileTheServerHangs)
{
    PrivateSoundServer machine;
    machine.start();
    machine.freeze();
    PulseAudioSession session(std::make_shared<SoundServer>());
    QCoro::Task<QString> failing = failureOfActivating(session);
    EXPECT_FALSE(failing.isReady());
    EXPECT_THAT(await(std::move(failing)).toStdString(), testing::HasSubstr("it does not answer"));
}

TEST(PulseAudioSession, IsNoLongerActivatedWhenItIsGone)
{
    PrivateSoundServer machine;
    machine.start();
    machine.freeze();
    auto session = std::make_unique<PulseAudioSession>(std::make_shared<SoundServer>());
    QCoro::Task<QString> failing = failureOfActivating(*session);
    session.reset();
    EXPECT_THAT(await(std::move(failing)).toStdString(), testing::HasSubstr("the application ends"));
}

TEST(PulseAudioSession, AnnouncesACallUnlessItMixesWithOthers)
{
    struct Case {
        AudioSession::Options options;
        bool call;
    };
    PrivateSoundServer machine;
    machine.start();
    const auto server = std::make_shared<SoundServer>();
    PulseAudioSession session(server);
    EXPECT_EQ(activationFailure(session), QString());
    for (const Case &c : std::to_array<Case>({{standard, false}, {AudioSession::AllowBluetooth, true}})) {
        SCOPED_TRACE(c.call);
        session.setCategory(AudioSession::Category::PlayAndRecord, AudioSession::Mode::Default, c.options);
        PulseAudioRecorder recorder(server, QDir::home().filePath(QStringLiteral("dict.m4a")), {},
                                    patientWithSound);
        EXPECT_TRUE(await(recorder.record()));
        EXPECT_EQ(machine.control({QStringLiteral("list"), QStringLiteral("source-outputs")})
                      .contains(QStringLiteral("media.role = \"phone\"")),
                  c.call);
    }
}

TEST_F(InterruptionTest, BeginsAndEndsWithASuspendedMicrophone)
{
    suspendMicrophone(true);
    suspendMicrophone(false);
    m_interruptions.expect({Type::Began, Type::Ended});
}

TEST_F(InterruptionTest, BeginsAndEndsWithASuspendedSpeaker)
{
    PulseAudioPlayer player(m_server, wavOf(std::vector<float>(8000), 8000));
    player.setNumberOfLoops(-1);
    EXPECT_TRUE(player.play());
    EXPECT_TRUE(waitUntil([&] { return !m_machine.streams(QStringLiteral("sink-inputs")).isEmpty(); }));
    m_recorder.stop();
    suspend(QStringLiteral("sink"), QStringLiteral("speaker"), true);
    suspend(QStringLiteral("sink"), QStringLiteral("speaker"), false);
    m_interruptions.expect({Type::Began, Type::Ended});
}

TEST_F(InterruptionTest, IsOneForStreamsSuspendedTogether)
{
    PulseAudioRecorder second(m_server, QDir::home().filePath(QStringLiteral("second.m4a")), {},
                              patientWithSound);
    EXPECT_TRUE(await(second.record()));
    suspendMicrophone(true);
    suspendMicrophone(false);
    suspendMicrophone(true);
    m_interruptions.expect({Type::Began, Type::Ended, Type::Began});
}

TEST_F(InterruptionTest, IsNoneWhenTheServerDies)
{
    m_machine.kill();
    EXPECT_TRUE(waitUntil([&] { return !m_recorder.isRecording(); }));
    m_machine.start();
    EXPECT_EQ(activationFailure(m_session), QString());
    m_interruptions.expect({});
}

TEST_F(InterruptionTest, IsNoneWhenTheStreamMovesToAnotherDevice)
{
    m_machine.control({QStringLiteral("move-source-output"),
                       m_machine.streams(QStringLiteral("source-outputs")).value(0),
                       QStringLiteral("speaker.monitor")});
    suspend(QStringLiteral("sink"), QStringLiteral("speaker"), true);
    m_interruptions.expect({Type::Began});
}

TEST_F(InterruptionTest, IsNoneWhenASuspendedStreamIsClosed)
{
    suspendMicrophone(true);
    m_interruptions.expect({Type::Began});
    m_recorder.stop();
    PulseAudioRecorder next(m_server, QDir::home().filePath(QStringLiteral("next.m4a")), {},
                            patientWithSound);
    suspendMicrophone(false);
    EXPECT_TRUE(await(next.record()));
    suspendMicrophone(true);
    m_interruptions.expect({Type::Began, Type::Began});
}

TEST(Sleep, InterruptsTheSession)
{
    const PrivateBus bus("DBUS_SYSTEM_BUS_ADDRESS");
    QDBusConnection logind = bus.connection();
    ASSERT_TRUE(logind.registerService(QStringLiteral("org.freedesktop.login1")));
    PulseAudioSession session(std::make_shared<SoundServer>());
    const Interruptions interruptions(session);
    const auto announce = [&](bool asleep) {
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
                                                         QStringLiteral("org.freedesktop.login1.Manager"),
                                                         QStringLiteral("PrepareForSleep"));
        signal << asleep;
        logind.send(signal);
    };
    announce(true);
    // On a connection that is only just being made Qt may deliver the second message before the first.
    interruptions.expect({Type::Began});
    announce(false);
    interruptions.expect({Type::Began, Type::Ended});
}

TEST(Sleep, IsNotNeededWhereThereIsNoLogind)
{
    PrivateSoundServer machine;
    machine.start();
    PulseAudioSession session(std::make_shared<SoundServer>());
    EXPECT_EQ(activationFailure(session), QString());
}

} // namespace kavrin::test
