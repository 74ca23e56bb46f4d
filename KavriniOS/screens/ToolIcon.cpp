// SPDX-License-Identifier: MIT
#include "screens/ToolIcon.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace kavrin
{

namespace
{

QRectF squareAround(QPointF middle, double radius)
{
    return {middle.x() - radius, middle.y() - radius, 2 * radius, 2 * radius};
}

/// Angles are in degrees from the right, clockwise as seen. (QPainterPath counts them counter-clockwise.)
void arcClockwise(QPainterPath &path, QPointF middle, double radius, double from, double to)
{
    path.arcTo(squareAround(middle, radius), -from, from - to);
}

QPainterPath outline(const ToolIcon::StickerGeometry &g)
{
    const double nearMiddle = g.margin + g.radius;
    const double farMiddle = g.edge - g.radius;
    QPainterPath path(QPointF(nearMiddle, g.margin));
    path.lineTo(farMiddle, g.margin);
    arcClockwise(path, {farMiddle, nearMiddle}, g.radius, -90, 0);
    path.lineTo(g.edge, g.fold);
    path.lineTo(g.fold, g.edge);
    path.lineTo(nearMiddle, g.edge);
    arcClockwise(path, {nearMiddle, farMiddle}, g.radius, 90, 180);
    path.lineTo(g.margin, nearMiddle);
    arcClockwise(path, {nearMiddle, nearMiddle}, g.radius, 180, 270);
    path.closeSubpath();
    return path;
}

QPainterPath fold(const ToolIcon::StickerGeometry &g)
{
    QPainterPath path(QPointF(g.edge, g.fold));
    path.lineTo(g.fold, g.fold);
    path.lineTo(g.fold, g.edge);
    return path;
}

QPainterPath eyes(const ToolIcon::StickerGeometry &g)
{
    QPainterPath path;
    const double middle = g.eyeTop + g.eyeRadius;
    path.addEllipse(QPointF(g.face.x() - g.eyeOffset, middle), g.eyeRadius, g.eyeRadius);
    path.addEllipse(QPointF(g.face.x() + g.eyeOffset, middle), g.eyeRadius, g.eyeRadius);
    return path;
}

QPainterPath smile(const ToolIcon::StickerGeometry &g)
{
    constexpr double from = 36;
    constexpr double to = 144;
    QPainterPath path;
    path.arcMoveTo(squareAround(g.face, g.radius), -from);
    arcClockwise(path, g.face, g.radius, from, to);
    return path;
}

} // namespace

ToolIcon::StickerGeometry ToolIcon::stickerGeometry(double size)
{
    StickerGeometry g{};
    g.lineWidth = std::max(size / 13, 1.4);
    g.margin = g.lineWidth / 2 + 0.5;
    g.innerWidth = size - 2 * g.margin;
    g.edge = g.margin + g.innerWidth;
    g.radius = 0.22 * g.innerWidth;
    g.fold = g.edge - 0.34 * g.innerWidth;
    g.face = {g.margin + 0.46 * g.innerWidth, g.margin + 0.44 * g.innerWidth};
    g.eyeOffset = 0.15 * g.innerWidth;
    g.eyeRadius = 0.62 * g.lineWidth;
    g.eyeTop = g.face.y() - 0.7 * g.eyeOffset - g.eyeRadius;
    return g;
}

QImage ToolIcon::sticker(double size, double devicePixelRatio)
{
    const StickerGeometry g = stickerGeometry(size);
    const int pixels = int(std::lround(size * devicePixelRatio));
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(devicePixelRatio);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.strokePath(outline(g), QPen(Qt::black, g.lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::RoundJoin));
    const QPen roundPen(Qt::black, g.lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.strokePath(fold(g), roundPen);
    painter.strokePath(smile(g), roundPen);
    painter.fillPath(eyes(g), Qt::black);
    return image;
}

} // namespace kavrin
