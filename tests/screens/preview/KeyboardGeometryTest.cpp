// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardGeometry.h"
#include "screens/preview/Settings.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

const Settings turkish = {{u"language"_s, u"tr"_s}};
const Settings everyRow = {{u"numberRow"_s, true}, {u"hints"_s, u"all"_s}};

Settings operator+(Settings one, const Settings &other)
{
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

/// The key with a label or a symbol.
KeyboardGeometry::Key find(const KeyboardGeometry &geometry, const QString &name)
{
    const auto key = std::ranges::find_if(geometry.keys, [&](const auto &placed) {
        return placed.key.label == name || placed.key.symbol == name;
    });
    return key == geometry.keys.end() ? KeyboardGeometry::Key() : *key;
}

TEST(KeyboardGeometry, GivesEachKeyThePlaceThatTheSettingsSay)
{
    struct Case {
        Settings settings;
        QString key;
        QRectF cap;
    };
    const Settings narrow = {{u"widthPct"_s, 60.0}};
    const Settings classic = {{u"stockLayout"_s, false}};
    const std::vector<Case> cases = {
        {{}, u"q"_s, {3, 82, 34, 54}},
        {{}, u"p"_s, {363, 82, 34, 54}},
        {{}, u"a"_s, {23, 147, 34, 54}},
        {{}, u"shift"_s, {3, 212, 54, 54}},
        {{}, u"delete.left"_s, {343, 212, 54, 54}},
        {{}, u"123"_s, {3, 277, 54, 54}},
        {{}, u"face.smiling"_s, {63, 277, 42, 54}},
        {{}, u"English · Türkçe"_s, {111, 277, 194, 54}},
        {{}, u"return"_s, {311, 277, 86, 54}},
        {{{u"rowH"_s, 36.0}}, u"a"_s, {23, 129, 34, 36}},
        {{{u"rowH"_s, 80.0}}, u"a"_s, {23, 173, 34, 80}},
        {{{u"vGap"_s, 0.0}}, u"a"_s, {23, 130, 34, 54}},
        {{{u"vGap"_s, 24.0}}, u"a"_s, {23, 166, 34, 54}},
        {{{u"hGap"_s, 0.0}}, u"q"_s, {0, 82, 40, 54}},
        {{{u"hGap"_s, 16.0}}, u"q"_s, {8, 82, 24, 54}},
        {narrow, u"q"_s, {83, 82, 18, 54}},
        {narrow + Settings{{u"posX"_s, 0.0}}, u"q"_s, {3, 82, 18, 54}},
        {narrow + Settings{{u"posX"_s, 100.0}}, u"q"_s, {163, 82, 18, 54}},
        {narrow + Settings{{u"hGap"_s, 16.0}}, u"q"_s, {87, 82, 11, 54}},
        {{{u"numberRow"_s, true}}, u"1"_s, {3, 82, 34, 54}},
        {{{u"numberRow"_s, true}}, u"q"_s, {3, 147, 34, 54}},
        {{{u"numberRow"_s, true}, {u"numRowScale"_s, 40.0}}, u"1"_s, {3, 82, 34, 21}},
        {{{u"numberRow"_s, true}, {u"numRowScale"_s, 140.0}}, u"1"_s, {3, 82, 34, 75}},
        {{{u"suggestStrip"_s, false}}, u"q"_s, {3, 44, 34, 54}},
        {turkish, u"q"_s, {3, 82, 27, 54}},
        {turkish, u"ü"_s, {370, 82, 27, 54}},
        {turkish, u"ş"_s, {320, 147, 27, 54}},
        {turkish, u"ç"_s, {320, 212, 27, 54}},
        {classic, u","_s, {63, 277, 34, 54}},
        {classic, u"."_s, {283, 277, 34, 54}},
        {classic + Settings{{u"punctKeys"_s, false}}, u"English · Türkçe"_s, {63, 277, 242, 54}},
    };
    for (const auto &[settings, key, cap] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings) + u": "_s + key));
        EXPECT_EQ(find(KeyboardGeometry::of(lookWith(settings), 400, false), key).cap, cap);
    }
}

TEST(KeyboardGeometry, IsAsHighAsItsRowsAndTheSpaceBelow)
{
    struct Case {
        Settings settings;
        bool isLandscape;
        double height;
    };
    const std::vector<Case> cases = {
        {{}, false, 336},
        {{{u"bottomPad"_s, 80.0}}, false, 416},
        {{{u"suggestStrip"_s, false}}, false, 298},
        {{{u"numberRow"_s, true}}, false, 401},
        {{{u"landscape"_s, 40.0}}, false, 336},
        {{}, true, 276}, // of rows of 38.88 pixels
        {{{u"landscape"_s, 40.0}}, true, 206},
        {{{u"landscape"_s, 100.0}}, true, 336},
    };
    for (const auto &[settings, isLandscape, height] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings)));
        EXPECT_EQ(KeyboardGeometry::of(lookWith(settings), 400, isLandscape).height, height);
    }
}

