// SPDX-License-Identifier: MIT
#include "dictation/DictateModel.h"

#include "doubles/FakeRecorderPlatform.h"
#include "store/Shared.h"
#include "support/Painted.h"
#include "support/PhoneWays.h"
#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QtTest/QTest>

#include <gmock/gmock.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

const QString listening = u"Listening… Press Stop when you are done."_s;
const QString hint =
    u"The text is on your clipboard: paste it where you want it. A keyboard inserts it by itself."_s;

const QString failure = u"(exclamationmark.triangle.fill)"_s;

QString shared(const QString &key)
{
    return Shared::d().string(key).value_or(u"none"_s);
}

/// The screen on a machine of fakes.
class Screen
{
public:
    ~Screen()
    {
        if (m_window) {
            close();
        }
        // What waits in a coroutine is not to be left there.
        machine.session.answer();
        if (machine.journal.contains(u"begin transcribe") && !machine.journal.contains(u"end 1")) {
            machine.finishTranscription(u""_s);
            waitUntil([this] { return machine.journal.contains(u"end 1"); });
        }
    }

    FakeRecorderPlatform machine;

    void present(QSize size = QSize(360, 720))
    {
        m_window.emplace(u"Kavrin.Dictation"_s, u"DictateView"_s,
                         QVariantMap{{u"models"_s, QVariant::fromValue(&m_models)}}, size);
    }

    /// As the application does when the screen asks to be closed.
    void close() { m_window.reset(); }

    /// Presents the screen, stops the recording and has `text` come back.
    void dictate(const QString &text, QSize size = QSize(360, 720))
    {
        present(size);
        click(u"Stop"_s);
        machine.finishTranscription(text);
        ASSERT_TRUE(waitUntil([&] { return message() == text; }));
    }

    QmlWindow &window() { return *m_window; }
    QQuickItem *view() { return m_window->top(); }

    /// The item that its view calls `name`.
    template <typename T = QQuickItem> T *part(const QString &name) { return view()->findChild<T *>(name); }

    QString message() { return part(u"message"_s)->property("text").toString(); }
    bool shows(const QString &name) { return m_window->item(name) != nullptr; }
    QQuickItem *focused() { return m_window->view().activeFocusItem(); }

    void click(const QString &name)
    {
        QQuickItem *item = m_window->item(name);
        ASSERT_NE(item, nullptr) << name.toStdString() << " is not among "
                                 << m_window->names().join(u", "_s).toStdString();
        m_window->view().grabWindow(); // which lays out what has just appeared
        ASSERT_TRUE(isInside(item)) << name.toStdString();
        QTest::mouseClick(&m_window->view(), Qt::LeftButton, {}, rectangle(item).center().toPoint());
    }

    static QRectF rectangle(const QQuickItem *item) { return item->mapRectToScene(item->boundingRect()); }

    bool isInside(const QQuickItem *item)
    {
        const QRectF window(QPointF(0, 0), QSizeF(m_window->view().size()));
        return !rectangle(item).isEmpty() && window.contains(rectangle(item));
    }

private:
    DictateModelFactory m_models{machine.platform()};
    std::optional<QmlWindow> m_window;
};

class DictateViewTest : public testing::Test, public Screen
{
};

struct Shown {
    const char *name;
    std::function<void(Screen &)> reach;
    QStringList painted;
    QString microphone;
};

void PrintTo(const Shown &shown, std::ostream *stream)
{
    *stream << shown.name;
}

const Shown table[] = {
    {"Starting",
     [](Screen &screen) {
         screen.machine.session.answersAtOnce = false;
         screen.present();
     },
     {u"(mic.fill)"_s, u"Starting…"_s, u"Close"_s},
     u"Microphone off"_s},
    {"Refused",
     [](Screen &screen) {
         screen.machine.session.permission = false;
         screen.present();
     },
     {u"(mic.fill)"_s, failure, u"Microphone permission denied."_s, u"Close"_s},
     u"Microphone off"_s},
    {"Failed",
     [](Screen &screen) {
         screen.machine.recorderFailure.emplace(u"file"_s, 1, u"The disk is full."_s);
         screen.present();
     },
     {u"(mic.fill)"_s, failure, u"Recording failed: The disk is full."_s, u"Close"_s},
     u"Microphone off"_s},
    {"Recording",
     [](Screen &screen) { screen.present(); },
     {u"(mic.fill)"_s, listening, u"Stop"_s, u"Close"_s},
     u"Microphone on"_s},
    {"Working",
     [](Screen &screen) {
         screen.present();
         screen.click(u"Stop"_s);
     },
     {u"(ellipsis)"_s, u"Transcribing…"_s, u"Close"_s},
     u"Transcribing"_s},
    {"Done",
     [](Screen &screen) { screen.dictate(u"hello world"_s); },
     {u"(mic.fill)"_s, u"hello world"_s, hint, u"Close"_s},
     u"Microphone off"_s},
    {"AfterAnError",
     [](Screen &screen) {
         screen.present();
         screen.click(u"Stop"_s);
         screen.machine.failTranscription(Error(u"stt"_s, 1, u"no key"_s));
         waitUntil([&] { return screen.message().startsWith(u"Error"); });
     },
     {u"(mic.fill)"_s, failure, u"Error: no key"_s, u"Close"_s},
     u"Microphone off"_s},
};

