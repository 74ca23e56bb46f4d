// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QPointer>
#include <QtTest/QTest>

#include <algorithm>

namespace kavrin::test
{

namespace
{

using PageViewTest = Screens;

const QStringList notShown = {u"act.resize"_qs, u"act.importConfig"_qs, u"act.resetLearned"_qs};

/// What the rows of a page are called, from top to bottom, where rows of actions have names of their own.
QStringList rowNames(const Prefs::Page &page)
{
    const QHash<QString, QString> named = {
        {u"act.contacts"_qs, u"Allow contacts access"_qs},
        {u"act.syncStatus"_qs, u"Not shared (keyboard keeps its own copy)"_qs},
    };
    QStringList names;
    for (const Prefs::Sect &section : page.sections) {
        for (const Prefs::Item &item : section.items) {
            if (Prefs::isVisible(item.key) && !notShown.contains(item.key)) {
                names.append(named.value(item.key, item.title));
            }
        }
    }
    return names;
}

TEST_F(PageViewTest, ShowsEveryVisibleItemOfEveryPageInItsOrder)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        SCOPED_TRACE(qPrintable(page.id));
        openPage(page.id);
        const QStringList rows = rowNames(page);
        QStringList shown = window().names();
        EXPECT_EQ(shown.takeFirst(), page.title);
        for (const QString &row : rows) {
            const qsizetype at = shown.indexOf(row);
            EXPECT_GE(at, 0) << qPrintable(row) << " is not shown, or not in its order";
            shown.remove(0, at + 1);
        }
    }
}

TEST_F(PageViewTest, ShowsAnItemAddedToTheCatalogueWithNoOtherChange)
{
    std::vector<Prefs::Page> catalogue = Prefs::pages();
    catalogue[0].sections[0].items.push_back(
        {u"newToggle"_qs, u"A new toggle"_qs, catalogue::Toggle{false}, u"New footer"_qs});
    catalogue[0].sections.push_back(
        {u"A new section"_qs, {{u"newText"_qs, u"A new text"_qs, catalogue::Text{{}, false}}}});
    openPage(catalogue, catalogue[0].id);
    window().click(u"A new toggle"_qs);
    EXPECT_EQ(stored(u"newToggle"_qs), PropertyListValue(true));
    window().click(u"A new text"_qs);
    window().type(u"typed"_qs);
    EXPECT_EQ(stored(u"newText"_qs), PropertyListValue(u"typed"_qs));
    EXPECT_TRUE(window().names().contains(u"A new section"_qs));
}

TEST_F(PageViewTest, LeavesOutSectionsWithoutAVisibleRow)
{
    const Prefs::Page page = {
        u"page"_qs,
        u"Page"_qs,
        u"gearshape"_qs,
        {{u"Of the keyboard"_qs,
          {{u"act.resize"_qs, u"Resize"_qs, catalogue::Action{u"act.resize"_qs}},
           {u"act.importConfig"_qs, u"Import"_qs, catalogue::Action{u"act.importConfig"_qs}},
           {u"act.resetLearned"_qs, u"Forget"_qs, catalogue::Action{u"act.resetLearned"_qs}}}},
         {u"Hidden"_qs, {{u"geminiKey"_qs, u"API key"_qs, catalogue::Text{{}, true}}}},
         {u"Empty"_qs, {}},
         {u"Shown"_qs, {{u"shown"_qs, u"Row"_qs, catalogue::Toggle{true}}}}}};
    openPage({page}, u"page"_qs);
    EXPECT_EQ(window().names(), (QStringList{u"Page"_qs, u"Shown"_qs, u"Shown"_qs, u"Row"_qs}));
}

