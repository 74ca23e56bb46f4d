// SPDX-License-Identifier: MIT
#include "platform/PlatformText.h"
#include "screens/Screens.h"
#include "support/RefusedKey.h"
#include "support/StoredValues.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <QQmlComponent>
#include <QtTest/QTest>

#include <algorithm>

namespace kavrin::test
{

namespace
{

using PageViewTest = Screens;

const QStringList notShown = {u"act.resize"_s, u"act.importConfig"_s, u"act.resetLearned"_s};

/// What the rows of a page are called, from top to bottom, where rows of actions have names of their own.
QStringList rowNames(const Prefs::Page &page)
{
    const QHash<QString, QString> named = {
        {u"act.contacts"_s, u"Allow contacts access"_s},
        {u"act.syncStatus"_s, u"No keyboard has used these settings yet"_s},
    };
    QStringList names;
    for (const Prefs::Sect &section : page.sections) {
        for (const Prefs::Item &item : section.items) {
            if (Prefs::isVisible(item.key) && !notShown.contains(item.key)) {
                names.append(named.value(item.key, platformText(item.title)));
            }
        }
    }
    return names;
}

/// Stores a value as another process does.
void change(const QString &key, const PropertyListValue &value)
{
    EXPECT_FALSE(Shared::d().set(key, value));
}

TEST_F(PageViewTest, ShowsEveryVisibleItemOfEveryPageInItsOrder)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        SCOPED_TRACE(qPrintable(page.id));
        openPage(page.id);
        const QStringList rows = rowNames(page);
        QStringList shown = window().names();
        EXPECT_EQ(shown.takeFirst(), platformText(page.title));
        for (const QString &row : rows) {
            const qsizetype at = shown.indexOf(row);
            EXPECT_GE(at, 0) << qPrintable(row) << " is not shown, or not in its order";
            shown.remove(0, at + 1);
        }
    }
}

TEST_F(PageViewTest, ShowsRowsOfEveryKindWhateverTheSuiteHoldsAndLeavesItThere)
{
    const std::vector<Prefs::Item> items = {
        {u"toggle"_s, u"Toggle"_s, catalogue::Toggle{true}},
        {u"slider"_s, u"Slider"_s, catalogue::Slider{54, 36, 80, 1, u"pt"_s}},
        {u"choice"_s, u"Choice"_s, catalogue::Choice{u"a"_s, {{u"a"_s, u"A"_s}, {u"b"_s, u"B"_s}}}},
        {u"text"_s, u"Text"_s, catalogue::Text{{}, false}},
        {u"secret"_s, u"Secret"_s, catalogue::Text{{}, true}},
    };
    for (const PropertyListValue &value : storedValues()) {
        SCOPED_TRACE(value.index());
        for (const Prefs::Item &item : items) {
            change(item.key, value);
        }
        Prefs::forget();
        openPage({{u"page"_s, u"Page"_s, u"gearshape"_s, {{u""_s, items}}}}, u"page"_s);
        for (const Prefs::Item &item : items) {
            EXPECT_TRUE(window().names().contains(platformText(item.title))) << qPrintable(item.title);
            EXPECT_EQ(stored(item.key), value) << qPrintable(item.title);
        }
    }
}

TEST_F(PageViewTest, ShowsAnItemAddedToTheCatalogueWithNoOtherChange)
{
    std::vector<Prefs::Page> catalogue = Prefs::pages();
    catalogue[0].sections[0].items.push_back(
        {u"newToggle"_s, u"A new toggle"_s, catalogue::Toggle{false}, u"New footer"_s});
    catalogue[0].sections.push_back(
        {u"A new section"_s, {{u"newText"_s, u"A new text"_s, catalogue::Text{{}, false}}}});
    openPage(catalogue, catalogue[0].id);
    window().click(u"A new toggle"_s);
    EXPECT_EQ(stored(u"newToggle"_s), PropertyListValue(true));
    window().click(u"A new text"_s);
    window().type(u"typed"_s);
    EXPECT_EQ(stored(u"newText"_s), PropertyListValue(u"typed"_s));
    EXPECT_TRUE(window().names().contains(u"A new section"_s));
}

TEST_F(PageViewTest, LeavesOutSectionsWithoutAVisibleRow)
{
    const Prefs::Page page = {u"page"_s,
                              u"Page"_s,
                              u"gearshape"_s,
                              {{u"Of the keyboard"_s,
                                {{.key = u"act.resize"_s,
                                  .title = u"Resize"_s,
                                  .kind = catalogue::Action{u"act.resize"_s},
                                  .onlyInKeyboard = true}}},
                               {u"Hidden"_s, {{u"geminiKey"_s, u"API key"_s, catalogue::Text{{}, true}}}},
                               {u"Empty"_s, {}},
                               {u"Shown"_s, {{u"shown"_s, u"Row"_s, catalogue::Toggle{false}}}}}};
    openPage({page}, u"page"_s);
    EXPECT_EQ(window().names(), (QStringList{u"Page"_s, u"Shown"_s, u"Shown"_s, u"Row"_s}));
}

