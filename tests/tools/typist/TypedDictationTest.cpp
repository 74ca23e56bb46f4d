// SPDX-License-Identifier: MIT
#include "tools/typist/TypedDictation.h"

#include "FakeKavrin.h"
#include "platform/linux/desktop/SystemClock.h"
#include "store/Shared.h"
#include "support/PrivateBus.h"
#include "support/Suite.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const QString onClipboard = u" The text is on the clipboard: Ctrl+V pastes it, in a terminal Ctrl+Shift+V."_s;

/// The machine's clock, which the test may put forward.
class MovableClock : public SystemClock
{
public:
    double ahead = 0; ///< seconds

    [[nodiscard]] double now() const override { return SystemClock::now() + ahead; }
};

/// What has the focus.
struct Window {
    QStringList typed;
    QStringList marked; ///< what "tUsed" was when each text came
    std::optional<Error> failure;
    std::function<void()> meanwhile = [] { }; ///< happens before any key is pressed
};

class TypingIntoWindow : public Typing
{
public:
    explicit TypingIntoWindow(Window &window) : m_window(window) { }

    [[nodiscard]] QString name() const override { return u"window"_s; }

    QCoro::Task<std::optional<Error>> type(QString text, Check check) override
    {
        m_window.meanwhile();
        try {
            const QCoro::Task<> checking = check();
            co_await checking;
        } catch (const Error &error) {
            co_return error;
        }
        m_window.typed.append(text);
        m_window.marked.append(Shared::d().string(u"tUsed"_s).value_or(u"none"_s));
        co_return m_window.failure;
    }

private:
    Window &m_window;
};

class TypedDictationTest : public testing::Test
{
protected:
    /// Why the dictation could not begin; empty if it could.
    QString begin()
    {
        try {
            await(run(m_dictation.begin()));
        } catch (const Error &error) {
            return error.localizedDescription;
        }
        return {};
    }

    /// Begins and lets go on.
    void record()
    {
        EXPECT_EQ(begin(), u"");
        m_dictation.finish().then([this] { isOver = true; });
        EXPECT_TRUE(waitUntil([this] { return kavrin.asked.contains(u"Outcome 8"_s); }));
    }

    /// Ends the recording, and waits until Kavrin transcribes it.
    void end()
    {
        dictation().end();
        EXPECT_TRUE(waitUntil([this] { return kavrin.activity == u"working"; }));
    }

    void expectOver()
    {
        EXPECT_TRUE(waitUntil([this] { return isOver; }));
    }

    /// A whole dictation that ends with this text.
    void dictate(const QString &text)
    {
        record();
        end();
        kavrin.transcribe(text, stamp);
        expectOver();
        EXPECT_TRUE(waitUntil([this] { return kavrin.asked.contains(u"Delivered 8"_s); }));
    }

    TypedDictation &dictation() { return m_dictation; }

    static constexpr double stamp = 1795480000.25;
    const PrivateBus bus{"DBUS_SESSION_BUS_ADDRESS"};
    FakeKavrin kavrin{bus.connection()};
    MovableClock clock;
    Window window;
    std::optional<Error> obstacle; ///< to any way of typing
    bool isLocked = false;
    bool isKeyHeld = false;
    int looksAtKey = 0;
    bool isOver = false;

private:
    /// await() wants a result.
    static QCoro::Task<bool> run(QCoro::Task<> task)
    {
        co_await task;
        co_return true;
    }

    Result<std::unique_ptr<Typing>> findTyping()
    {
        if (obstacle) {
            return {nullptr, obstacle};
        }
        return {std::make_unique<TypingIntoWindow>(window)};
    }

    RunningKavrin m_running;
    TypedDictation m_dictation{{.kavrin = m_running,
                                .clock = clock,
                                .findTyping = [this] { return findTyping(); },
                                .isLocked = [this]() -> QCoro::Task<bool> { co_return isLocked; },
                                .isKeyHeld =
                                    [this] {
                                        ++looksAtKey;
                                        return isKeyHeld;
                                    }}};
};

} // namespace

TEST_F(TypedDictationTest, TypesTheTextThatItHasBrought)
{
    dictate(u" said\n"_s);
    EXPECT_EQ(window.typed, QStringList{u"said"_s});
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Stop"_s, u"Delivered 8"_s}));
    EXPECT_EQ(kavrin.problems, QStringList{u""_s});
}

