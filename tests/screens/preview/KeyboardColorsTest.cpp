// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardColors.h"
#include "screens/preview/Settings.h"

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

TEST(KeyboardColors, AreThoseThatTheSettingsSay)
{
    struct Case {
        Settings settings;
        bool isDark;
        QColor KeyboardColors::*color;
        const char *expected;
    };
    const std::vector<Case> cases = {
        {{}, false, &KeyboardColors::cap, "#ffffff"},
        {{}, false, &KeyboardColors::onCap, "#000000"},
        {{{u"capLight"_s, 0.3}}, false, &KeyboardColors::cap, "#4d4d4d"},
        {{{u"capLight"_s, 0.3}}, false, &KeyboardColors::onCap, "#ffffff"},
        {{{u"capLight"_s, 0.3}}, true, &KeyboardColors::cap, "#333333"},
        {{}, true, &KeyboardColors::cap, "#333333"},
        {{}, true, &KeyboardColors::onCap, "#ffffff"},
        {{{u"capDark"_s, 0.5}}, true, &KeyboardColors::cap, "#808080"},
        {{{u"capDark"_s, 0.5}}, true, &KeyboardColors::onCap, "#000000"},
        {{}, false, &KeyboardColors::function, "#ffffff"},
        {{{u"fnDim"_s, 0.5}}, false, &KeyboardColors::function, "#cccccc"},
        {{{u"fnDim"_s, 1.0}}, false, &KeyboardColors::function, "#999999"},
        {{{u"fnDim"_s, 1.0}}, true, &KeyboardColors::function, "#1f1f1f"},
        {{}, false, &KeyboardColors::pressed, "#ecedf0"},
        {{{u"glassPress"_s, false}}, false, &KeyboardColors::pressed, "#cccccc"},
        {{{u"glassPress"_s, false}}, true, &KeyboardColors::pressed, "#5c5c5c"},
        {{}, false, &KeyboardColors::accent, "#2563eb"},
        {{}, true, &KeyboardColors::accent, "#5b8df6"},
        {{{u"accent"_s, u"orange"_s}}, false, &KeyboardColors::accent, "#c25a0a"},
    };
    for (const auto &[settings, isDark, color, expected] : cases) {
        SCOPED_TRACE(qPrintable(describe(settings) + (isDark ? u", dark"_s : u", light"_s)));
        EXPECT_EQ((KeyboardColors::of(lookWith(settings), isDark).*color).name().toStdString(), expected);
    }
}

/// The least contrast of a text and what it is on.
double leastContrast(const KeyboardColors &colors)
{
    return std::min({contrast(colors.onGround, colors.ground), contrast(colors.onGround, colors.pill),
                     contrast(colors.onCap, colors.cap), contrast(colors.onFunction, colors.function),
                     contrast(colors.onPressed, colors.pressed), contrast(colors.onAccent, colors.accent)});
}

TEST(KeyboardColors, KeepEveryTextReadable)
{
    std::vector<Settings> all = extremes();
    for (const QString &accent : accents()) {
        all.push_back({{u"accent"_s, accent}});
    }
    for (double brightness = 0.3; brightness <= 0.6; brightness += 0.01) {
        all.push_back({{u"capLight"_s, brightness}, {u"glassPress"_s, false}});
        all.push_back({{u"capDark"_s, brightness}, {u"fnDim"_s, 0.5}});
    }
    for (const Settings &settings : all) {
        for (const bool isDark : {false, true}) {
            SCOPED_TRACE(qPrintable(describe(settings) + (isDark ? u", dark"_s : u", light"_s)));
            EXPECT_GE(leastContrast(KeyboardColors::of(lookWith(settings), isDark)), 4.5);
        }
    }
}

TEST(KeyboardColors, HaveAnAccentOfItsOwnForEachOption)
{
    QStringList seen;
    for (const QString &accent : accents()) {
        const KeyboardLook look = lookWith({{u"accent"_s, accent}});
        seen += {KeyboardColors::of(look, false).accent.name(), KeyboardColors::of(look, true).accent.name()};
    }
    EXPECT_EQ(seen.removeDuplicates(), 0);
    EXPECT_FALSE(seen.contains(QColor(Qt::black).name()));
}

/// A row of the document's table of colours.
QString row(const QString &what, const QColor &light, const QColor &dark)
{
    return u"| %1 | `%2` | `%3` |\n"_s.arg(what, light.name(), dark.name());
}

TEST(KeyboardColors, AreThoseOfTheDocument)
{
    for (const QString &accent : accents()) {
        const KeyboardLook look = lookWith({{u"accent"_s, accent}});
        const QString what = u"accent `%1`"_s.arg(accent);
        const KeyboardColors light = KeyboardColors::of(look, false);
        const KeyboardColors dark = KeyboardColors::of(look, true);
        EXPECT_TRUE(document().contains(row(what, light.accent, dark.accent))) << qPrintable(what);
        EXPECT_TRUE(document().contains(row(u"behind the keys"_s, light.ground, dark.ground)));
    }
}

TEST(KeyboardColors, MeasureContrastAsWcagDoes)
{
    EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
    EXPECT_DOUBLE_EQ(contrast(Qt::white, Qt::white), 1);
    EXPECT_NEAR(contrast(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
}

} // namespace

} // namespace kavrin::test
