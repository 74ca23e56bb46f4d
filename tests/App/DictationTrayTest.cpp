// SPDX-License-Identifier: MIT
#include "App/DictationTray.h"

#include "doubles/FakeRecorderPlatform.h"
#include "support/Wait.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

class FakeTray : public Tray
{
public:
    Content content;

    [[nodiscard]] bool isAvailable() const override { return true; }
    void show(const Content &shown) override { content = shown; }

    /// As the user sees it.
    [[nodiscard]] QStringList menu() const
    {
        QStringList titles = content.menu;
        titles.removeAll(QString());
        return titles;
    }

    /// Where the entry is, now that it is shown.
    [[nodiscard]] int entry(const QString &title) const { return int(content.menu.indexOf(title)); }
};

class DictationTrayTest : public testing::Test
{
protected:
    ~DictationTrayTest() override
    {
        // What waits in a coroutine is not to be left there.
        bridge.cancel();
        machine.session.answer();
        machine.finishTranscription(u""_s);
        waitUntil([this] { return !machine.dictations.isTranscribing() && activity() == u"idle"; });
    }

    QString activity() { return machine.dictations.activity(); }

    void expectShown(const QString &toolTip, const QStringList &menu)
    {
        EXPECT_TRUE(waitUntil([&] { return tray.content.toolTip == toolTip; }))
            << tray.content.toolTip.toStdString();
        EXPECT_EQ(tray.menu(), menu);
    }

    FakeRecorderPlatform machine;
    DictationBridge bridge{machine.platform(),
                           [](const QByteArray &) { return std::make_unique<FakeAudioPlayer>(); }, [] {}};
    FakeTray tray;
    DictationTray shown{tray, bridge, machine.dictations};
};

} // namespace

TEST_F(DictationTrayTest, ShowsWhatGoesOnAndOffersWhatCanBeDone)
{
    machine.session.answersAtOnce = false;
    expectShown(u"Kavrin: ready"_s, {u"Open"_s, u"Start dictation"_s, u"Quit"_s});
    bridge.start();
    expectShown(u"Kavrin: starting to record"_s,
                {u"Open"_s, u"Stop dictation"_s, u"Cancel dictation"_s, u"Quit"_s});
    machine.session.answer();
    expectShown(u"Kavrin: recording"_s, {u"Open"_s, u"Stop dictation"_s, u"Cancel dictation"_s, u"Quit"_s});
    bridge.stop();
    expectShown(u"Kavrin: transcribing"_s,
                {u"Open"_s, u"Start dictation"_s, u"Cancel dictation"_s, u"Quit"_s});
}

TEST_F(DictationTrayTest, ShowsTheSameIconWheneverTheSameGoesOn)
{
    const auto iconWith = [this](const QString &toolTip) {
        EXPECT_TRUE(waitUntil([&] { return tray.content.toolTip == toolTip; }));
        return tray.content.icon.cacheKey();
    };
    const qint64 ready = iconWith(u"Kavrin: ready"_s);
    bridge.start();
    const qint64 recording = iconWith(u"Kavrin: recording"_s);
    EXPECT_NE(recording, ready);
    bridge.cancel();
    EXPECT_EQ(iconWith(u"Kavrin: ready"_s), ready);
    bridge.start();
    EXPECT_EQ(iconWith(u"Kavrin: recording"_s), recording);
}

TEST_F(DictationTrayTest, AStartThatIsGivenUpIsOver)
{
    machine.session.answersAtOnce = false;
    bridge.start();
    expectShown(u"Kavrin: starting to record"_s,
                {u"Open"_s, u"Stop dictation"_s, u"Cancel dictation"_s, u"Quit"_s});
    Q_EMIT tray.chosen(tray.entry(u"Stop dictation"_s));
    expectShown(u"Kavrin: ready"_s, {u"Open"_s, u"Start dictation"_s, u"Quit"_s});
    EXPECT_FALSE(machine.journal.contains(u"record"));
}

TEST_F(DictationTrayTest, TheStopOfAMenuThatWasOpenedEarlierStartsNothing)
{
    bridge.start();
    expectShown(u"Kavrin: recording"_s, {u"Open"_s, u"Stop dictation"_s, u"Cancel dictation"_s, u"Quit"_s});
    const int stop = tray.entry(u"Stop dictation"_s);
    bridge.cancel();
    machine.journal.clear();
    Q_EMIT tray.chosen(stop);
    EXPECT_EQ(machine.journal, Journal());
    EXPECT_EQ(activity(), u"idle");
}

TEST_F(DictationTrayTest, TheStartOfAMenuThatWasOpenedEarlierStopsNothing)
{
    const int start = tray.entry(u"Start dictation"_s);
    bridge.start();
    Q_EMIT tray.chosen(start);
    EXPECT_EQ(activity(), u"recording");
}