TEST_F(TypedDictationTest, MarksTheTextAsUsedBeforeItTypesIt)
{
    put(Shared::d(), u"tUsed"_s, 1000.5);
    dictate(u"said"_s);
    EXPECT_EQ(window.marked, QStringList{u"1795480000.25"_s});
}

TEST_F(TypedDictationTest, TypesNothingIfTheTextIsEmpty)
{
    dictate(u"\n"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u""_s});
    EXPECT_EQ(Shared::d().object(u"tUsed"_s), PropertyListValue(stamp));
}

TEST_F(TypedDictationTest, TypesNothingThatAnotherKeyboardHasUsed)
{
    put(Shared::d(), u"tUsed"_s, stamp);
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u""_s});
}

TEST_F(TypedDictationTest, TypesNothingOfALaterDictation)
{
    record();
    end();
    kavrin.transcribe(u"somebody else's"_s, stamp);
    put(Shared::d(), u"tStamp"_s, stamp + 1);
    expectOver();
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(Shared::d().object(u"tUsed"_s), std::nullopt);
}

TEST_F(TypedDictationTest, TypesWhatComesAMinuteAfterTheEnd)
{
    record();
    end();
    clock.ahead = 59;
    kavrin.transcribe(u"said"_s, stamp);
    expectOver();
    EXPECT_EQ(window.typed, QStringList{u"said"_s});
}

TEST_F(TypedDictationTest, TypesNothingThatComesLater)
{
    record();
    end();
    clock.ahead = 61;
    kavrin.transcribe(u"said"_s, stamp);
    expectOver();
    waitUntil([this] { return !kavrin.problems.isEmpty(); });
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u"The text has come too late to be typed."_s + onClipboard});
}

TEST_F(TypedDictationTest, TypesNothingWhileTheSessionIsLocked)
{
    isLocked = true;
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u"The session is locked."_s + onClipboard});
}

TEST_F(TypedDictationTest, TypesNothingIfTheSessionIsLockedBeforeAKeyIsPressed)
{
    window.meanwhile = [this] { isLocked = true; };
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u"The session is locked."_s + onClipboard});
}

TEST_F(TypedDictationTest, TypesNothingIfItIsTooLateBeforeAKeyIsPressed)
{
    window.meanwhile = [this] { clock.ahead = 61; };
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u"The text has come too late to be typed."_s + onClipboard});
}

TEST_F(TypedDictationTest, TypesNothingIfTheClockIsSetBack)
{
    record();
    end();
    clock.ahead = -60;
    kavrin.transcribe(u"said"_s, stamp);
    expectOver();
    EXPECT_EQ(window.typed, QStringList());
}

TEST_F(TypedDictationTest, WaitsUntilTheKeyIsReleased)
{
    record();
    end();
    isKeyHeld = true;
    kavrin.transcribe(u"said"_s, stamp);
    EXPECT_TRUE(waitUntil([this] { return looksAtKey > 3; }));
    EXPECT_EQ(window.typed, QStringList());
    isKeyHeld = false;
    expectOver();
    EXPECT_EQ(window.typed, QStringList{u"said"_s});
}

TEST_F(TypedDictationTest, TypesNothingWhileTheKeyIsHeld)
{
    isKeyHeld = true;
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u"The key is still held, so nothing was typed."_s + onClipboard});
    EXPECT_EQ(Shared::d().object(u"tUsed"_s), std::nullopt);
}

TEST_F(TypedDictationTest, SaysWhyThereIsNoWayOfTyping)
{
    obstacle = Error(u"typing"_s, 1, u"There is no display."_s);
    dictate(u"said"_s);
    EXPECT_EQ(kavrin.problems, QStringList{u"There is no display."_s + onClipboard});
}

TEST_F(TypedDictationTest, SaysWhyTheTextCouldNotBeTyped)
{
    window.failure = Error(u"typing"_s, 1, u"A key is held."_s);
    dictate(u"said"_s);
    EXPECT_EQ(kavrin.problems, QStringList{u"A key is held."_s + onClipboard});
}

TEST_F(TypedDictationTest, TypesTheTextOfARecordingThatSomebodyElseHasEnded)
{
    record();
    kavrin.activity = u"working"_s;
    kavrin.transcribe(u"said"_s, stamp);
    expectOver();
    EXPECT_EQ(window.typed, QStringList{u"said"_s});
    EXPECT_FALSE(kavrin.asked.contains(u"Stop"_s));
}

TEST_F(TypedDictationTest, IsOverWithADictationThatFails)
{
    record();
    kavrin.fail(u"No microphone."_s);
    expectOver();
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList());
}

