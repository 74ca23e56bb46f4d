// SPDX-License-Identifier: MIT
#pragma once

#include <QQuickImageProvider>

namespace kavrin
{

/// Symbols in a colour, for QML: "image://symbol/NAME?RRGGBB" or "image://symbol/NAME?AARRGGBB". The size is
/// the image's sourceSize, which counts the screen's own pixels. NAME is a system symbol or "custom.sticker";
/// any other name gives an empty picture. Safe from any thread.
class SymbolImageProvider : public QQuickImageProvider
{
public:
    SymbolImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) { }

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

} // namespace kavrin
