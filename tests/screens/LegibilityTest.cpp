// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QFont>
#include <QGlyphRun>
#include <QGuiApplication>
#include <QRawFont>
#include <QSet>
#include <QTextLayout>

#include <algorithm>

namespace kavrin::test
{

namespace
{

class LegibilityTest : public Screens
{
protected:
    /// Where the interface shows its texts otherwise than whole and within the window.
    QStringList clippedTexts()
    {
        QStringList clipped;
        collect(window().top(), clipped);
        return clipped;
    }

    /// Opens a page in type of a size.
    void openIn(int pointSize, const QString &page, QSize size = QSize(360, 720))
    {
        setPointSize(pointSize);
        openPage(page, size);
    }

    static void setPointSize(int pointSize)
    {
        QFont font = QGuiApplication::font();
        font.setPointSize(pointSize);
        QGuiApplication::setFont(font);
    }

    /// Where a text is in the window.
    QRectF place(const QString &text)
    {
        for (const QQuickItem *item : window().items()) {
            if (item->inherits("QQuickText") && item->property("text") == text) {
                return item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
            }
        }
        ADD_FAILURE() << text.toStdString() << " is not shown";
        return {};
    }

    static const QQuickItem *symbolIn(const QmlWindow &window, const QString &name)
    {
        const auto items = window.items();
        return *std::ranges::find_if(items, [&name](const QQuickItem *item) {
            return item->inherits("QQuickImage") && item->property("source").toString().contains(name);
        });
    }

private:
    void collect(const QQuickItem *item, QStringList &clipped)
    {
        const QVariant painted = item->property("paintedWidth");
        const QString text = item->property("text").toString();
        if (item->isVisible() && painted.isValid() && !text.isEmpty()
            && item->property("horizontalAlignment").isValid()) {
            const QRectF area = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
            const bool isWhole = !item->property("truncated").toBool()
                && painted.toDouble() <= item->width() + 1
                && item->property("paintedHeight").toDouble() <= item->height() + 1 && area.left() >= 0
                && area.right() <= window().view().width();
            if (!isWhole) {
                clipped.append(text);
            }
        }
        if (item->isVisible() && item->property("source").isValid() && item->width() > 0) {
            const QRectF picture = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
            if (picture.left() < 16 || picture.right() > window().view().width() - 16) {
                clipped.append(item->property("source").toString());
            }
        }
        for (const QQuickItem *child : item->childItems()) {
            if (child->isVisible()) {
                collect(child, clipped);
            }
        }
    }
};

TEST_F(LegibilityTest, ClipsNothingOnNarrowScreensInLargeTypeOrFromRightToLeft)
{
    struct Case {
        int width;
        int pointSize;
        Qt::LayoutDirection direction;
    };
    // Every row shows its service.
    Prefs::set(u"provider"_s, u"custom"_s);
    for (const Case &c : std::vector<Case>{{360, 10, Qt::LeftToRight},
                                           {360, 10, Qt::RightToLeft},
                                           {360, 22, Qt::LeftToRight},
                                           {360, 22, Qt::RightToLeft},
                                           {1600, 10, Qt::LeftToRight}}) {
        QGuiApplication::setLayoutDirection(c.direction);
        for (const Prefs::Page &page : Prefs::pages()) {
            openIn(c.pointSize, page.id, QSize(c.width, 720));
            SCOPED_TRACE(qPrintable(u"%1, %2 wide, %3 pt"_s.arg(page.id).arg(c.width).arg(c.pointSize)));
            EXPECT_EQ(clippedTexts(), QStringList());
            EXPECT_EQ(window().brokenWords(), QStringList());
        }
    }
}

/// The typefaces of all texts within an item.
QSet<QString> typefaces(const QQuickItem *within)
{
    QSet<QString> found;
    if (within->property("font").isValid()) {
        found.insert(within->property("font").value<QFont>().families().join(u','));
    }
    for (const QQuickItem *child : within->childItems()) {
        found += typefaces(child);
    }
    return found;
}

TEST_F(LegibilityTest, WritesTitlesAndDigitsInOneTypeface)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        openPage(page.id);
        EXPECT_EQ(typefaces(window().top()).size(), 1) << qPrintable(page.id);
    }
}

TEST_F(LegibilityTest, BreaksNoWordOfTheToolbar)
{
    for (const int pointSize : {10, 22}) {
        setPointSize(pointSize);
        const QmlWindow editor(u"Kavrin.Screens"_s, u"ToolbarOrderView"_s);
        EXPECT_EQ(editor.brokenWords(), QStringList());
    }
}

