// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardModel.h"
#include "screens/preview/Settings.h"
#include "support/Painted.h"
#include "support/QmlWindow.h"
#include "support/Wait.h"

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QSignalSpy>

#include <gmock/gmock.h>

#include <memory>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

class KeyboardPreviewTest : public testing::Test
{
protected:
    void open(QSize size = QSize(360, 700))
    {
        m_window = std::make_unique<QmlWindow>(u"Kavrin.Screens.Preview"_s, u"KeyboardPreview"_s,
                                               QVariantMap(), size);
    }

    QmlWindow &window() { return *m_window; }

    /// Stores settings, with the defaults of all others, and shows them.
    void show(const Settings &settings)
    {
        storeOnly(settings);
        QMetaObject::invokeMethod(window().root(), "read");
    }

    QImage picture() { return window().view().grabWindow(); }

private:
    std::unique_ptr<QmlWindow> m_window;
};

TEST_F(KeyboardPreviewTest, IsOnePictureForScreenReaders)
{
    open();
    QAccessibleInterface *found = QAccessible::queryAccessibleInterface(window().root());
    EXPECT_EQ(found->role(), QAccessible::Graphic);
    EXPECT_EQ(found->text(QAccessible::Name), u"Preview of the keyboard");
    EXPECT_EQ(window().names(), QStringList());
}

TEST_F(KeyboardPreviewTest, TakesNoFocus)
{
    open();
    window().press(Qt::Key_Tab);
    EXPECT_FALSE(window().view().activeFocusItem()->inherits("QQuickText"));
    EXPECT_FALSE(window().root()->hasActiveFocus() && window().root()->activeFocusOnTab());
}

TEST_F(KeyboardPreviewTest, ShowsToolsSuggestionsAndEveryKey)
{
    open();
    show({});
    QStringList shown = painted(window().view(), window().root());
    // What a popup hides is painted behind it.
    for (const QString &hidden : {u"t"_s, u"y"_s}) {
        shown.removeOne(hidden);
    }
    EXPECT_EQ(
        shown.join(u' '),
        u"(gearshape) (doc.on.clipboard) (face.smiling) (photo.on.rectangle.angled) (custom.sticker) "
        u"(character.bubble) (magnifyingglass) (play.rectangle.fill) (person.crop.circle) "
        u"(globe.europe.africa) “helo” hello help q w e r u i o p a s d f g h j k l (shift) z x c v b n m "
        u"(delete.left) 123 (face.smiling) English · Türkçe (return) g Light");
}

/// For each setting: a change of it that shows, after what must be so that it does.
struct Shown {
    Settings before;
    Change change;
};

const std::vector<Shown> &shownChanges()
{
    static const std::vector<Shown> all = {
        {{}, {u"rowH"_s, 55.0}},
        {{}, {u"vGap"_s, 12.0}},
        {{}, {u"hGap"_s, 8.0}},
        {{}, {u"radius"_s, 9.0}},
        {{}, {u"bottomPad"_s, 2.0}},
        {{}, {u"widthPct"_s, 99.0}},
        {{{u"widthPct"_s, 80.0}}, {u"posX"_s, 52.0}},
        {{}, {u"landscape"_s, 73.0}},
        {{{u"numberRow"_s, true}}, {u"numRowScale"_s, 95.0}},
        {{}, {u"capLight"_s, 0.99}},
        {{}, {u"capDark"_s, 0.21}},
        {{}, {u"fnDim"_s, 0.05}},
        {{}, {u"labelSize"_s, 24.0}},
        {{}, {u"trailWidth"_s, 8.0}},
        {{{u"stockLayout"_s, false}}, {u"punctKeys"_s, false}},
        {{}, {u"stockLayout"_s, false}},
        {{}, {u"numberRow"_s, true}},
        {{}, {u"spaceLabel"_s, false}},
        {{}, {u"keyBorder"_s, true}},
        {{}, {u"keyShadow"_s, false}},
        {{}, {u"glassPress"_s, false}},
        {{}, {u"boldLabels"_s, true}},
        {{}, {u"popup"_s, false}},
        {{}, {u"glide"_s, false}},
        {{}, {u"trail"_s, false}},
        {{}, {u"sugPills"_s, true}},
        {{}, {u"suggestStrip"_s, false}},
        {{}, {u"quoteLiteral"_s, false}},
        {{{u"language"_s, u"tr"_s}}, {u"langExtra_en"_s, false}},
        {{}, {u"langExtra_tr"_s, false}},
        {{}, {u"hints"_s, u"numbers"_s}},
        {{{u"hints"_s, u"numbers"_s}}, {u"hints"_s, u"all"_s}},
        {{}, {u"accent"_s, u"green"_s}},
        {{}, {u"language"_s, u"tr"_s}},
        {{}, {u"toolHidden"_s, u"youtube"_s}},
    };
    return all;
}