class DictateViewStateTest : public testing::TestWithParam<Shown>, public Screen
{
};

} // namespace

TEST_P(DictateViewStateTest, ShowsWhatTheStateIs)
{
    const Shown &expected = GetParam();
    expected.reach(*this);
    QStringList seen = painted(window().view(), view());
    seen.removeDuplicates(); // of a symbol that lights up
    EXPECT_EQ(seen, expected.painted);
    EXPECT_EQ(phoneWaysIn(seen + window().names()), QStringList());
    for (const QString &name : {u"Stop"_s, u"Close"_s, hint}) {
        EXPECT_EQ(shows(name), expected.painted.contains(name)) << name.toStdString();
    }
    EXPECT_TRUE(shows(expected.microphone));
}

TEST_P(DictateViewStateTest, AnimatesTheSymbolOnlyWhileWorking)
{
    GetParam().reach(*this);
    const bool isWorking = GetParam().painted.first() == u"(ellipsis)";
    EXPECT_EQ(part<QObject>(u"steps"_s)->property("running").toBool(), isWorking);
    EXPECT_EQ(part(u"litDots"_s)->isVisible(), isWorking);
}

TEST_P(DictateViewStateTest, MovesNothingWhereMotionIsToBeReduced)
{
    GetParam().reach(*this);
    window().theme()->setProperty("reducedMotion", true);
    EXPECT_FALSE(part<QObject>(u"steps"_s)->property("running").toBool());
    EXPECT_EQ(part(u"litDots"_s)->width(), part(u"symbol"_s)->width());
}

TEST_P(DictateViewStateTest, HasTheFocusOnStopWhileRecordingAndOnCloseOtherwise)
{
    GetParam().reach(*this);
    const QString expected = GetParam().painted.contains(u"Stop") ? u"Stop"_s : u"Close"_s;
    EXPECT_TRUE(waitUntil([&] { return focused() == window().item(expected); }));
}

TEST_P(DictateViewStateTest, ClosesOnClose)
{
    GetParam().reach(*this);
    const QSignalSpy closed(view(), SIGNAL(closed()));
    click(u"Close"_s);
    EXPECT_EQ(closed.count(), 1);
}

TEST_P(DictateViewStateTest, LetsGoOfEverythingWhenClosed)
{
    GetParam().reach(*this);
    close();
    for (const std::weak_ptr<FakeAudioRecorder> &recorder : machine.recorders) {
        EXPECT_TRUE(recorder.expired());
    }
}

