// SPDX-License-Identifier: MIT
#include "platform/Symbols.h"

#include <QFileInfo>
#include <QPainter>
#include <QSvgRenderer>

namespace kavrin
{

using namespace Qt::StringLiterals;

QImage Symbols::image(const QString &name, int size)
{
    const QString icon = u":/symbols/"_s + name;
    if (!QFileInfo(icon).isFile()) {
        return {};
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // All icons are drawn on one grid. Their common view box makes them equally large.
    QSvgRenderer renderer(icon);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace kavrin