TEST_F(KeyboardPreviewTest, ChangesWithEachSettingThatItReads)
{
    open();
    QStringList unseen = KeyboardLook::keys();
    for (const auto &[before, change] : shownChanges()) {
        SCOPED_TRACE(qPrintable(describe({change})));
        unseen.removeAll(change.key);
        show(before);
        const QImage then = picture();
        Prefs::submit({change});
        QMetaObject::invokeMethod(window().root(), "read");
        EXPECT_TRUE(waitUntil([&] { return picture() != then; }));
    }
    EXPECT_EQ(unseen, QStringList());
}

TEST_F(KeyboardPreviewTest, ShowsTheColoursOfTheDesktopUntilASettingOfTheOthersChanges)
{
    KeyboardModel keyboard;
    keyboard.setDark(true);
    const std::vector<std::tuple<Change, bool, bool>> steps = {
        {{u"rowH"_s, 60.0}, true, false},   {{u"capLight"_s, 0.9}, false, false},
        {{u"rowH"_s, 61.0}, true, false},   {{u"landscape"_s, 50.0}, true, true},
        {{u"capDark"_s, 0.3}, true, false}, {{u"accent"_s, u"pink"_s}, true, false},
    };
    for (const auto &[change, showsDark, showsLandscape] : steps) {
        SCOPED_TRACE(qPrintable(describe({change})));
        Prefs::submit({change});
        keyboard.read();
        EXPECT_EQ(keyboard.showsDark(), showsDark);
        EXPECT_EQ(keyboard.showsLandscape(), showsLandscape);
    }
    keyboard.setDark(false);
    EXPECT_FALSE(keyboard.showsDark());
}

TEST_F(KeyboardPreviewTest, KeepsItsItemsWhileTheNumberOfKeysStays)
{
    KeyboardModel keyboard;
    QSignalSpy reset(&keyboard, &KeyboardModel::modelReset);
    Prefs::submit({{u"rowH"_s, 60.0}});
    keyboard.read();
    EXPECT_EQ(reset.size(), 0);
    Prefs::submit({{u"numberRow"_s, true}});
    keyboard.read();
    EXPECT_EQ(reset.size(), 1);
}

/// Texts that are cut off, too small, or out of their place.
QStringList illegible(const QQuickItem *item)
{
    QStringList texts;
    if (!item->isVisible()) {
        return texts;
    }
    const QString text = item->property("text").toString();
    if (item->inherits("QQuickText") && !text.isEmpty()) {
        const bool isLegible = !item->property("truncated").toBool()
            && item->property("paintedWidth").toDouble() <= item->width() + 1
            && item->property("paintedHeight").toDouble() <= item->height() * 1.6;
        texts += isLegible ? QStringList() : QStringList{text};
    }
    for (const QQuickItem *child : item->childItems()) {
        texts += illegible(child);
    }
    return texts;
}

TEST_F(KeyboardPreviewTest, CutsNoTextOffAtTheEndsOfEachSlider)
{
    for (const int width : {288, 1200}) {
        open(QSize(width, 700));
        for (const QString &language : {u"en"_s, u"tr"_s}) {
            for (const Settings &settings : extremes()) {
                Settings all = {{u"language"_s, language}, {u"numberRow"_s, true}, {u"hints"_s, u"all"_s}};
                all.insert(all.end(), settings.begin(), settings.end());
                show(all);
                SCOPED_TRACE(qPrintable(describe(all) + u" at %1"_s.arg(width)));
                EXPECT_EQ(illegible(window().root()), QStringList());
            }
        }
    }
}

TEST_F(KeyboardPreviewTest, ShrinksWhereThereIsNotEnoughHeight)
{
    open();
    show({});
    const double whole = window().root()->implicitHeight();
    for (const auto &[room, height] :
         std::vector<std::pair<double, double>>{{whole + 1, whole}, {whole, whole}, {200, 200}}) {
        window().root()->setProperty("maximumHeight", room);
        EXPECT_NEAR(window().root()->implicitHeight(), height, 1);
        EXPECT_LE(window().root()->implicitHeight(), room);
    }
}

TEST_F(KeyboardPreviewTest, KeepsItsSizesWhereTheDesktopAsksForLargeType)
{
    const QRect keys(0, 0, 360, 300);
    open();
    show({});
    const QImage before = picture().copy(keys);
    QFont font = QGuiApplication::font();
    font.setPointSize(22);
    QGuiApplication::setFont(font);
    open();
    EXPECT_TRUE(waitUntil([&] { return picture().copy(keys) == before; }));
}

TEST_F(KeyboardPreviewTest, IsTheSamePictureFromRightToLeft)
{
    open();
    show({});
    const QImage leftToRight = picture();
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    open();
    EXPECT_TRUE(waitUntil([&] { return picture() == leftToRight; }));
}

} // namespace

} // namespace kavrin::test