TEST_F(PageViewTest, ShowsASettingThatHasTheKeyOfAnActionOfTheKeyboard)
{
    const Prefs::Kind kinds[] = {catalogue::Toggle{}, catalogue::Slider{0, 0, 1, 1, {}},
                                 catalogue::Choice{{}, {{{}, u"Option"_s}}}, catalogue::Text{}};
    for (const QString &key : notShown) {
        for (const Prefs::Kind &kind : kinds) {
            SCOPED_TRACE(qPrintable(u"%1, kind %2"_s.arg(key).arg(kind.index())));
            openPage({{u"page"_s, u"Page"_s, u"gearshape"_s, {{u"Section"_s, {{key, u"Row"_s, kind}}}}}},
                     u"page"_s);
            EXPECT_TRUE(window().find(u"Row"_s) != nullptr);
        }
    }
}

TEST_F(PageViewTest, ShowsAndHidesRowsAtOnceWhenAChoiceTheyDependOnIsMade)
{
    openPage(u"correction"_s);
    EXPECT_TRUE(window().find(u"Also use Türkçe"_s) != nullptr);
    EXPECT_TRUE(window().find(u"Also use English"_s) == nullptr);
    window().click(u"Layout"_s);
    window().press(Qt::Key_Down);
    window().press(Qt::Key_Return);
    EXPECT_EQ(stored(u"language"_s), PropertyListValue(u"tr"_s));
    EXPECT_TRUE(window().find(u"Also use Türkçe"_s) == nullptr);
    EXPECT_TRUE(window().find(u"Also use English"_s) != nullptr);
}

TEST_F(PageViewTest, HidesEveryRowOfTheServiceWithSystemDictation)
{
    Prefs::set(u"dictMode"_s, u"system"_s);
    openPage(u"dictation"_s);
    EXPECT_EQ(window().names(),
              (QStringList{u"Voice typing"_s, u"Source"_s, u"Source"_s, u"Voice typing"_s,
                           u"Back to Keyboard mic (API)"_s, u"Test"_s, u"Test"_s, u"Test voice typing"_s}));
}

TEST_F(PageViewTest, OpensAMenuOfAllOptionsAndStoresTheOneClicked)
{
    openPage(u"extensions"_s);
    window().click(u"To"_s);
    QQuickItem *picker = window().item(u"To"_s);
    ASSERT_TRUE(picker != nullptr);
    auto *popup = picker->property("popup").value<QObject *>();
    ASSERT_TRUE(waitUntil([&] { return popup->property("opened").toBool(); }));
    auto *list = popup->property("contentItem").value<QQuickItem *>();
    EXPECT_EQ(list->property("count").toInt(), 22);
    window().press(Qt::Key_End);
    window().press(Qt::Key_Return);
    EXPECT_EQ(stored(u"translateTarget"_s), PropertyListValue(u"az"_s));
}

TEST_F(PageViewTest, WritesEveryStepOfADraggedSliderWithoutBuildingTheRowAnew)
{
    openPage(u"layout"_s);
    const QPointer<QQuickItem> slider = window().item(u"Key height"_s);
    ASSERT_TRUE(slider != nullptr);
    const auto at = [&](double position) {
        return slider->mapToScene(QPointF(12 + position * (slider->width() - 24), slider->height() / 2))
            .toPoint();
    };
    std::vector<double> written;
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0));
    for (int step = 0; step <= 44; ++step) {
        QTest::mouseMove(&window().view(), at(step / 44.0));
        const auto value = stored(u"rowH"_s);
        if (value) {
            written.push_back(std::get<double>(*value));
        }
    }
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, at(1));
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(80.0));
    written.erase(std::unique(written.begin(), written.end()), written.end());
    EXPECT_GT(written.size(), 40U);
    EXPECT_TRUE(std::ranges::is_sorted(written));
    EXPECT_EQ(window().item(u"Key height"_s), slider);
}

TEST_F(PageViewTest, MovesASliderWithTheKeyboard)
{
    struct Case {
        Qt::Key key;
        double expected;
    };
    openPage(u"layout"_s);
    window().item(u"Key height"_s)->forceActiveFocus(Qt::TabFocusReason);
    for (const Case &c : std::vector<Case>{{Qt::Key_Right, 55},
                                           {Qt::Key_Left, 54},
                                           {Qt::Key_Home, 36},
                                           {Qt::Key_Right, 37},
                                           {Qt::Key_End, 80}}) {
        window().press(c.key);
        EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(c.expected));
    }
}

