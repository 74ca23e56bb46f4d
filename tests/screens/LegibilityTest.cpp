// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QFont>
#include <QGlyphRun>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QRawFont>
#include <QTextLayout>

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
        QFont font = QGuiApplication::font();
        font.setPointSize(c.pointSize);
        QGuiApplication::setFont(font);
        QGuiApplication::setLayoutDirection(c.direction);
        for (const Prefs::Page &page : Prefs::pages()) {
            openPage(page.id, QSize(c.width, 720));
            SCOPED_TRACE(qPrintable(u"%1, %2 wide, %3 pt"_s.arg(page.id).arg(c.width).arg(c.pointSize)));
            EXPECT_EQ(clippedTexts(), QStringList());
        }
    }
}

TEST_F(LegibilityTest, WritesOnTheAccentColourInWhatStandsOutFromIt)
{
    QQmlEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    QQmlComponent component(&engine);
    component.setData(
        "import QtQml; import Kavrin.Theme; QtObject { readonly property QtObject theme: Theme }", QUrl());
    const std::unique_ptr<QObject> holder(component.create());
    ASSERT_TRUE(holder != nullptr) << qPrintable(component.errorString());
    auto *theme = holder->property("theme").value<QObject *>();
    ASSERT_TRUE(theme != nullptr);
    const QColor dark(0x18, 0x18, 0x1b);
    const QColor light(Qt::white);
    for (const auto &[accent, text] : std::vector<std::pair<QColor, QColor>>{
             {QColor(Qt::transparent), light}, // the application's own blue
             {QColor(Qt::yellow), dark},
             {QColor(0x1a, 0x5f, 0xb4), light},
             {QColor(0xff, 0x78, 0x00), dark},
             {QColor(0x61, 0x35, 0x83), light}}) {
        theme->setProperty("desktopAccent", accent);
        EXPECT_EQ(theme->property("accentText").value<QColor>(), text) << qPrintable(accent.name());
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