TEST_F(PageViewTest, ShowsAndHidesRowsAtOnceWhenAChoiceTheyDependOnIsMade)
{
    openPage(u"correction"_qs);
    EXPECT_TRUE(window().find(u"Also use Türkçe"_qs) != nullptr);
    EXPECT_TRUE(window().find(u"Also use English"_qs) == nullptr);
    window().click(u"Layout"_qs);
    window().press(Qt::Key_Down);
    window().press(Qt::Key_Return);
    EXPECT_EQ(stored(u"language"_qs), PropertyListValue(u"tr"_qs));
    EXPECT_TRUE(window().find(u"Also use Türkçe"_qs) == nullptr);
    EXPECT_TRUE(window().find(u"Also use English"_qs) != nullptr);
    EXPECT_EQ(page().rev(), 1);
}

TEST_F(PageViewTest, HidesEveryRowOfTheServiceWithSystemDictation)
{
    Prefs::set(u"dictMode"_qs, u"system"_qs);
    openPage(u"dictation"_qs);
    EXPECT_EQ(window().names(),
              (QStringList{u"Voice typing"_qs, u"Source"_qs, u"Source"_qs, u"Voice typing"_qs, u"Test"_qs,
                           u"Test"_qs, u"Test voice typing"_qs}));
}

TEST_F(PageViewTest, OpensAMenuOfAllOptionsAndStoresTheOneClicked)
{
    openPage(u"extensions"_qs);
    window().click(u"To"_qs);
    QQuickItem *picker = window().item(u"To"_qs);
    ASSERT_TRUE(picker != nullptr);
    auto *popup = picker->property("popup").value<QObject *>();
    ASSERT_TRUE(waitUntil([&] { return popup->property("opened").toBool(); }));
    auto *list = popup->property("contentItem").value<QQuickItem *>();
    EXPECT_EQ(list->property("count").toInt(), 22);
    window().press(Qt::Key_End);
    window().press(Qt::Key_Return);
    EXPECT_EQ(stored(u"translateTarget"_qs), PropertyListValue(u"az"_qs));
}

TEST_F(PageViewTest, WritesEveryStepOfADraggedSliderWithoutBuildingTheRowAnew)
{
    openPage(u"layout"_qs);
    const QPointer<QQuickItem> slider = window().item(u"Key height"_qs);
    ASSERT_TRUE(slider != nullptr);
    const auto at = [&](double position) {
        return slider->mapToScene(QPointF(12 + position * (slider->width() - 24), slider->height() / 2))
            .toPoint();
    };
    std::vector<double> written;
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0));
    for (int step = 0; step <= 44; ++step) {
        QTest::mouseMove(&window().view(), at(step / 44.0));
        const auto value = stored(u"rowH"_qs);
        if (value) {
            written.push_back(std::get<double>(*value));
        }
    }
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, at(1));
    EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(80.0));
    written.erase(std::unique(written.begin(), written.end()), written.end());
    EXPECT_GT(written.size(), 40U);
    EXPECT_TRUE(std::ranges::is_sorted(written));
    EXPECT_EQ(page().rev(), 0);
    EXPECT_EQ(window().item(u"Key height"_qs), slider);
}

TEST_F(PageViewTest, MovesASliderWithTheKeyboard)
{
    struct Case {
        Qt::Key key;
        double expected;
    };
    openPage(u"layout"_qs);
    window().item(u"Key height"_qs)->forceActiveFocus(Qt::TabFocusReason);
    for (const Case &c : std::vector<Case>{{Qt::Key_Right, 55},
                                           {Qt::Key_Left, 54},
                                           {Qt::Key_Home, 36},
                                           {Qt::Key_Right, 37},
                                           {Qt::Key_End, 80}}) {
        window().press(c.key);
        EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(c.expected));
    }
}

TEST_F(PageViewTest, StoresAValueSetByAScreenReader)
{
    openPage(u"layout"_qs);
    QAccessibleValueInterface *height = window().find(u"Key height"_qs)->valueInterface();
    EXPECT_EQ(height->minimumValue().toDouble(), 36);
    EXPECT_EQ(height->maximumValue().toDouble(), 80);
    height->setCurrentValue(60);
    EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(60.0));
    window().item(u"Key height"_qs)->forceActiveFocus();
    window().press(Qt::Key_Right);
    EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(61.0));
}