TEST_F(TypedDictationTest, OnlyEndsARecordingThatRunsAlready)
{
    kavrin.activity = u"recording"_s;
    EXPECT_EQ(begin(), u"");
    EXPECT_EQ(kavrin.asked, QStringList{u"Stop"_s});
    EXPECT_EQ(Shared::d().object(u"dictationCommand"_s), std::nullopt);
}

TEST_F(TypedDictationTest, DoesNotBeginWhileKavrinTranscribes)
{
    kavrin.activity = u"working"_s;
    EXPECT_EQ(begin(), u"Kavrin is busy with another dictation. Try again when it is over.");
    EXPECT_EQ(kavrin.asked, QStringList());
}

TEST_F(TypedDictationTest, WithdrawsACommandThatIsNotTaken)
{
    kavrin.takesCommands = false;
    EXPECT_EQ(begin(), u"Kavrin does not take the command, which is withdrawn. Restart Kavrin.");
    EXPECT_EQ(Shared::d().string(u"dictationCommand"_s), u"");
}

TEST_F(TypedDictationTest, LeavesTheCommandOfAnotherKeyboardAsItIs)
{
    kavrin.takesCommands = false;
    for (const QString &command : {u"start"_s, u"stop"_s}) {
        put(Shared::d(), u"dictationCommand"_s, command);
        EXPECT_EQ(begin(), u"Kavrin is busy with another dictation. Try again when it is over.");
        EXPECT_EQ(Shared::d().string(u"dictationCommand"_s), command);
    }
}

TEST_F(TypedDictationTest, DoesNotTakeADictationThatSomebodyElseHasBegunMeanwhileForItsOwn)
{
    kavrin.isBegunElsewhere = true;
    EXPECT_EQ(begin(), u"Kavrin is busy with another dictation. Try again when it is over.");
    EXPECT_EQ(kavrin.asked, QStringList());
}

TEST_F(TypedDictationTest, KnowsThatItsCommandIsTakenEvenIfTheSuiteKeepsIt)
{
    kavrin.clearsCommands = false;
    EXPECT_EQ(begin(), u"");
    EXPECT_EQ(kavrin.activity, u"recording");
}

TEST_F(TypedDictationTest, CanBeCancelledBeforeItHasBegun)
{
    dictation().cancel();
    record();
    expectOver();
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Cancel"_s}));
}

TEST_F(TypedDictationTest, CanBeCancelledWhileItRecords)
{
    record();
    dictation().cancel();
    expectOver();
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Cancel"_s}));
}

TEST_F(TypedDictationTest, CanBeCancelledWhileItsRecordingEnds)
{
    record();
    kavrin.beforeAnswer = [this] {
        if (kavrin.activity == u"working") {
            dictation().cancel();
        }
    };
    dictation().end();
    expectOver();
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Stop"_s, u"Cancel"_s}));
    EXPECT_EQ(window.typed, QStringList());
}

TEST_F(TypedDictationTest, CanBeCancelledWhileItFindsThatSomebodyElseHasEndedItsRecording)
{
    record();
    kavrin.beforeAnswer = [this] {
        kavrin.activity = u"working"_s;
        dictation().cancel();
    };
    expectOver();
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Cancel"_s}));
}

TEST_F(TypedDictationTest, CanBeCancelledWhileKavrinTranscribes)
{
    record();
    end();
    EXPECT_TRUE(waitUntil([this] { return dictation().isWaiting(); }));
    dictation().cancel();
    expectOver();
    EXPECT_EQ(kavrin.asked, (QStringList{u"Announce 8"_s, u"Outcome 8"_s, u"Stop"_s, u"Cancel"_s}));
    EXPECT_EQ(window.typed, QStringList());
}

TEST_F(TypedDictationTest, CanBeCancelledUntilAKeyIsPressed)
{
    window.meanwhile = [this] { dictation().cancel(); };
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u""_s});
}

TEST_F(TypedDictationTest, CanBeGivenUpInTheNotificationUntilAKeyIsPressed)
{
    window.meanwhile = [this] { kavrin.isGivenUp = true; };
    dictate(u"said"_s);
    EXPECT_EQ(window.typed, QStringList());
    EXPECT_EQ(kavrin.problems, QStringList{u""_s});
}

TEST_F(TypedDictationTest, EndsTheRecordingWhenItIsLeft)
{
    record();
    dictation().leave();
    expectOver();
    EXPECT_EQ(kavrin.activity, u"working");
    EXPECT_EQ(window.typed, QStringList());
}

} // namespace kavrin::test