INSTANTIATE_TEST_SUITE_P(DictateView, DictateViewStateTest, testing::ValuesIn(table),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(DictateViewTest, SaysThatTheMicrophoneIsMutedUntilItIsHeardAgain)
{
    present();
    const std::shared_ptr<FakeAudioRecorder> recorder = machine.recorders.back().lock();
    recorder->muted = true;
    const QString muted = u"The microphone is muted. Turn it on in the sound settings of your desktop."_s;
    EXPECT_TRUE(waitUntil([&] { return shows(muted); }));
    recorder->power = -10;
    EXPECT_TRUE(waitUntil([&] { return !shows(muted); }));
}

TEST_F(DictateViewTest, ShowsWhatWasSaidAsItWasSaid)
{
    dictate(u"iOS system dictation"_s);
    EXPECT_EQ(message(), u"iOS system dictation");
}

TEST_F(DictateViewTest, DrawsTwoTranslucentCirclesAboutTheSymbol)
{
    present();
    const QQuickItem *outer = part(u"outerCircle"_s);
    const QQuickItem *inner = part(u"innerCircle"_s);
    EXPECT_EQ(window().item(u"Microphone on"_s)->size(), QSizeF(190, 190));
    EXPECT_EQ(outer->size(), QSizeF(150, 150));
    EXPECT_EQ(inner->size(), QSizeF(110, 110));
    EXPECT_DOUBLE_EQ(outer->opacity(), 0.14);
    EXPECT_DOUBLE_EQ(inner->opacity(), 0.28);
    EXPECT_EQ(part(u"symbol"_s)->property("size").toInt(), 46);
    EXPECT_EQ(rectangle(outer).center(), rectangle(inner).center());
    EXPECT_EQ(rectangle(outer).center(), rectangle(window().item(u"Microphone on"_s)).center());
}

TEST_F(DictateViewTest, TheCirclesPulseWithTheLevel)
{
    struct {
        float power;
        double outer;
        double inner;
    } const rows[] = {{0, 1.55, 1.28}, {-25, 1.275, 1.14}, {-60, 1, 1}};
    present();
    for (const auto &row : rows) {
        SCOPED_TRACE(row.power);
        machine.recorders.back().lock()->power = row.power;
        EXPECT_TRUE(
            waitUntil([&] { return qFuzzyCompare(part(u"outerCircle"_s)->width(), 150 * row.outer); }));
        EXPECT_TRUE(
            waitUntil([&] { return qFuzzyCompare(part(u"innerCircle"_s)->width(), 110 * row.inner); }));
    }
}

TEST_F(DictateViewTest, TheCirclesAreStillAfterTheRecording)
{
    present();
    machine.recorders.back().lock()->power = 0;
    ASSERT_TRUE(waitUntil([&] { return part(u"outerCircle"_s)->width() > 225; }));
    click(u"Stop"_s);
    EXPECT_TRUE(waitUntil([&] { return qFuzzyCompare(part(u"outerCircle"_s)->width(), 150); }));
    EXPECT_TRUE(waitUntil([&] { return qFuzzyCompare(part(u"innerCircle"_s)->width(), 110); }));
}

TEST_F(DictateViewTest, RecordsOnceAndHandsTheTranscriptOver)
{
    dictate(u"hello world"_s);
    EXPECT_EQ(machine.journal,
              (Journal{u"ask permission"_s, u"set category"_s, u"activate"_s, u"open"_s, u"sound 1113"_s,
                       u"record"_s, u"stop"_s, u"sound 1114"_s, u"begin transcribe"_s,
                       u"transcribe dict.m4a"_s, u"paste"_s, u"end 1"_s}));
    EXPECT_EQ(shared(u"transcript"_s), u"hello world");
    EXPECT_EQ(shared(u"dictationState"_s), u"done");
}

TEST_F(DictateViewTest, ClosingWhileRecordingSoundsNothingAndTranscribesNothing)
{
    present();
    machine.journal.clear();
    click(u"Close"_s);
    EXPECT_EQ(machine.journal, Journal());
    close();
    EXPECT_EQ(machine.journal, Journal{u"release"_s});
    EXPECT_EQ(shared(u"dictationState"_s), u"recording");
    EXPECT_EQ(shared(u"transcript"_s), u"none");
}

TEST_F(DictateViewTest, ClosingWhilePermissionIsAskedForRecordsNothing)
{
    machine.session.answersAtOnce = false;
    present();
    close();
    QCoreApplication::processEvents();
    EXPECT_EQ(machine.journal, (Journal{u"ask permission"_s, u"withdraw question"_s}));
}

TEST_F(DictateViewTest, ATranscriptionUnderWayCompletesAfterTheScreenIsClosed)
{
    present();
    click(u"Stop"_s);
    close();
    machine.finishTranscription(u"late text"_s);
    EXPECT_TRUE(waitUntil([&] { return machine.journal.last() == u"end 1"; }));
    EXPECT_EQ(shared(u"dictationState"_s), u"done");
    EXPECT_EQ(shared(u"transcript"_s), u"late text");
    EXPECT_EQ(machine.pasteboard.string, u"late text");
}

TEST_F(DictateViewTest, ShowsAndStopsARecordingThatBeginsLaterElsewhere)
{
    dictate(u"first"_s);
    Recorder other(machine.platform());
    other.autoReset = true;
    QCoro::waitFor(other.start());
    EXPECT_EQ(message(), listening);
    EXPECT_FALSE(shows(hint));
    machine.recorders.back().lock()->power = 0;
    EXPECT_TRUE(waitUntil([&] { return part(u"outerCircle"_s)->width() > 225; }));
    click(u"Stop"_s);
    EXPECT_EQ(other.state(), Recorder::S::working);
    EXPECT_EQ(message(), u"Transcribing…");
    machine.finishTranscription(u"second"_s);
    EXPECT_TRUE(waitUntil([&] { return message() == u"second"; }));
    // The next one does not show the text of the last one while it starts.
    machine.session.answersAtOnce = false;
    const QCoro::Task<> starting = other.start();
    EXPECT_EQ(message(), u"Starting…");
    other.cancel();
    EXPECT_TRUE(waitUntil([&] { return starting.isReady(); }));
    EXPECT_EQ(message(), u"The dictation was cancelled.");
}

TEST_F(DictateViewTest, ARecordingThatBeganElsewhereGoesOnWhenTheScreenIsClosed)
{
    dictate(u"first"_s);
    Recorder other(machine.platform());
    QCoro::waitFor(other.start());
    close();
    EXPECT_EQ(other.state(), Recorder::S::recording);
}

TEST_F(DictateViewTest, OpenedDuringATranscriptionItShowsThatOne)
{
    Recorder other(machine.platform());
    other.autoReset = true;
    QCoro::waitFor(other.start());
    other.stop();
    present();
    EXPECT_EQ(message(), u"Transcribing…");
    EXPECT_TRUE(shows(u"Transcribing"_s));
    EXPECT_EQ(machine.recorders.size(), 1U);
    machine.finishTranscription(u"text"_s);
    EXPECT_TRUE(waitUntil([&] { return message() == u"text"; }));
}

TEST_F(DictateViewTest, OpenedDuringTheTranscriptionOfAClosedScreenItRecordsNothingAndSaysWhy)
{
    present();
    click(u"Stop"_s);
    close();
    present();
    EXPECT_EQ(message(), u"The last dictation is still being transcribed.");
    EXPECT_TRUE(shows(u"Microphone off"_s));
    EXPECT_EQ(machine.recorders.size(), 1U);
}

TEST_F(DictateViewTest, ASecondPresentationStartsAnew)
{
    dictate(u"first"_s);
    close();
    machine.journal.clear();
    present();
    EXPECT_EQ(message(), listening);
    EXPECT_TRUE(shows(u"Stop"_s));
    EXPECT_FALSE(shows(hint));
    EXPECT_EQ(machine.journal,
              (Journal{u"ask permission"_s, u"set category"_s, u"activate"_s, u"open"_s, u"sound 1113"_s,
                       u"record"_s}));
}

TEST_F(DictateViewTest, EscapeCloses)
{
    present();
    const QSignalSpy closed(view(), SIGNAL(closed()));
    window().press(Qt::Key_Escape);
    EXPECT_EQ(closed.count(), 1);
    part(u"message"_s)->forceActiveFocus();
    window().press(Qt::Key_Escape);
    EXPECT_EQ(closed.count(), 2);
}

TEST_F(DictateViewTest, TheKeyboardAloneDictatesAndSeesWhereItIs)
{
    present();
    ASSERT_TRUE(waitUntil([&] { return focused() == window().item(u"Stop"_s); }));
    window().press(Qt::Key_Tab);
    EXPECT_EQ(focused(), window().item(u"Close"_s));
    window().press(Qt::Key_Tab);
    EXPECT_EQ(focused(), window().item(u"Stop"_s));
    EXPECT_TRUE(focused()->property("visualFocus").toBool());
    window().press(Qt::Key_Space);
    EXPECT_EQ(message(), u"Transcribing…");
    ASSERT_TRUE(waitUntil([&] { return focused() == window().item(u"Close"_s); }));
    EXPECT_TRUE(focused()->property("visualFocus").toBool());
    const QSignalSpy closed(view(), SIGNAL(closed()));
    window().press(Qt::Key_Return);
    EXPECT_EQ(closed.count(), 1);
}

TEST_F(DictateViewTest, TheTranscriptCanBeSelected)
{
    dictate(u"hello world"_s);
    QQuickItem *message = part(u"message"_s);
    ASSERT_TRUE(waitUntil([&] { return isInside(message); }));
    const QPoint middle = rectangle(message).center().toPoint();
    QTest::mouseDClick(&window().view(), Qt::LeftButton, {}, middle - QPoint(20, 0));
    EXPECT_EQ(message->property("selectedText").toString(), u"hello");
    window().press(Qt::Key_X);
    EXPECT_EQ(this->message(), u"hello world");
}

// A screen reader is told of a notification when it appears.
TEST_F(DictateViewTest, EachMessageIsAnnounced)
{
    machine.session.answersAtOnce = false;
    present();
    auto *announcement = part(u"announcement"_s);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(announcement)->role(), QAccessible::Notification);
    QStringList announced;
    const QObject untilTheEnd; // newer versions of Qt hide and show it when the window goes, too
    QObject::connect(announcement, &QQuickItem::visibleChanged, &untilTheEnd, [&] {
        if (announcement->isVisible()) {
            announced.append(QAccessible::queryAccessibleInterface(announcement)->text(QAccessible::Name));
        }
    });
    machine.session.answer();
    ASSERT_TRUE(waitUntil([&] { return shows(u"Stop"_s); }));
    click(u"Stop"_s);
    machine.finishTranscription(u"hello"_s);
    ASSERT_TRUE(waitUntil([&] { return message() == u"hello"; }));
    EXPECT_THAT(announced, testing::ElementsAre(listening, u"Transcribing…"_s, u"hello"_s));
}

