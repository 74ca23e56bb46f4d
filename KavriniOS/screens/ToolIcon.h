// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QPointF>

namespace kavrin
{

/// The tool icons that are not system symbols. Safe from any thread.
struct ToolIcon {
    /// The numbers of the sticker, in points from the top left.
    struct StickerGeometry {
        double lineWidth;
        double margin; ///< from the picture's edge to the middle of the outline
        double innerWidth;
        double edge; ///< where the outline's right and bottom sides are
        double radius; ///< of the three round corners, and of the smile
        double fold; ///< where the fold across the fourth corner begins
        QPointF face; ///< its middle
        double eyeOffset; ///< from the middle of the face to the middle of each eye
        double eyeRadius;
        double eyeTop;
    };

    static StickerGeometry stickerGeometry(double size);

    /// "custom.sticker": a square sticker with a smiling face; its bottom right corner peels off. Black on
    /// transparent, so that a view can tint it; `size` points wide and high, of `devicePixelRatio` pixels
    /// each.
    static QImage sticker(double size, double devicePixelRatio = 1);
};

} // namespace kavrin
