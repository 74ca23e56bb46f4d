// SPDX-License-Identifier: MIT
#include "RealDictation.h"
#include "loopback/Client.h"
#include "loopback/Loopback.h"
#include "support/PrivateSoundServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

// The application's threads all at work: the main thread dictates, the sound thread records and plays, the
// loopback server's threads answer, and all of them use the suite.

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

/// A server on any free port.
class RunningLoopback
{
public:
    RunningLoopback()
    {
        // The port found on one of the two addresses may be taken on the other, so several may have to be
        // tried.
        EXPECT_TRUE(waitUntil([this] {
            m_loopback.start();
            return port() != 0;
        }));
    }

    [[nodiscard]] std::uint16_t port() const { return m_loopback.boundPort(); }

private:
    Loopback m_loopback{0};
};

bool isAnswered(std::uint16_t port, const std::string &target)
{
    const Client client;
    return client.connect(port) && client.send("GET " + target + " HTTP/1.1\r\n\r\n")
        && client.receiveToEnd().value_or("").starts_with("HTTP/1.1 200 OK\r\n");
}

/// Keyboards that ask for one target each, again and again, until they are destroyed.
class Keyboards
{
public:
    Keyboards(std::uint16_t port, const std::vector<std::string> &targets)
    {
        for (const std::string &target : targets) {
            m_threads.emplace_back([this, port, target](const std::stop_token &stop) {
                while (!stop.stop_requested()) {
                    ++(isAnswered(port, target) ? m_answered : m_unanswered);
                }
            });
        }
    }

    [[nodiscard]] int answered() const { return m_answered; }
    [[nodiscard]] int unanswered() const { return m_unanswered; }

private:
    std::atomic<int> m_answered = 0;
    std::atomic<int> m_unanswered = 0;
    std::vector<std::jthread> m_threads;
};

class Concurrency : public testing::Test
{
protected:
    Concurrency() { m_soundServer.start(); }

    PrivateSoundServer m_soundServer;
    RunningLoopback m_loopback;
    RealDictation m_dictation;
};

} // namespace

TEST_F(Concurrency, KeyboardsThatAskAllTheTimeDoNotDisturbDictations)
{
    const Keyboards keyboards(m_loopback.port(), {"/get", "/get", "/cmd?v=pause", "/used?t=1700000000.25"});
    for (int round = 0; round < 5; ++round) {
        SCOPED_TRACE(round);
        const int answered = keyboards.answered();
        m_dictation.expectTheNextOneWorks();
        EXPECT_GT(keyboards.answered(), answered);
    }
    EXPECT_EQ(keyboards.unanswered(), 0);
    EXPECT_EQ(Shared::d().object(u"tUsed"_s), PropertyListValue(1700000000.25));
}

TEST_F(Concurrency, KeyboardsThatContradictEachOtherLeaveDictationWorking)
{
    constexpr int count = 5;
    ScriptedServer service;
    for (int number = 0; number < 10 * count; ++number) {
        service.add(transcript("text"));
    }
    useService(service.url(u"/"_s));
    {
        const Keyboards keyboards(m_loopback.port(), {"/cmd?v=start", "/cmd?v=stop", "/get"});
        EXPECT_TRUE(waitUntil([&] { return service.received().size() >= count; }));
        EXPECT_EQ(keyboards.unanswered(), 0);
    }
    if (m_dictation.recorder().state() == Recorder::S::recording) {
        m_dictation.stop();
    }
    EXPECT_TRUE(waitUntil([this] { return m_dictation.recorder().state() == Recorder::S::idle; }));
    m_dictation.expectTheNextOneWorks();
}

} // namespace kavrin::test