namespace
{

struct Room {
    const char *name;
    QSize size;
    int points;
};

void PrintTo(const Room &room, std::ostream *stream)
{
    *stream << room.name;
}

class DictateViewRoomTest : public testing::TestWithParam<Room>, public Screen
{
protected:
    void SetUp() override
    {
        QFont font = QGuiApplication::font();
        font.setPointSize(GetParam().points);
        QGuiApplication::setFont(font);
    }

    void expectTheWholeWidth(const QString &name)
    {
        const QRectF item = rectangle(part(name));
        EXPECT_GE(item.left(), 0);
        EXPECT_LE(item.right(), GetParam().size.width());
    }

    bool isAtTheEnd()
    {
        const QQuickItem *flickable = part(u"flickable"_s);
        return qFuzzyCompare(flickable->property("contentY").toDouble() + flickable->height(),
                             flickable->property("contentHeight").toDouble());
    }
};

} // namespace

TEST_P(DictateViewRoomTest, TheButtonsAreInTheWindowWhileRecording)
{
    present(GetParam().size);
    EXPECT_TRUE(waitUntil([&] { return isInside(window().item(u"Stop"_s)); }));
    EXPECT_TRUE(waitUntil([&] { return isInside(window().item(u"Close"_s)); }));
    EXPECT_FALSE(rectangle(window().item(u"Stop"_s)).intersects(rectangle(window().item(u"Close"_s))));
}

