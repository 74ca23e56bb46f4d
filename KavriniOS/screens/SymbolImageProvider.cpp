// SPDX-License-Identifier: MIT
#include "screens/SymbolImageProvider.h"

#include "platform/Symbols.h"
#include "screens/ToolIcon.h"

#include <QPainter>

#include <algorithm>

namespace kavrin
{

namespace
{

/// For an image without a sourceSize.
constexpr int defaultPixels = 20;

/// Without `points`, each pixel is a point.
QImage sticker(int points, int pixels)
{
    const double scale = points > 0 ? double(pixels) / points : 1;
    QImage image = ToolIcon::sticker(pixels / scale, scale);
    image.setDevicePixelRatio(1);
    return image;
}

QImage symbol(const QString &name, int points, int pixels)
{
    return name == u"custom.sticker" ? sticker(points, pixels) : Symbols::image(name, pixels);
}

void tint(QImage &image, const QColor &color)
{
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
}

} // namespace

QImage SymbolImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const int largerSide = std::max(requestedSize.width(), requestedSize.height());
    const int pixels = largerSide > 0 ? largerSide : defaultPixels;
    const QString symbolId = id.section(u'?', 0, 0);
    QImage image = symbol(symbolId.section(u'@', 0, 0), symbolId.section(u'@', 1).toInt(), pixels);
    if (image.isNull()) {
        // Qt Quick would print a warning for a null image.
        image = QImage(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
    }
    const QColor color = QColor::fromString(QLatin1Char('#') + id.section(u'?', 1));
    tint(image, color.isValid() ? color : QColor(Qt::black));
    *size = image.size();
    return image;
}

} // namespace kavrin