TEST(KeyboardGeometry, MakesLabelsAsLargeAsTheSettingSaysUnlessTheKeyIsTooSmall)
{
    struct Case {
        Settings settings;
        double width;
        QString key;
        int size;
    };
    const std::vector<Case> cases = {
        {{}, 400, u"q"_s, 23},
        {{{u"labelSize"_s, 32.0}}, 400, u"q"_s, 32},
        {{{u"labelSize"_s, 18.0}}, 400, u"q"_s, 18},
        {{}, 400, u"123"_s, 16},
        {{}, 400, u"shift"_s, 19},
        {{{u"labelSize"_s, 32.0}}, 300, u"face.smiling"_s, 24}, // a cap of 30 pixels
        {{}, 400, u"English · Türkçe"_s, 13},
        {{{u"labelSize"_s, 32.0}}, 300, u"q"_s, 26}, // a cap of 24 pixels
        {{{u"labelSize"_s, 32.0}, {u"rowH"_s, 36.0}}, 400, u"q"_s, 30},
        {{{u"labelSize"_s, 32.0}, {u"rowH"_s, 36.0}, {u"hints"_s, u"all"_s}}, 400, u"q"_s, 17},
        {turkish + Settings{{u"widthPct"_s, 60.0}}, 276, u"q"_s, 12},
    };
    for (const auto &[settings, width, key, size] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings) + u": "_s + key));
        EXPECT_EQ(find(KeyboardGeometry::of(lookWith(settings), width, false), key).labelSize, size);
    }
}

TEST(KeyboardGeometry, ShowsTheHintsThatTheSettingSays)
{
    struct Case {
        Settings settings;
        QString hints; ///< of the keys q, a and z and of the third key of the second row
    };
    const std::vector<Case> cases = {
        {{}, {}},
        {{{u"hints"_s, u"numbers"_s}}, u"1"_s},
        {{{u"hints"_s, u"all"_s}}, u"1@*₺"_s},
        {{{u"hints"_s, u"all"_s}, {u"langExtra_tr"_s, false}}, u"1@*$"_s},
        {turkish + Settings{{u"hints"_s, u"all"_s}}, u"1@*₺"_s},
    };
    for (const auto &[settings, expected] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings)));
        const KeyboardGeometry geometry = KeyboardGeometry::of(lookWith(settings), 400, false);
        QString hints;
        for (const QString &key : {u"q"_s, u"a"_s, u"z"_s, u"d"_s}) {
            hints += find(geometry, key).key.hint;
        }
        EXPECT_EQ(hints, expected);
    }
}

TEST(KeyboardGeometry, LeavesHintsOutOfRowsThatAreTooLow)
{
    const KeyboardLook look = lookWith({{u"hints"_s, u"all"_s}, {u"landscape"_s, 40.0}});
    EXPECT_EQ(find(KeyboardGeometry::of(look, 400, false), u"q"_s).hint, QRectF(3, 82, 31, 12));
    EXPECT_TRUE(find(KeyboardGeometry::of(look, 400, true), u"q"_s).hint.isEmpty());
}

TEST(KeyboardGeometry, NamesTheLanguagesOnTheSpaceBar)
{
    struct Case {
        Settings settings;
        QString label;
    };
    const std::vector<Case> cases = {
        {{}, u"English · Türkçe"_s},
        {{{u"langExtra_tr"_s, false}}, u"English"_s},
        {{{u"spaceLabel"_s, false}}, {}},
        {turkish, u"Türkçe · English"_s},
        {turkish + Settings{{u"langExtra_en"_s, false}}, u"Türkçe"_s},
    };
    for (const auto &[settings, label] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings)));
        const KeyboardGeometry geometry = KeyboardGeometry::of(lookWith(settings), 400, false);
        const auto space =
            std::ranges::find(geometry.keys, KeyRole::Space, [](const auto &key) { return key.key.role; });
        EXPECT_EQ(space->key.label, label);
    }
}

/// The pairs of keys that overlap, and what is not within its place.
QStringList faults(const KeyboardGeometry &geometry, double width)
{
    const QRectF screen(0, 0, width, geometry.height);
    QStringList faults;
    for (const auto &key : geometry.keys) {
        const QString name = key.key.label + key.key.symbol;
        for (const auto &other : geometry.keys) {
            if (&key != &other && key.cap.intersects(other.cap)) {
                faults.append(name + u" overlaps "_s + other.key.label + other.key.symbol);
            }
        }
        const bool isWithin = screen.contains(key.cap) && key.cap.contains(key.label)
            && (key.hint.isEmpty() || key.cap.contains(key.hint)) && !key.hint.intersects(key.label)
            && !key.cap.intersects(geometry.strip) && key.labelSize <= key.label.height();
        if (!isWithin) {
            faults.append(name + u" is out of place"_s);
        }
    }
    return faults;
}

