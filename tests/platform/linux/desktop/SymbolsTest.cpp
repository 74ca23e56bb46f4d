// SPDX-License-Identifier: MIT
#include "platform/Symbols.h"

#include "catalogue/Catalogue.h"
#include "store/Prefs.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

/// What the catalogue and the tools name, and what the views draw of themselves.
QStringList names()
{
    QStringList names = {
        u"character.book.closed"_s,
        u"checkmark"_s,
        u"checkmark.circle.fill"_s,
        u"chevron.left"_s,
        u"chevron.right"_s,
        u"chevron.up.chevron.down"_s,
        u"delete.left"_s,
        u"ellipsis"_s,
        u"exclamationmark.triangle.fill"_s,
        u"eye"_s,
        u"eye.slash"_s,
        u"line.3.horizontal"_s,
        u"mic.fill"_s,
        u"questionmark.circle"_s,
        u"return"_s,
        u"shift"_s,
        u"xmark.circle.fill"_s,
    };
    for (const catalogue::Page &page : catalogue::pages()) {
        names.append(page.icon);
    }
    for (const Prefs::Tool &tool : Prefs::toolIDs()) {
        if (tool.icon != u"custom.sticker"_s) {
            names.append(tool.icon);
        }
    }
    names.removeDuplicates();
    return names;
}

/// What part of the image is covered.
double coverage(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            sum += image.pixelColor(x, y).alphaF();
        }
    }
    return sum / (image.width() * image.height());
}

/// The smallest rectangle that holds everything drawn.
QRect drawn(const QImage &image)
{
    QRect drawn;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alphaF() > 0.25) {
                drawn |= QRect(x, y, 1, 1);
            }
        }
    }
    return drawn;
}

} // namespace

TEST(Symbols, HaveEveryNameThatTheViewsUse)
{
    for (const QString &name : names()) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_GT(coverage(Symbols::image(name, 64)), 0.05);
    }
}

TEST(Symbols, AreAsLargeAsAsked)
{
    for (const QString &name : names()) {
        SCOPED_TRACE(name.toStdString());
        for (const int size : {1, 17, 28, 51, 256}) {
            EXPECT_EQ(Symbols::image(name, size).size(), QSize(size, size));
        }
    }
}

TEST(Symbols, AreBlackOnTransparent)
{
    for (const QString &name : names()) {
        SCOPED_TRACE(name.toStdString());
        const QImage image = Symbols::image(name, 51);
        bool hasTransparent = false;
        bool hasOpaque = false;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                hasTransparent = hasTransparent || color.alpha() == 0;
                hasOpaque = hasOpaque || color.alpha() == 255;
                EXPECT_EQ(QColor(color.red(), color.green(), color.blue()), QColor(Qt::black));
            }
        }
        EXPECT_TRUE(hasTransparent);
        EXPECT_TRUE(hasOpaque);
    }
}

TEST(Symbols, LookTheSameAtEverySize)
{
    for (const QString &name : names()) {
        SCOPED_TRACE(name.toStdString());
        const double large = coverage(Symbols::image(name, 512));
        for (const int size : {16, 17, 51}) {
            EXPECT_NEAR(coverage(Symbols::image(name, size)), large, 0.02);
        }
    }
}

TEST(Symbols, StandInTheMiddleAndFillTheirSquare)
{
    constexpr int size = 160;
    for (const QString &name : names()) {
        SCOPED_TRACE(name.toStdString());
        const QRect rectangle = drawn(Symbols::image(name, size));
        EXPECT_GE(std::max(rectangle.width(), rectangle.height()), size / 2);
        const QPoint aside = rectangle.center() - QPoint(size / 2, size / 2);
        EXPECT_LE(std::abs(aside.x()), size / 8);
        EXPECT_LE(std::abs(aside.y()), size / 8);
    }
}

TEST(Symbols, AreNotCutOffAtTheEdges)
{
    const QFileInfoList icons = QDir(u":/symbols"_s).entryInfoList();
    ASSERT_FALSE(icons.isEmpty());
    for (const QFileInfo &icon : icons) {
        SCOPED_TRACE(icon.fileName().toStdString());
        QImage image(480, 480, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QSvgRenderer renderer(icon.filePath());
        const QRect viewBox(80, 80, 320, 320);
        QPainter painter(&image);
        renderer.render(&painter, viewBox);
        EXPECT_TRUE(viewBox.contains(drawn(image)));
    }
}

TEST(Symbols, AreNullWhereNoneHasTheName)
{
    for (const QString &name :
         {u""_s, u"custom.sticker"_s, u"gear"_s, u"Gearshape"_s, u"../symbols/gear"_s}) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_TRUE(Symbols::image(name, 17).isNull());
    }
}

} // namespace kavrin::test