TEST_F(LegibilityTest, BreaksNoWordOfTheHelp)
{
    for (const int pointSize : {10, 22}) {
        setPointSize(pointSize);
        const QmlWindow help(u"Kavrin.Screens"_s, u"HelpView"_s);
        EXPECT_EQ(help.brokenWords(), QStringList()) << pointSize;
    }
}

TEST_F(LegibilityTest, BreaksNoWordOfAListOfOptions)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    for (const auto &[page, picker] :
         {std::pair(u"dictation"_s, u"Provider"_s), std::pair(u"extensions"_s, u"To"_s)}) {
        openIn(22, page);
        window().click(picker);
        window().view().grabWindow(); // lays out what has just appeared
        EXPECT_EQ(window().brokenWords(), QStringList()) << picker.toStdString();
        window().press(Qt::Key_Escape); // Qt crashes if a window goes with its list open
    }
}

TEST_F(LegibilityTest, PutsATitleAboveItsValueWhereBothDoNotFit)
{
    struct Case {
        QString page;
        QString title;
        QString value;
        int pointSize;
        bool fits;
    };
    Prefs::set(u"provider"_s, u"custom"_s);
    const QString longOption = u"Custom (OpenAI-compatible)"_s;
    for (const Case &c : std::vector<Case>{{u"layout"_s, u"Landscape height"_s, u"72%"_s, 10, true},
                                           {u"layout"_s, u"Landscape height"_s, u"72%"_s, 22, false},
                                           {u"layout"_s, u"Key height"_s, u"54 pt"_s, 22, true},
                                           {u"layout"_s, u"Key hints"_s, u"Off"_s, 10, true},
                                           {u"dictation"_s, u"Provider"_s, longOption, 10, false},
                                           {u"dictation"_s, u"Provider"_s, longOption, 22, false}}) {
        SCOPED_TRACE(qPrintable(u"%1 in %2 pt"_s.arg(c.title).arg(c.pointSize)));
        openIn(c.pointSize, c.page);
        const QRectF title = place(c.title);
        const QRectF value = place(c.value);
        EXPECT_EQ(value.top() >= title.bottom(), !c.fits);
        EXPECT_EQ(value.left() >= title.right(), c.fits);
    }
}

TEST_F(LegibilityTest, DrawsSymbolsAsLargeAsTheTextBesideThem)
{
    struct Case {
        QString module;
        QString type;
        QString symbol;
        QVariantMap properties;
    };
    const Case cases[] = {
        {u"Kavrin.Theme"_s, u"PickerRow"_s, u"chevron.up"_s, {}},
        {u"Kavrin.Theme"_s, u"Problem"_s, u"exclamationmark"_s, {{u"text"_s, u"It failed."_s}}},
        {u"Kavrin.Screens"_s, u"SearchView"_s, u"magnifyingglass"_s, {}},
    };
    for (const Case &c : cases) {
        const auto symbolHeight = [&c](int pointSize) {
            setPointSize(pointSize);
            return symbolIn(QmlWindow(c.module, c.type, c.properties), c.symbol)->height();
        };
        const double usual = symbolHeight(10);
        const double large = symbolHeight(22);
        EXPECT_GT(large, 1.6 * usual) << qPrintable(c.type);
        EXPECT_LT(large, 2.5 * usual) << qPrintable(c.type);
    }
}

TEST_F(LegibilityTest, HasAGlyphForEveryCharacterOfTheCatalogue)
{
    QFont font = QGuiApplication::font();
    font.setFamilies({u"Inter"_s, u"Noto Sans"_s});
    QStringList texts;
    for (const Prefs::Page &page : Prefs::pages()) {
        texts.append(page.title);
        for (const Prefs::Sect &section : page.sections) {
            texts.append(section.title);
            for (const Prefs::Item &item : section.items) {
                texts += {item.title, item.footer.value_or(QString())};
                if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
                    for (const Prefs::Opt &option : choice->options) {
                        texts.append(option.t);
                    }
                }
            }
        }
    }
    for (const QString &text : texts) {
        QTextLayout layout(text, font);
        layout.beginLayout();
        while (layout.createLine().isValid()) { }
        layout.endLayout();
        for (const QGlyphRun &run : layout.glyphRuns()) {
            EXPECT_FALSE(run.glyphIndexes().contains(0)) << qPrintable(text);
        }
    }
}

} // namespace

} // namespace kavrin::test
