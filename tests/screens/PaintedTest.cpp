// SPDX-License-Identifier: MIT
#include "support/Painted.h"
#include "platform/PlatformText.h"
#include "screens/Screens.h"
#include "support/Suite.h"

#include <QImage>

#include <algorithm>
#include <tuple>

namespace kavrin::test
{

namespace
{

class PaintedTest : public Screens
{
protected:
    /// Higher than every page.
    static constexpr QSize wholePage = QSize(400, 4000);

    QStringList shown() { return painted(window().view(), window().top()); }

    /// A page with one row.
    void openRow(const Prefs::Item &item)
    {
        openPage({{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, {item}}}}}, u"page"_s);
    }

    /// How the control of a row looks.
    QImage control(const Prefs::Item &item)
    {
        openRow(item);
        const QQuickItem *found = window().item(item.title);
        return window().view().grabWindow().copy(
            found->mapRectToScene(found->boundingRect()).toAlignedRect());
    }
};

/// What the row of an item shows above its footer, as the settings stand.
QStringList bodyOf(const Prefs::Item &item)
{
    const QString title = platformText(item.title);
    const QHash<QString, QStringList> ofActions = {
        {u"act.toolbar"_s, {title, u"(chevron.right)"_s}},
        {u"act.contacts"_s, {u"Allow contacts access"_s}},
        {u"act.syncStatus"_s,
         {u"(exclamationmark.triangle.fill)"_s, u"No keyboard has used these settings yet"_s,
          u"A keyboard in a sandbox may keep its own copy. Use “Copy all settings & keys” here, then “Import "
          u"settings from clipboard” in the keyboard's own settings."_s}},
    };
    if (const auto *slider = std::get_if<catalogue::Slider>(&item.kind)) {
        return {title, Prefs::format(slider->defaultValue, slider->unit)};
    }
    if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
        const auto chosen = std::ranges::find(choice->options, choice->defaultValue, &Prefs::Opt::v);
        return {title, platformText(chosen->t), u"(chevron.up.chevron.down)"_s};
    }
    const auto *text = std::get_if<catalogue::Text>(&item.kind);
    if (text != nullptr && text->secret) {
        return {title, u"Paste your key"_s, u"Paste"_s};
    }
    if (text != nullptr && !text->defaultValue.isEmpty()) {
        return {title, text->defaultValue};
    }
    return ofActions.value(item.key, {title});
}

QStringList rowOf(const Prefs::Item &item)
{
    if (!Prefs::isVisible(item.key) || item.onlyInKeyboard) {
        return {};
    }
    return item.footer ? bodyOf(item) + QStringList{platformText(*item.footer)} : bodyOf(item);
}

QStringList contentOf(const Prefs::Page &page)
{
    QStringList content = {page.title};
    for (const Prefs::Sect &section : page.sections) {
        QStringList rows;
        for (const Prefs::Item &item : section.items) {
            rows += rowOf(item);
        }
        content += rows.isEmpty() ? rows : QStringList{section.title} + rows;
    }
    return content;
}

TEST_F(PaintedTest, EveryPageShowsTitleSectionsAndRows)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        SCOPED_TRACE(qPrintable(page.id));
        openPage(page.id, wholePage);
        EXPECT_EQ(shown(), contentOf(page));
    }
}

TEST_F(PaintedTest, ARowShowsItsTitleItsValueAndItsFooter)
{
    struct Row {
        Prefs::Kind kind;
        PropertyListValue stored;
        QStringList body;
        QString wayBack;
    };
    const catalogue::Choice choice = {u"a"_s, {{u"a"_s, u"First"_s}, {u"b"_s, u"Second"_s}}};
    const Row rows[] = {
        {catalogue::Toggle{true}, true, {u"Title"_s}, {}},
        {catalogue::Toggle{true}, false, {u"Title"_s}, u"Back to on"_s},
        {catalogue::Slider{54, 36, 80, 1, u"pt"_s}, 60.0, {u"Title"_s, u"60 pt"_s}, u"Back to 54 pt"_s},
        {catalogue::Slider{1, 0, 1, 0.05, {}}, 0.45, {u"Title"_s, u"0.45"_s}, u"Back to 1"_s},
        {choice, u"b"_s, {u"Title"_s, u"Second"_s, u"(chevron.up.chevron.down)"_s}, u"Back to First"_s},
        {choice, u"gone"_s, {u"Title"_s, u"(chevron.up.chevron.down)"_s}, u"Back to First"_s},
        {catalogue::Text{{}, false}, u""_s, {u"Title"_s}, {}},
        {catalogue::Text{{}, false}, u"typed"_s, {u"Title"_s, u"typed"_s}, {}},
        {catalogue::Text{{}, true}, u""_s, {u"Title"_s, u"Paste your key"_s, u"Paste"_s}, {}},
        {catalogue::Text{{}, true}, u"typed"_s, {u"Title"_s, u"•••••"_s, u"(eye)"_s}, {}},
    };
    int number = 0;
    for (const auto &[kind, stored, body, wayBack] : rows) {
        const QString key = u"key%1"_s.arg(++number);
        SCOPED_TRACE(qPrintable(key));
        put(Shared::d(), key, stored);
        for (const std::optional<QString> &footer : {std::optional<QString>(), {u"Footer"_s}}) {
            openRow({key, u"Title"_s, kind, footer});
            QStringList expected = QStringList{u"Page"_s, u"Section"_s} + body;
            for (const QString &below : {footer.value_or(QString()), wayBack}) {
                expected += below.isEmpty() ? QStringList() : QStringList{below};
            }
            EXPECT_EQ(shown(), expected);
        }
    }
}

