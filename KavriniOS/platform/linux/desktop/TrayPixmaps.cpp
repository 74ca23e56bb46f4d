// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TrayPixmaps.h"

#include <QImage>
#include <QPixmap>
#include <QtEndian>

namespace kavrin
{

namespace
{

constexpr qreal devicePixelRatio = 1; // independent of any screen: sizes are in pixels

TrayPixmap trayPixmap(const QPixmap &pixmap)
{
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    TrayPixmap result{.width = image.width(), .height = image.height(), .bytes = {}};
    result.bytes.resize(image.sizeInBytes()); // rows of 32 bits a pixel have no gaps between them
    qToBigEndian<quint32>(image.constBits(), qsizetype(image.width()) * image.height(), result.bytes.data());
    return result;
}

} // namespace

TrayPixmaps trayPixmaps(const QIcon &icon)
{
    TrayPixmaps pixmaps;
    for (const QSize &size : icon.availableSizes()) {
        pixmaps.append(trayPixmap(icon.pixmap(size, devicePixelRatio)));
    }
    return pixmaps;
}

} // namespace kavrin
