// SPDX-License-Identifier: MIT
#include "screens/ToolIcon.h"

#include "screens/SymbolImageProvider.h"

#include <QPointF>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

constexpr double Sizes[] = {13, 23, 64};

/// Pixels a point, so that what is drawn can be told to a tenth of a point.
constexpr int scale = 10;

bool isDrawn(const QImage &image, QPointF point)
{
    return qAlpha(image.pixel((point * scale).toPoint())) > 127;
}

/// The rectangle of pixels that holds everything drawn.
QRect drawn(const QImage &image)
{
    QRect drawn;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > 127) {
                drawn |= QRect(x, y, 1, 1);
            }
        }
    }
    return drawn;
}

/// A point of a circle; the angle in parts of pi from the right, clockwise.
QPointF onCircle(QPointF middle, double radius, double angle)
{
    return middle + radius * QPointF(std::cos(angle * std::numbers::pi), std::sin(angle * std::numbers::pi));
}

struct Place {
    const char *name;
    QPointF point;
    bool drawn;
};

std::vector<Place> outlinePlaces(const ToolIcon::StickerGeometry &g)
{
    const double middle = g.margin + g.innerWidth / 2;
    const double beforeFold = (g.edge + g.fold) / 2;
    return {
        {"top side", {middle, g.margin}, true},
        {"left side", {g.margin, middle}, true},
        {"bottom side", {g.fold - g.radius, g.edge}, true},
        {"right side", {g.edge, g.fold - g.radius}, true},
        {"top left corner", {g.margin, g.margin}, false},
        {"top right corner", {g.edge, g.margin}, false},
        {"bottom left corner", {g.margin, g.edge}, false},
        {"cut corner", {g.edge, g.edge}, false},
        {"cut", {beforeFold, beforeFold}, true},
        {"beyond the cut", {beforeFold + g.lineWidth, beforeFold + g.lineWidth}, false},
        {"across fold", {beforeFold, g.fold}, true},
        {"down fold", {g.fold, beforeFold}, true},
        {"inside the fold", {g.fold + 0.29 * (g.edge - g.fold), g.fold + 0.29 * (g.edge - g.fold)}, false},
    };
}

std::vector<Place> facePlaces(const ToolIcon::StickerGeometry &g)
{
    const double eyes = g.eyeTop + g.eyeRadius;
    return {
        {"left eye", {g.face.x() - g.eyeOffset, eyes}, true},
        {"right eye", {g.face.x() + g.eyeOffset, eyes}, true},
        {"between the eyes", {g.face.x(), eyes}, false},
        {"below the left eye", {g.face.x() - g.eyeOffset, eyes + 1.3 * g.eyeRadius}, false},
        {"middle of the face", g.face, false},
        {"smile", onCircle(g.face, g.radius, 0.5), true},
        {"right end of the smile", onCircle(g.face, g.radius, 0.2), true},
        {"left end of the smile", onCircle(g.face, g.radius, 0.8), true},
        {"beyond its right end", onCircle(g.face, g.radius, 0.07), false},
        {"beyond its left end", onCircle(g.face, g.radius, 0.93), false},
        {"forehead", onCircle(g.face, g.radius, 1.5), false},
    };
}

} // namespace

TEST(ToolIcon, TheStickersNumbersFollowItsSize)
{
    struct Row {
        double size, lineWidth, margin, innerWidth, edge, radius, fold, faceX, faceY, eyeOffset, eyeRadius,
            eyeTop;
    };
    constexpr Row rows[] = {
        {13, 1.4, 1.2, 10.6, 11.8, 2.332, 8.196, 6.076, 5.864, 1.59, 0.868, 3.883},
        {23, 1.769231, 1.384615, 20.230769, 21.615385, 4.450769, 14.736923, 10.690769, 10.286154, 3.034615,
         1.096923, 7.065},
        {64, 4.923077, 2.961538, 58.076923, 61.038462, 12.776923, 41.292308, 29.676923, 28.515385, 8.711538,
         3.052308, 19.365},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.size);
        const auto g = ToolIcon::stickerGeometry(row.size);
        constexpr double rounding = 1e-6;
        EXPECT_NEAR(g.lineWidth, row.lineWidth, rounding);
        EXPECT_NEAR(g.margin, row.margin, rounding);
        EXPECT_NEAR(g.innerWidth, row.innerWidth, rounding);
        EXPECT_NEAR(g.edge, row.edge, rounding);
        EXPECT_NEAR(g.radius, row.radius, rounding);
        EXPECT_NEAR(g.fold, row.fold, rounding);
        EXPECT_NEAR(g.face.x(), row.faceX, rounding);
        EXPECT_NEAR(g.face.y(), row.faceY, rounding);
        EXPECT_NEAR(g.eyeOffset, row.eyeOffset, rounding);
        EXPECT_NEAR(g.eyeRadius, row.eyeRadius, rounding);
        EXPECT_NEAR(g.eyeTop, row.eyeTop, rounding);
    }
}

TEST(ToolIcon, TheStickerLooksLikeOne)
{
    for (const double size : Sizes) {
        SCOPED_TRACE(size);
        const auto geometry = ToolIcon::stickerGeometry(size);
        const QImage image = ToolIcon::sticker(size, scale);
        for (const auto &places : {outlinePlaces(geometry), facePlaces(geometry)}) {
            for (const Place &place : places) {
                EXPECT_EQ(isDrawn(image, place.point), place.drawn) << place.name;
            }
        }
    }
}