TEST_F(PageViewTest, LeavesAStoredValueBeyondTheRangeUntilTheSliderIsMoved)
{
    Prefs::set(u"rowH"_qs, 200.0);
    openPage(u"layout"_qs);
    EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(200.0));
    window().item(u"Key height"_qs)->forceActiveFocus();
    window().press(Qt::Key_Left);
    EXPECT_EQ(stored(u"rowH"_qs), PropertyListValue(79.0));
}

TEST_F(PageViewTest, ReadsASlidersValueOutInWords)
{
    openPage(u"layout"_qs);
    QAccessibleInterface *height = window().find(u"Key height"_qs);
    ASSERT_TRUE(height != nullptr);
    EXPECT_EQ(height->role(), QAccessible::Slider);
    EXPECT_EQ(height->text(QAccessible::Description), u"54 pt"_qs);
    EXPECT_EQ(height->valueInterface()->currentValue().toDouble(), 54);
    EXPECT_EQ(window().find(u"Horizontal position"_qs)->text(QAccessible::Description),
              u"50%. 0 = left edge, 100 = right edge (one-handed mode)."_qs);
}

TEST_F(PageViewTest, GivesEveryControlNameRoleActionAndItsFooterAsDescription)
{
    const std::vector<QAccessible::Role> roles = {QAccessible::CheckBox, QAccessible::Slider,
                                                  QAccessible::ComboBox, QAccessible::EditableText,
                                                  QAccessible::Button};
    for (const Prefs::Page &page : Prefs::pages()) {
        openPage(page.id);
        for (const Prefs::Sect &section : page.sections) {
            for (const Prefs::Item &item : section.items) {
                if (!Prefs::isVisible(item.key) || std::holds_alternative<catalogue::Action>(item.kind)) {
                    continue;
                }
                SCOPED_TRACE(qPrintable(item.key));
                QAccessibleInterface *control = window().find(item.title, roles[item.kind.index()]);
                ASSERT_TRUE(control != nullptr);
                EXPECT_TRUE(
                    control->text(QAccessible::Description).endsWith(item.footer.value_or(QString())));
                EXPECT_FALSE(control->actionInterface() == nullptr
                             || control->actionInterface()->actionNames().isEmpty());
            }
        }
    }
}

TEST_F(PageViewTest, WritesWithEachKeystrokeAndKeepsCursorAndUndo)
{
    Prefs::set(u"provider"_qs, u"custom"_qs);
    openPage(u"dictation"_qs);
    window().click(u"Endpoint URL"_qs);
    window().type(u"ac"_qs);
    EXPECT_EQ(stored(u"customURL"_qs), PropertyListValue(u"ac"_qs));
    window().press(Qt::Key_Left);
    window().type(u"b"_qs);
    EXPECT_EQ(stored(u"customURL"_qs), PropertyListValue(u"abc"_qs));
    EXPECT_EQ(window().item(u"Endpoint URL"_qs)->property("cursorPosition").toInt(), 2);
    EXPECT_TRUE(window().item(u"Endpoint URL"_qs)->property("canUndo").toBool());
    EXPECT_EQ(page().rev(), 0);
    window().press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(stored(u"customURL"_qs), PropertyListValue(u"ac"_qs));
}

TEST_F(PageViewTest, MasksKeysUntilTheUserAsksToSeeThem)
{
    Prefs::set(u"openaiKey"_qs, u"hidden key"_qs);
    openPage(u"dictation"_qs);
    QAccessibleInterface *found = window().find(u"API key"_qs);
    EXPECT_EQ(found->textInterface()->text(0, 99), u"••••••••••"_qs);
    window().click(u"Show API key"_qs);
    EXPECT_EQ(found->textInterface()->text(0, 99), u"hidden key"_qs);
}

TEST_F(PageViewTest, ShowsWhatIsStoredAgainWhenItIsOpenedAgain)
{
    openPage(u"look"_qs);
    window().click(u"Bold letters"_qs);
    openPage(u"look"_qs);
    EXPECT_TRUE(window().find(u"Bold letters"_qs)->state().checked);
}

} // namespace

} // namespace kavrin::test
