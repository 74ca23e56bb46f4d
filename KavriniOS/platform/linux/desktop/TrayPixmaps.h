// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/desktop/DBusStructure.h"

#include <QByteArray>
#include <QIcon>
#include <QList>

namespace kavrin
{

/// One picture of an icon as a StatusNotifierItem sends it, (iiay)
/// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/Icons/): its size in pixels, then its
/// pixels row by row from the top. Each pixel has four bytes: alpha, red, green, blue, not premultiplied.
struct TrayPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes;

    static auto fields(auto &self) { return std::tie(self.width, self.height, self.bytes); }
    bool operator==(const TrayPixmap &) const = default;
};

/// a(iiay): the same icon in several sizes. A panel takes the one that fits.
using TrayPixmaps = QList<TrayPixmap>;

/// The icon in each size that it has; empty if it is null.
TrayPixmaps trayPixmaps(const QIcon &icon);

} // namespace kavrin