TEST(ToolIcon, TheStickerLeavesHalfAPointAllAround)
{
    for (const double size : Sizes) {
        SCOPED_TRACE(size);
        const int side = int(size * scale);
        const QRect wanted = QRect(0, 0, side, side).adjusted(scale / 2, scale / 2, -scale / 2, -scale / 2);
        EXPECT_EQ(drawn(ToolIcon::sticker(size, scale)), wanted);
    }
}

TEST(ToolIcon, TheStickersLinesAreAsThickAsAsked)
{
    for (const double size : Sizes) {
        SCOPED_TRACE(size);
        const QImage image = ToolIcon::sticker(size, scale);
        const int column = image.width() / 2;
        int thickness = 0;
        for (int row = scale / 2; qAlpha(image.pixel(column, row)) > 127; ++row) {
            ++thickness;
        }
        EXPECT_NEAR(thickness, ToolIcon::stickerGeometry(size).lineWidth * scale, 1);
    }
}

TEST(ToolIcon, TheStickerIsBlackOnTransparent)
{
    const QImage image = ToolIcon::sticker(23);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            EXPECT_EQ(image.pixel(x, y) & 0xffffffU, 0U);
        }
    }
}

TEST(ToolIcon, TheStickerHasThePixelsOfTheScreen)
{
    struct Row {
        double size, devicePixelRatio;
        int pixels;
    };
    constexpr Row rows[] = {{13, 1, 13}, {23, 1, 23}, {23, 2, 46}, {23, 1.5, 35}, {64, 3, 192}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.pixels);
        const QImage image = ToolIcon::sticker(row.size, row.devicePixelRatio);
        EXPECT_EQ(image.size(), QSize(row.pixels, row.pixels));
        EXPECT_EQ(image.devicePixelRatio(), row.devicePixelRatio);
    }
}

TEST(SymbolImageProvider, DrawsASymbolInTheColourAskedFor)
{
    struct Row {
        QString id;
        QColor color;
    };
    const Row rows[] = {
        {u"gearshape?ff8000"_s, QColor(255, 128, 0)},
        {u"custom.sticker?0040c0"_s, QColor(0, 64, 192)},
        {u"custom.sticker?800000ff"_s, QColor(0, 0, 255, 128)},
        {u"gearshape?"_s, QColor(0, 0, 0)},
        {u"gearshape"_s, QColor(0, 0, 0)},
    };
    SymbolImageProvider provider;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.id.toStdString());
        QSize size;
        const QImage image = provider.requestImage(row.id, &size, QSize(64, 64));
        EXPECT_EQ(size, QSize(64, 64));
        EXPECT_EQ(image.size(), size);
        int strongest = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() > strongest) {
                    strongest = pixel.alpha();
                    EXPECT_NEAR(pixel.red(), row.color.red(), 255.0 / strongest);
                    EXPECT_NEAR(pixel.green(), row.color.green(), 255.0 / strongest);
                    EXPECT_NEAR(pixel.blue(), row.color.blue(), 255.0 / strongest);
                }
            }
        }
        EXPECT_EQ(strongest, row.color.alpha());
    }
}

TEST(SymbolImageProvider, IsAsLargeAsAsked)
{
    const std::pair<QSize, int> rows[] = {{{17, 17}, 17}, {{46, 46}, 46}, {{31, 0}, 31}, {{}, 20}};
    SymbolImageProvider provider;
    for (const auto &[requested, pixels] : rows) {
        SCOPED_TRACE(pixels);
        for (const QString &name : {u"gearshape"_s, u"custom.sticker"_s, u"no.such.symbol"_s}) {
            QSize size;
            EXPECT_EQ(provider.requestImage(name, &size, requested).size(), QSize(pixels, pixels));
        }
    }
}

TEST(SymbolImageProvider, DrawsTheSameStickerWithMorePixelsOnAFinerScreen)
{
    const std::pair<int, int> rows[] = {{23, 46}, {23, 35}, {23, 29}, {13, 13}, {13, 39}};
    for (const auto &[points, pixels] : rows) {
        SCOPED_TRACE(pixels);
        const QString id = u"custom.sticker@%1?000000"_s.arg(points);
        QSize size;
        const QImage image = SymbolImageProvider().requestImage(id, &size, QSize(pixels, pixels));
        QImage expected = ToolIcon::sticker(points, double(pixels) / points);
        expected.setDevicePixelRatio(1);
        EXPECT_EQ(size, QSize(pixels, pixels));
        EXPECT_EQ(image, expected);
    }
}

TEST(SymbolImageProvider, GivesAnEmptyPictureForAnUnknownSymbolWithoutAWarning)
{
    QQmlEngine engine;
    engine.addImageProvider(u"symbol"_s, new SymbolImageProvider);
    QStringList warnings;
    QObject::connect(&engine, &QQmlEngine::warnings, &engine,
                     [&](const QList<QQmlError> &errors) { warnings.append(errors.first().toString()); });
    QQmlComponent component(&engine);
    component.setData(
        "import QtQuick\nImage { source: 'image://symbol/no.such.symbol?ff0000'; sourceSize.width: 17 }",
        QUrl());
    const std::unique_ptr<QObject> image(component.create());
    ASSERT_TRUE(image != nullptr) << qPrintable(component.errorString());
    constexpr int ready = 1;
    EXPECT_EQ(image->property("status").toInt(), ready);
    EXPECT_EQ(warnings, QStringList());
    QSize size;
    EXPECT_TRUE(
        drawn(SymbolImageProvider().requestImage(u"no.such.symbol?ff0000"_s, &size, QSize(17, 17))).isNull());
}

} // namespace kavrin::test