TEST_F(PaintedTest, AStatusShowsItsSymbolAndItsText)
{
    contacts.status = Contacts::AuthorizationStatus::Authorized;
    openPage(u"extensions"_s, wholePage);
    EXPECT_EQ(shown().last(2), (QStringList{u"(checkmark.circle.fill)"_s, u"Allowed"_s}));
    contacts.status = Contacts::AuthorizationStatus::Denied;
    openPage(u"extensions"_s, wholePage);
    EXPECT_EQ(shown().last(),
              u"Not available: this desktop has no address book, or does not let Kavrin read it.");
    put(Shared::d(), u"probeKb"_s, true);
    openPage(u"advanced"_s, wholePage);
    EXPECT_EQ(shown().mid(2, 2),
              (QStringList{u"(checkmark.circle.fill)"_s, u"Keyboard and app share settings"_s}));
}

TEST_F(PaintedTest, AnActionShowsWhatItHasDone)
{
    openPage(u"advanced"_s, wholePage);
    window().click(u"Copy all settings & keys"_s);
    EXPECT_TRUE(shown().contains(u"Copied. Open the keyboard settings and import."_s));
}

TEST_F(PaintedTest, AnOpenChoiceShowsEveryOptionAndTicksTheChosenOne)
{
    Prefs::set(u"translateTarget"_s, u"ja"_s);
    openPage(u"extensions"_s, wholePage);
    window().click(u"To"_s);
    auto *popup = window().item(u"To"_s)->property("popup").value<QObject *>();
    ASSERT_TRUE(waitUntil([&] { return popup->property("opened").toBool(); }));
    QStringList expected;
    const Prefs::Item item = *Prefs::items().constFind(u"translateTarget"_s);
    for (const Prefs::Opt &option : std::get<catalogue::Choice>(item.kind).options) {
        expected += option.v == u"ja" ? QStringList{option.t, u"(checkmark)"_s} : QStringList{option.t};
    }
    EXPECT_EQ(painted(window().view(), popup->property("contentItem").value<QQuickItem *>()), expected);
    window().press(Qt::Key_Escape); // Qt crashes where a window goes with its list open
    EXPECT_TRUE(waitUntil([&] { return !popup->property("visible").toBool(); }));
}

TEST_F(PaintedTest, TheFirstScreenShowsHowToBeginAndTheWayToEveryPage)
{
    openSettings(wholePage);
    QStringList expected = {
        u"Kavrin"_s, u"Setup"_s,
        platformText(
            u"Settings › General › Keyboard › Keyboards › Add New Keyboard › Kavrin, then enable Allow Full Access."_s),
        u"Try the keyboard here"_s};
    for (const Prefs::Page &page : Prefs::pages()) {
        expected += {u"(%1)"_s.arg(page.icon), page.title, u"(chevron.right)"_s};
    }
    expected += {u"(character.book.closed)"_s,
                 u"Personal dictionary & shortcuts"_s,
                 u"(chevron.right)"_s,
                 u"(questionmark.circle)"_s,
                 u"Help"_s,
                 u"(chevron.right)"_s,
                 u"(magnifyingglass)"_s};
    EXPECT_EQ(shown(), expected);
}

TEST_F(PaintedTest, APageThatWasOpenedShowsTheWayBack)
{
    openSettings(wholePage);
    window().click(u"Gestures"_s);
    EXPECT_TRUE(waitUntil([&] { return shown().contains(u"(chevron.left)"_s); }));
}

TEST_F(PaintedTest, TheDictionaryShowsItsTextAndHowItIsWritten)
{
    put(Shared::d(), u"userDict"_s, u"omw=on my way"_s);
    QmlWindow dictionary(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    EXPECT_EQ(painted(dictionary.view(), dictionary.top()),
              (QStringList{u"Dictionary"_s, u"omw=on my way"_s, u"1 shortcut"_s,
                           u"One entry per line. A plain word is added to the dictionary. Write omw=on my "
                           u"way to create a text shortcut."_s}));
}

TEST_F(PaintedTest, TheToolbarEditorShowsSymbolTitleAndHandleOfEachTool)
{
    QmlWindow editor(u"Kavrin.Screens"_s, u"ToolbarOrderView"_s, {}, wholePage);
    QStringList expected = {u"Toolbar icons"_s};
    for (const Prefs::Tool &tool : Prefs::toolIDs()) {
        if (tool.id != u"settings") {
            expected += {u"(%1)"_s.arg(tool.icon), tool.title, u"(line.3.horizontal)"_s};
        }
    }
    EXPECT_EQ(painted(editor.view(), editor.top()), expected);
}

TEST_F(PaintedTest, ASwitchAndASliderLookAsTheyAreSet)
{
    const std::tuple<Prefs::Kind, PropertyListValue, PropertyListValue> rows[] = {
        {catalogue::Toggle{}, true, false},
        {catalogue::Slider{0, 0, 1, 0.1, {}}, 0.5, 0.6},
    };
    for (const auto &[kind, one, other] : rows) {
        SCOPED_TRACE(kind.index());
        const Prefs::Item item = {u"key"_s, u"Title"_s, kind};
        Prefs::set(u"key"_s, one);
        const QImage before = control(item);
        Prefs::set(u"key"_s, other);
        EXPECT_NE(control(item), before);
    }
}

} // namespace

} // namespace kavrin::test