TEST_P(DictateViewRoomTest, TheWholeMessageIsSeenWhileRecording)
{
    present(GetParam().size);
    EXPECT_TRUE(waitUntil([&] {
        const QRectF text = rectangle(part(u"message"_s));
        return !text.isEmpty() && rectangle(part(u"flickable"_s)).adjusted(0, -0.5, 0, 0.5).contains(text);
    }));
}

TEST_P(DictateViewRoomTest, AVeryLongTranscriptScrollsAndLeavesTheButtonInTheWindow)
{
    dictate(u"Many words, and no end of them. "_s.repeated(200), GetParam().size);
    ASSERT_TRUE(waitUntil([&] { return part(u"message"_s)->height() > GetParam().size.height(); }));
    EXPECT_TRUE(isInside(window().item(u"Close"_s)));
    expectTheWholeWidth(u"message"_s);
    expectTheWholeWidth(u"hint"_s);
    EXPECT_TRUE(waitUntil([&] { return rectangle(part(u"message"_s)).top() >= 0; }))
        << "is not at its beginning";
    EXPECT_FALSE(isAtTheEnd());
    EXPECT_TRUE(waitUntil([&] {
        window().press(Qt::Key_PageDown);
        return isAtTheEnd();
    }));
    EXPECT_GE(rectangle(part(u"hint"_s)).top(), 0);
    EXPECT_LE(rectangle(part(u"hint"_s)).bottom(), rectangle(part(u"flickable"_s)).bottom() + 0.5);
}

INSTANTIATE_TEST_SUITE_P(DictateView, DictateViewRoomTest,
                         testing::Values(Room{"Portrait", QSize(360, 720), 11},
                                         Room{"Landscape", QSize(720, 360), 11},
                                         Room{"Small", QSize(320, 400), 11},
                                         Room{"Desktop", QSize(1280, 800), 11},
                                         Room{"PortraitInLargeType", QSize(360, 720), 22},
                                         Room{"LandscapeInLargeType", QSize(720, 360), 22}),
                         [](const auto &info) { return std::string(info.param.name); });