TEST_F(PageViewTest, StoresAValueSetByAScreenReader)
{
    openPage(u"layout"_s);
    QAccessibleValueInterface *height = window().find(u"Key height"_s)->valueInterface();
    EXPECT_EQ(height->minimumValue().toDouble(), 36);
    EXPECT_EQ(height->maximumValue().toDouble(), 80);
    height->setCurrentValue(60);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(60.0));
    window().item(u"Key height"_s)->forceActiveFocus();
    window().press(Qt::Key_Right);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(61.0));
}

TEST_F(PageViewTest, LeavesAStoredValueBeyondTheRangeUntilTheSliderIsMoved)
{
    Prefs::set(u"rowH"_s, 200.0);
    openPage(u"layout"_s);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(200.0));
    change(u"rowH"_s, 50.0);
    settings().reload();
    change(u"rowH"_s, 300.0);
    settings().reload();
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(300.0));
    window().item(u"Key height"_s)->forceActiveFocus();
    window().press(Qt::Key_Left);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(79.0));
}

TEST_F(PageViewTest, ReadsASlidersValueOutInWords)
{
    openPage(u"layout"_s);
    QAccessibleInterface *height = window().find(u"Key height"_s);
    ASSERT_TRUE(height != nullptr);
    EXPECT_EQ(height->role(), QAccessible::Slider);
    EXPECT_EQ(height->text(QAccessible::Description), u"54 pt"_s);
    EXPECT_EQ(height->valueInterface()->currentValue().toDouble(), 54);
    EXPECT_EQ(window().find(u"Horizontal position"_s)->text(QAccessible::Description),
              u"50%. 0 = left edge, 100 = right edge (one-handed mode)."_s);
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
                QAccessibleInterface *control =
                    window().find(platformText(item.title), roles[item.kind.index()]);
                ASSERT_TRUE(control != nullptr);
                EXPECT_TRUE(control->text(QAccessible::Description)
                                .endsWith(platformText(item.footer.value_or(QString()))));
                EXPECT_FALSE(control->actionInterface() == nullptr
                             || control->actionInterface()->actionNames().isEmpty());
            }
        }
    }
}

TEST_F(PageViewTest, WritesWithEachKeystrokeAndKeepsCursorAndUndo)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s);
    window().click(u"Endpoint URL"_s);
    window().type(u"ac"_s);
    EXPECT_EQ(stored(u"customURL"_s), PropertyListValue(u"ac"_s));
    window().press(Qt::Key_Left);
    window().type(u"b"_s);
    EXPECT_EQ(stored(u"customURL"_s), PropertyListValue(u"abc"_s));
    EXPECT_EQ(window().item(u"Endpoint URL"_s)->property("cursorPosition").toInt(), 2);
    EXPECT_TRUE(window().item(u"Endpoint URL"_s)->property("canUndo").toBool());
    window().press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(stored(u"customURL"_s), PropertyListValue(u"ac"_s));
}

TEST_F(PageViewTest, TakesNoLineBreakOfAPastedText)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s);
    for (const auto &[title, key] :
         {std::pair(u"Endpoint URL"_s, u"customURL"_s), std::pair(u"API key"_s, u"customKey"_s)}) {
        QGuiApplication::clipboard()->setText(u"http://\nhost\r\n"_s);
        window().click(title);
        window().press(Qt::Key_V, Qt::ControlModifier);
        EXPECT_EQ(stored(key), PropertyListValue(u"http://host"_s));
        EXPECT_EQ(window().view().activeFocusItem()->property("text").toString(), u"http://host"_s);
        window().type(u"/a b"_s);
        EXPECT_EQ(stored(key), PropertyListValue(u"http://host/a b"_s));
    }
}

TEST_F(PageViewTest, StoresATextSetByAScreenReader)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s);
    window().find(u"Endpoint URL"_s)->setText(QAccessible::Value, u"https://one"_s);
    EXPECT_EQ(window().item(u"Endpoint URL"_s)->property("text"), u"https://one"_s);
    EXPECT_EQ(stored(u"customURL"_s), PropertyListValue(u"https://one"_s));
    window().click(u"Endpoint URL"_s);
    window().press(Qt::Key_End);
    window().type(u"2"_s);
    EXPECT_EQ(stored(u"customURL"_s), PropertyListValue(u"https://one2"_s));
}