/// Calls `test` with the geometry at each end of each slider, with every row, in both layouts, and both ways
/// round, on a narrow and on a wide screen.
void forEachExtreme(const std::function<void(const KeyboardGeometry &, double width)> &test)
{
    for (const Settings &settings : extremes()) {
        for (const Settings &layout : {Settings(), turkish}) {
            const KeyboardLook look = lookWith(everyRow + layout + settings);
            for (const auto &[width, isLandscape] :
                 {std::pair(276.0, false), {1156.0, false}, {276.0, true}}) {
                SCOPED_TRACE(qPrintable(describe(layout + settings) + u" at %1"_s.arg(width)));
                test(KeyboardGeometry::of(look, width, isLandscape), width);
            }
        }
    }
}

TEST(KeyboardGeometry, KeepsEverythingApartAtTheEndsOfEachSlider)
{
    forEachExtreme([](const KeyboardGeometry &geometry, double width) {
        EXPECT_EQ(faults(geometry, width).join(u"; "_s).toStdString(), "");
    });
}

TEST(KeyboardGeometry, KeepsLabelsLegibleAtTheEndsOfEachSlider)
{
    forEachExtreme([](const KeyboardGeometry &geometry, double) {
        for (const auto &key : geometry.keys) {
            EXPECT_GE(key.labelSize, key.key.symbol.isEmpty() ? 9 : 7)
                << qPrintable(key.key.label + key.key.symbol);
        }
    });
}

TEST(KeyboardGeometry, ShowsThePopupAboveItsKeyAndWithinTheScreen)
{
    forEachExtreme([](const KeyboardGeometry &geometry, double width) {
        EXPECT_TRUE(QRectF(0, 0, width, geometry.height).contains(geometry.popup));
        EXPECT_LT(geometry.popup.bottom(), geometry.pressed.top());
        EXPECT_GT(geometry.popupSize, find(geometry, u"g"_s).labelSize);
    });
}

TEST(KeyboardGeometry, KeepsEverythingApartWhenItIsDrawnSmaller)
{
    forEachExtreme([](const KeyboardGeometry &geometry, double width) {
        for (const double factor : {0.4, 0.75}) {
            KeyboardGeometry smaller = geometry.scaled(factor);
            smaller.height = std::ceil(smaller.height);
            EXPECT_EQ(faults(smaller, std::ceil(width * factor)).join(u"; "_s).toStdString(), "");
        }
    });
}

TEST(KeyboardGeometry, IsDrawnSmallerInAllItsParts)
{
    const KeyboardGeometry half = KeyboardGeometry::of(lookWith({}), 400, false).scaled(0.5);
    EXPECT_EQ(half.height, 168);
    EXPECT_EQ(half.strip, QRectF(0, 19, 200, 19));
    EXPECT_EQ(half.toolWidth, 20);
    EXPECT_EQ(half.popupSize, 16);
    EXPECT_EQ(find(half, u"q"_s).cap, QRectF(2, 41, 17, 27));
    EXPECT_EQ(find(half, u"q"_s).labelSize, 11);
}

TEST(KeyboardGeometry, HasTheLettersOfTheDocument)
{
    for (const QString &language : {u"en"_s, u"tr"_s}) {
        std::map<double, QString> rows; // by their tops
        for (const auto &key : KeyboardGeometry::of(lookWith({{u"language"_s, language}}), 400, false).keys) {
            rows[key.cap.top()] += key.key.label.size() == 1 ? key.key.label : QString();
        }
        QString expected = u"| `%1` |"_s.arg(language);
        for (const auto &[top, letters] : rows) {
            expected += letters.isEmpty() ? QString() : u" %1 |"_s.arg(letters);
        }
        EXPECT_TRUE(document().contains(expected)) << qPrintable(expected);
    }
}

TEST(KeyboardGeometry, MakesRoomForAllTools)
{
    for (const auto &[hidden, width] : std::vector<std::pair<QString, double>>{
             {{}, 40}, {u"emoji,gif,sticker,translate,search,youtube,contacts,language"_s, 44}}) {
        Prefs::submit({{u"toolHidden"_s, hidden}});
        EXPECT_EQ(KeyboardGeometry::of(lookWith({}), 400, false).toolWidth, width);
    }
}

} // namespace

} // namespace kavrin::test
