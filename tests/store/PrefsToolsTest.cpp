// SPDX-License-Identifier: MIT
#include "store/BrokenSuite.h"
#include "store/Prefs.h"
#include "store/Shared.h"

#include <gtest/gtest.h>

using namespace kavrin;
using namespace kavrin::test;
using namespace Qt::StringLiterals;

namespace
{

const QString tableOrder =
    u"settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts,language"_s;

} // namespace

TEST(PrefsTools, TheOrderIsTheStoredOneCompletedByTheTable)
{
    const std::pair<std::optional<QString>, QString> rows[] = {
        {std::nullopt, tableOrder},
        {u""_s, tableOrder},
        {u"gif,foo,emoji,gif"_s,
         u"gif,emoji,gif,settings,clipboard,sticker,translate,search,youtube,contacts,language"_s},
        {u",,language,,"_s,
         u"language,settings,clipboard,emoji,gif,sticker,translate,search,youtube,contacts"_s},
        {u"Emoji, gif"_s, tableOrder},
    };
    for (const auto &[stored, expected] : rows) {
        if (stored) {
            Prefs::set(u"toolOrder"_s, *stored);
        }
        EXPECT_EQ(Prefs::toolOrder().join(u','), expected);
    }
}

TEST(PrefsTools, SettingsIsNeverHiddenAndUnknownToolsAreKept)
{
    const std::pair<QString, std::set<QString>> rows[] = {
        {u""_s, {}},
        {u"settings,emoji"_s, {u"emoji"_s}},
        {u"foo,,gif,gif"_s, {u"foo"_s, u"gif"_s}},
    };
    for (const auto &[stored, expected] : rows) {
        Prefs::set(u"toolHidden"_s, stored);
        EXPECT_EQ(Prefs::toolHidden(), expected);
    }
}

TEST(PrefsTools, StoringJoinsTheOrderAndSortsTheHidden)
{
    Prefs::setTools({u"gif"_s, u"emoji"_s}, {u"youtube"_s, u"emoji"_s});
    EXPECT_EQ(Shared::d().string(u"toolOrder"_s), u"gif,emoji"_s);
    EXPECT_EQ(Shared::d().string(u"toolHidden"_s), u"emoji,youtube"_s);
    EXPECT_TRUE(Shared::d().object(u"settingsRevision"_s).has_value());
}

TEST(PrefsTools, AnOrderThatCannotBeStoredIsRefused)
{
    const BrokenSuite broken;
    EXPECT_TRUE(Prefs::store(Prefs::toolChanges({u"gif"_s}, {})).has_value());
}

TEST(PrefsTools, TheTableNamesEveryToolWithTitleAndIcon)
{
    QStringList rows;
    for (const Prefs::Tool &tool : Prefs::toolIDs()) {
        rows.append(QStringList{tool.id, tool.title, tool.icon}.join(u" | "_s));
    }
    EXPECT_EQ(rows,
              (QStringList{
                  u"settings | Settings | gearshape"_s,
                  u"clipboard | Clipboard | doc.on.clipboard"_s,
                  u"emoji | Emoji | face.smiling"_s,
                  u"gif | GIFs | photo.on.rectangle.angled"_s,
                  u"sticker | Stickers | custom.sticker"_s,
                  u"translate | Translate | character.bubble"_s,
                  u"search | Web search | magnifyingglass"_s,
                  u"youtube | YouTube | play.rectangle.fill"_s,
                  u"contacts | Contacts | person.crop.circle"_s,
                  u"language | Language (Türkçe / English) | globe.europe.africa"_s,
              }));
}
