// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundServer.h"

#include "support/PrivateSoundServer.h"
#include "support/Wait.h"

#include <QFile>

#include <gmock/gmock.h>

#include <atomic>

namespace kavrin::test
{

namespace
{

std::string failureOf(SoundServer &server)
{
    try {
        server.connect();
    } catch (const Error &error) {
        EXPECT_EQ(error.domain, QStringLiteral("audio"));
        return error.localizedDescription.toStdString();
    }
    return {};
}

/// The applications that are connected, by name.
int connections(const PrivateSoundServer &machine)
{
    return static_cast<int>(machine.control({QStringLiteral("list"), QStringLiteral("clients")})
                                .count(QStringLiteral("application.id = \"app.kavrin.Kavrin\"")));
}

} // namespace

TEST(SoundServer, SaysWhatToDoWhereNoServerRuns)
{
    const PrivateSoundServer machine;
    SoundServer server;
    EXPECT_EQ(failureOf(server),
              "The sound server cannot be reached (Connection refused). Check that PipeWire or PulseAudio is "
              "running, then try again.");
}

TEST(SoundServer, GivesUpOnAServerThatDoesNotAnswer)
{
    PrivateSoundServer machine;
    machine.start();
    machine.freeze();
    SoundServer server;
    EXPECT_THAT(failureOf(server), testing::HasSubstr("it does not answer"));
}

TEST(SoundServer, ConnectsOnceTheServerHasCome)
{
    PrivateSoundServer machine;
    SoundServer server;
    EXPECT_NE(failureOf(server), "");
    machine.start();
    EXPECT_EQ(failureOf(server), "");
    EXPECT_EQ(connections(machine), 1);
}

TEST(SoundServer, KeepsItsConnection)
{
    PrivateSoundServer machine;
    machine.start();
    SoundServer server;
    server.connect();
    server.connect();
    EXPECT_EQ(connections(machine), 1);
}

TEST(SoundServer, LeavesTheNameOfTheProcessAsItIs)
{
    QFile name(QStringLiteral("/proc/self/comm"));
    ASSERT_TRUE(name.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    const QByteArray before = name.readAll();
    PrivateSoundServer machine;
    machine.start();
    SoundServer server;
    server.connect();
    name.seek(0);
    EXPECT_EQ(name.readAll(), before);
}

TEST(SoundServer, ConnectsAgainAfterTheServerWasRestarted)
{
    PrivateSoundServer machine;
    machine.start();
    SoundServer server;
    server.connect();
    machine.kill();
    EXPECT_TRUE(waitUntil([&] { return !failureOf(server).empty(); }));
    machine.start();
    EXPECT_EQ(failureOf(server), "");
}

TEST(SoundServer, DoesNotConnectBeforeItIsUsed)
{
    PrivateSoundServer machine;
    machine.start();
    const SoundServer server;
    EXPECT_EQ(connections(machine), 0);
}

TEST(SoundServer, LeavesWhenItIsDestroyed)
{
    PrivateSoundServer machine;
    machine.start();
    {
        SoundServer server;
        server.connect();
    }
    EXPECT_TRUE(waitUntil([&] { return connections(machine) == 0; }));
}

TEST(SoundServer, RunsWorkOnceItIsConnected)
{
    PrivateSoundServer machine;
    machine.start();
    std::atomic<int> runs = 0;
    SoundServer server;
    server.whenConnected([&](pa_context *) { ++runs; });
    EXPECT_TRUE(waitUntil([&] { return runs == 1; }));
    server.whenConnected([&](pa_context *) { ++runs; });
    EXPECT_EQ(runs, 2);
}

TEST(SoundServer, DropsWorkWhereNoServerRuns)
{
    PrivateSoundServer machine;
    std::atomic<int> runs = 0;
    SoundServer server;
    server.whenConnected([&](pa_context *) { ++runs; });
    EXPECT_NE(failureOf(server), "");
    machine.start();
    EXPECT_EQ(failureOf(server), "");
    EXPECT_EQ(runs, 0);
}

TEST(SoundServer, PrintsNothing)
{
    testing::internal::CaptureStderr();
    {
        PrivateSoundServer machine;
        SoundServer server;
        failureOf(server);
        machine.start();
        server.connect();
        machine.kill();
        waitUntil([&] { return !failureOf(server).empty(); });
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace kavrin::test
