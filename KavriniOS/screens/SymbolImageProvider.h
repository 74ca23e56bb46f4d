// SPDX-License-Identifier: MIT
#pragma once

#include <QQuickImageProvider>

namespace kavrin
{

/// Symbols in a colour, for QML: "image://symbol/NAME@POINTS?RRGGBB", or with AARRGGBB. NAME is a system
/// symbol or "custom.sticker"; any other name gives an empty picture. The size is the image's sourceSize,
/// which counts the screen's own pixels. POINTS says how many points that is; without it, each pixel is a
/// point. Safe from any thread.
class SymbolImageProvider : public QQuickImageProvider
{
public:
    SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) { }

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

} // namespace kavrin