TEST_F(PageViewTest, StoresNoTextThatItOnlyShows)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s);
    change(u"customURL"_s, u"theirs"_s);
    const auto revision = stored(u"settingsRevision"_s);
    settings().reload();
    EXPECT_EQ(window().item(u"Endpoint URL"_s)->property("text"), u"theirs"_s);
    EXPECT_EQ(stored(u"settingsRevision"_s), revision);
}

TEST_F(PageViewTest, MasksKeysUntilTheUserAsksToSeeThem)
{
    Prefs::set(u"openaiKey"_s, u"hidden key"_s);
    openPage(u"dictation"_s);
    QAccessibleInterface *found = window().find(u"API key"_s);
    EXPECT_EQ(found->textInterface()->text(0, 99), u"••••••••••"_s);
    window().click(u"Show API key"_s);
    EXPECT_EQ(found->textInterface()->text(0, 99), u"hidden key"_s);
}

TEST_F(PageViewTest, ShowsWhatAnotherProcessHasChangedOnceItIsTold)
{
    openPage(u"dictation"_s);
    const QStringList before = window().names();
    change(u"provider"_s, u"gemini"_s);
    EXPECT_EQ(window().names(), before);
    settings().reload();
    const QStringList after = window().names();
    EXPECT_NE(after, before);
    openPage(u"dictation"_s);
    EXPECT_EQ(after, window().names());
}

TEST_F(PageViewTest, LeavesAFieldInWhichTheUserTypesUntilTheyLeaveIt)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    openPage(u"dictation"_s);
    window().click(u"Endpoint URL"_s);
    window().type(u"mine"_s);
    change(u"customURL"_s, u"theirs"_s);
    change(u"provider"_s, u"gemini"_s);
    settings().reload();
    ASSERT_NE(window().item(u"Endpoint URL"_s), nullptr);
    EXPECT_EQ(window().item(u"Endpoint URL"_s)->property("text"), u"mine"_s);
    change(u"provider"_s, u"custom"_s);
    settings().reload();
    window().item(u"Source"_s)->forceActiveFocus();
    EXPECT_EQ(window().item(u"Endpoint URL"_s)->property("text"), u"theirs"_s);
}

TEST_F(PageViewTest, LeavesASliderThatIsDraggedUntilItIsLetGo)
{
    openPage(u"layout"_s);
    QQuickItem *slider = window().item(u"Key height"_s);
    const QPoint middle = slider->mapToScene(QPointF(slider->width() / 2, slider->height() / 2)).toPoint();
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, middle);
    const QVariant dragged = slider->property("value");
    change(u"rowH"_s, 70.0);
    settings().reload();
    EXPECT_EQ(slider->property("value"), dragged);
    EXPECT_TRUE(window().find(u"Key height"_s)->text(QAccessible::Description) != u"70 pt"_s);
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, middle);
    EXPECT_EQ(slider->property("value"), 70.0);
}

TEST_F(PageViewTest, OffersTheWayBackFromEachValueThatDiffersFromItsDefault)
{
    Prefs::set(u"rowH"_s, 60.0);
    Prefs::set(u"numberRow"_s, true);
    openPage(u"layout"_s);
    EXPECT_EQ(window().names().filter(u"Back to "_s), (QStringList{u"Back to 54 pt"_s, u"Back to off"_s}));
    EXPECT_EQ(window().find(u"Back to 54 pt"_s)->text(QAccessible::Description), u"Key height"_s);
    window().click(u"Back to 54 pt"_s);
    EXPECT_EQ(stored(u"rowH"_s), PropertyListValue(54.0));
    window().item(u"Back to off"_s)->forceActiveFocus(Qt::TabFocusReason);
    window().press(Qt::Key_Space);
    EXPECT_EQ(stored(u"numberRow"_s), PropertyListValue(false));
    EXPECT_TRUE(window().item(u"Number row"_s)->hasActiveFocus());
    EXPECT_EQ(window().names().filter(u"Back to "_s), QStringList());
}

TEST_F(PageViewTest, ShowsAChangeThatCouldNotBeStoredAsAProblemUntilOneIsStored)
{
    openPage(u"layout"_s);
    const auto problem = [&] { return window().names().filter(u"This could not be saved. "_s).join(u'\n'); };
    {
        const RefusedKey refused("numberRow");
        window().click(u"Number row"_s);
    }
    ASSERT_NE(problem(), u"");
    EXPECT_EQ(window().find(problem())->role(), QAccessible::AlertMessage);
    window().click(u"Number row"_s);
    EXPECT_EQ(problem(), u"");
}

