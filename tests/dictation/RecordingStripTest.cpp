// SPDX-License-Identifier: MIT
#include "dictation/DictateModel.h"
#include "dictation/RecordingModel.h"

#include "doubles/FakeRecorderPlatform.h"
#include "support/Painted.h"
#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QFont>
#include <QGuiApplication>
#include <QRegularExpression>

#include <gmock/gmock.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

/// The strip in a window of its own, on a machine of fakes.
class RecordingStripTest : public testing::Test
{
protected:
    FakeRecorderPlatform machine;
    DictationBridge bridge{machine.platform(), [](const QByteArray &) { return nullptr; }, [] {}};
    RecordingModel recording{bridge, machine.dictations};
    QmlWindow window{u"Kavrin.Dictation"_s, u"RecordingStrip"_s,
                     QVariantMap{{u"recording"_s, QVariant::fromValue(&recording)}}, QSize(360, 120)};

    ~RecordingStripTest() override
    {
        // What waits in a coroutine is not to be left there.
        std::ignore = bridge.cancel();
        if (machine.dictations.isTranscribing()) {
            machine.finishTranscription(u""_s);
        }
        waitUntil([this] { return machine.dictations.activity() == u"idle"; });
    }

    void start() { await(bridge.start()); }
    bool shows(const QString &name) { return window.find(name) != nullptr; }
    bool showsSoon(const QString &name)
    {
        return waitUntil([&] { return shows(name); });
    }
    QStringList seen() { return painted(window.view(), window.top()); }
    bool isSeen() { return window.top()->property("wanted").toBool(); }
    FakeAudioRecorder &microphone() { return *machine.recorders.back().lock(); }
};

TEST_F(RecordingStripTest, IsThereOnlyWhileSomethingIsRecordedOrTranscribed)
{
    EXPECT_FALSE(isSeen());
    start();
    EXPECT_TRUE(isSeen());
    EXPECT_TRUE(showsSoon(u"Recording"_s));
    window.click(u"Stop"_s);
    EXPECT_TRUE(showsSoon(u"Transcribing…"_s));
    EXPECT_FALSE(shows(u"Stop"_s));
    machine.finishTranscription(u"hello"_s);
    EXPECT_TRUE(waitUntil([&] { return !isSeen(); }));
}

TEST_F(RecordingStripTest, ShowsARecordingOfTheDictationScreenToo)
{
    DictateModel screen(machine.platform());
    screen.start();
    EXPECT_TRUE(showsSoon(u"Recording"_s));
    window.click(u"Stop"_s);
    EXPECT_TRUE(screen.isWorking());
    machine.finishTranscription(u"hello"_s);
    EXPECT_TRUE(waitUntil([&] { return screen.isDone(); }));
}

TEST_F(RecordingStripTest, BreaksNoWordInLargeType)
{
    QFont font = QGuiApplication::font();
    font.setPointSize(22);
    QGuiApplication::setFont(font);
    QmlWindow large(u"Kavrin.Dictation"_s, u"RecordingStrip"_s,
                    {{u"recording"_s, QVariant::fromValue(&recording)}}, QSize(360, 240));
    start();
    EXPECT_TRUE(waitUntil([&] { return large.find(u"Stop"_s) != nullptr; }));
    large.view().grabWindow(); // lays out what has just appeared
    EXPECT_EQ(large.brokenWords(), QStringList());
    large.click(u"Stop"_s);
    EXPECT_TRUE(waitUntil([&] { return large.find(u"Transcribing…"_s) != nullptr; }));
    large.view().grabWindow();
    EXPECT_EQ(large.brokenWords(), QStringList());
}

TEST_F(RecordingStripTest, CountsTheSecondsFromZero)
{
    EXPECT_EQ(recording.time(), u"0:00");
    start();
    const QRegularExpression counted(u"^Recording \\d+:\\d\\d$"_s);
    EXPECT_TRUE(waitUntil([&] {
        const QStringList times = seen().filter(counted);
        return times.size() == 1 && times.first() != u"Recording 0:00";
    }));
}

TEST_F(RecordingStripTest, ShowsTheLevelOfTheMicrophone)
{
    start();
    microphone().power = -25;
    EXPECT_TRUE(waitUntil([&] { return qFuzzyCompare(recording.level(), 0.5); }));
    machine.recorders.back().lock()->power = -160;
    EXPECT_TRUE(waitUntil([&] { return recording.level() == 0; }));
}

TEST_F(RecordingStripTest, SaysWhyNothingIsHeard)
{
    start();
    const QString nothing = u"Kavrin hears nothing. Speak louder, or choose another microphone in the sound "
                            "settings of your desktop."_s;
    const QString muted = u"The microphone is muted. Turn it on in the sound settings of your desktop."_s;
    EXPECT_TRUE(showsSoon(nothing));
    microphone().muted = true;
    EXPECT_TRUE(showsSoon(muted));
    microphone().power = -10;
    EXPECT_TRUE(waitUntil([&] { return !shows(muted) && !shows(nothing); }));
}

TEST_F(RecordingStripTest, GivesUpATranscription)
{
    start();
    window.click(u"Stop"_s);
    EXPECT_TRUE(showsSoon(u"Cancel"_s));
    window.click(u"Cancel"_s);
    EXPECT_TRUE(waitUntil([&] { return !isSeen(); }));
    EXPECT_EQ(machine.dictations.activity(), u"idle");
    machine.finishTranscription(u"too late"_s);
}

TEST_F(RecordingStripTest, AFailureLooksLikeOneUntilItIsClosed)
{
    recording.fail(u"Error: no key"_s);
    EXPECT_TRUE(showsSoon(u"Error: no key"_s));
    EXPECT_TRUE(waitUntil([&] { return seen().contains(u"(exclamationmark.triangle.fill)"_s); }));
    window.click(u"Close"_s);
    EXPECT_FALSE(isSeen());
}

TEST_F(RecordingStripTest, TheNextDictationEndsTheFailureOfTheLast)
{
    recording.fail(u"Error: no key"_s);
    start();
    EXPECT_TRUE(showsSoon(u"Recording"_s));
    std::ignore = bridge.cancel();
    EXPECT_TRUE(waitUntil([&] { return !isSeen(); }));
}

TEST_F(RecordingStripTest, IsNotShownWhereTheWindowShowsTheSameOtherwise)
{
    start();
    window.top()->setProperty("covered", true);
    EXPECT_FALSE(isSeen());
}

} // namespace
