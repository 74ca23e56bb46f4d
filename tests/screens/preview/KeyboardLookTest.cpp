// SPDX-License-Identifier: MIT
#include "screens/preview/KeyboardLook.h"
#include "screens/preview/Settings.h"

#include <gmock/gmock.h>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

TEST(KeyboardLook, HasTheDefaultsOfTheCatalogueWhenNothingIsStored)
{
    const KeyboardLook look = lookWith({});
    EXPECT_EQ(look.rowH, 54);
    EXPECT_EQ(look.capDark, 0.2);
    EXPECT_TRUE(look.stockLayout);
    EXPECT_FALSE(look.numberRow);
    EXPECT_EQ(look.accent, u"blue");
}

TEST(KeyboardLook, BringsWhatOtherProgramsStoreIntoTheRange)
{
    const KeyboardLook look = lookWith({{u"rowH"_s, 1e9},
                                        {u"widthPct"_s, -5.0},
                                        {u"labelSize"_s, u"large"_s},
                                        {u"accent"_s, u"plaid"_s},
                                        {u"language"_s, u"xx"_s}});
    EXPECT_EQ(look.rowH, 80);
    EXPECT_EQ(look.widthPct, 60);
    EXPECT_EQ(look.labelSize, 23);
    EXPECT_EQ(look.accent, u"blue");
    EXPECT_EQ(look.language, u"en");
}

TEST(KeyboardLook, ReadsSettingsOfTheCatalogueOnly)
{
    EXPECT_FALSE(KeyboardLook::keys().isEmpty());
    for (const QString &key : KeyboardLook::keys()) {
        EXPECT_TRUE(Prefs::items().contains(key)) << qPrintable(key);
    }
}

TEST(KeyboardLook, HasTheToolsInTheirOrderWithoutTheHiddenOnes)
{
    struct Case {
        QString order;
        QString hidden;
        QStringList begin; ///< of the symbols
        int count;
    };
    const std::vector<Case> cases = {
        {{}, {}, {u"gearshape"_s, u"doc.on.clipboard"_s, u"face.smiling"_s}, 10},
        {u"sticker,emoji"_s, {}, {u"custom.sticker"_s, u"face.smiling"_s, u"gearshape"_s}, 10},
        {u"sticker,unknown,emoji"_s, u"emoji,clipboard,settings"_s, {u"custom.sticker"_s, u"gearshape"_s}, 8},
    };
    for (const auto &[order, hidden, begin, count] : cases) {
        SCOPED_TRACE(qPrintable(order));
        Prefs::submit({{u"toolOrder"_s, order}, {u"toolHidden"_s, hidden}});
        const QStringList tools = KeyboardLook::stored().tools;
        EXPECT_EQ(tools.mid(0, begin.size()), begin);
        EXPECT_EQ(tools.size(), count);
    }
}

TEST(KeyboardLook, ShowsATrailOnlyWhereTheUserGlides)
{
    EXPECT_TRUE(lookWith({}).showsTrail());
    EXPECT_FALSE(lookWith({{u"glide"_s, false}}).showsTrail());
    EXPECT_FALSE(lookWith({{u"trail"_s, false}}).showsTrail());
}

} // namespace

} // namespace kavrin::test