TEST_F(PageViewTest, MovesNothingWhileASliderIsDragged)
{
    openPage(u"layout"_s);
    const QQuickItem *slider = window().item(u"Key height"_s);
    const auto at = [&](double position) {
        return slider->mapToScene(QPointF(position * slider->width(), slider->height() / 2)).toPoint();
    };
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0.2));
    QTest::mouseMove(&window().view(), at(0.9));
    EXPECT_NE(stored(u"rowH"_s), std::nullopt);
    EXPECT_EQ(window().names().filter(u"Back to "_s), QStringList());
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0.9));
    EXPECT_EQ(window().names().filter(u"Back to "_s), QStringList(u"Back to 54 pt"_s));
}

TEST_F(PageViewTest, MarksEachValueThatDiffersFromItsDefaultWithADotBesideItsTitle)
{
    const auto places = [this] {
        QList<QPointF> dots;
        for (const QQuickItem *item : window().items()) {
            if (item->objectName() == u"dot") {
                dots.append(item->mapToScene(item->boundingRect().center()));
            }
        }
        return dots;
    };
    openPage(u"layout"_s);
    EXPECT_EQ(places(), QList<QPointF>());
    Prefs::set(u"numberRow"_s, true);
    settings().reload();
    ASSERT_EQ(places().size(), 1);
    const QQuickItem *row = window().item(u"Number row"_s);
    const QRectF edge = row->mapRectToScene(QRectF(0, 0, 16, row->height()));
    EXPECT_TRUE(edge.contains(places().front()));
    window().click(u"Back to off"_s);
    EXPECT_EQ(places(), QList<QPointF>());
}

TEST_F(PageViewTest, ShowsWhatIsStoredAgainWhenItIsOpenedAgain)
{
    openPage(u"look"_s);
    window().click(u"Bold letters"_s);
    openPage(u"look"_s);
    EXPECT_TRUE(window().find(u"Bold letters"_s)->state().checked);
}

class PreviewPlaceTest : public Screens
{
protected:
    /// Shows the page "Layout" with a preview of this height.
    void openPageWithPreview(QSize size, int height)
    {
        openPage(u"layout"_s, size);
        m_preview = std::make_unique<QQmlComponent>(window().view().engine());
        m_preview->setData(u"import QtQuick; Item { implicitHeight: %1; Accessible.role: Accessible.Graphic; "
                           "Accessible.name: \"Preview\" }"_s.arg(height)
                               .toUtf8(),
                           QUrl());
        window().top()->setProperty("preview", QVariant::fromValue(m_preview.get()));
    }

    /// The preview's place in the window; empty where there is none.
    QRect preview()
    {
        window().view().grabWindow();
        const QQuickItem *item = window().item(u"Preview"_s);
        return item ? item->mapRectToScene(item->boundingRect()).toRect() : QRect();
    }

private:
    std::unique_ptr<QQmlComponent> m_preview;
};

TEST_F(PreviewPlaceTest, IsBesideAWidePageAndBelowANarrowOne)
{
    openPageWithPreview(QSize(800, 720), 200);
    const QQuickItem *row = window().item(u"Key height"_s);
    EXPECT_GT(preview().left(), row->mapToScene(QPointF(row->width(), 0)).x());
    openPageWithPreview(QSize(360, 720), 200);
    EXPECT_GT(preview().top(), 400);
    EXPECT_EQ(preview().height(), 200);
}

TEST_F(PreviewPlaceTest, StaysInViewWhereverThePageIsScrolled)
{
    openPageWithPreview(QSize(360, 720), 200);
    const QRect before = preview();
    window().click(u"Number row"_s);
    EXPECT_EQ(preview(), before);
    const QQuickItem *row = window().item(u"Number row"_s);
    EXPECT_LE(row->mapToScene(QPointF(0, row->height())).y(), before.top());
}

TEST_F(PreviewPlaceTest, IsFoldedAndUnfoldedBelowAPage)
{
    openPageWithPreview(QSize(360, 720), 200);
    QSignalSpy toggled(window().top(), SIGNAL(previewFoldToggled()));
    window().click(u"Hide preview"_s);
    EXPECT_EQ(toggled.count(), 1);
    window().top()->setProperty("previewFolded", true);
    EXPECT_EQ(preview(), QRect());
    EXPECT_TRUE(window().find(u"Show preview"_s) != nullptr);
}

TEST_F(PreviewPlaceTest, LeavesHalfOfThePageToTheSettings)
{
    openPageWithPreview(QSize(360, 400), 200);
    EXPECT_EQ(preview(), QRect());
    EXPECT_TRUE(window().find(u"Hide preview"_s) == nullptr);
}

} // namespace

} // namespace kavrin::test
