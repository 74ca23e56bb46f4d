// SPDX-License-Identifier: MIT
pragma Singleton

import QtQuick
import "Contrast.js" as Contrast

/// Every colour, distance, duration and type size of the application. Distances are in logical pixels,
/// durations in milliseconds.
///
/// Every text has a contrast of 4.5 : 1 to its ground, also while its row is hovered or pressed, and whatever accent
/// colour the desktop has; every control's edge has 3 : 1. The desktop may want more.
QtObject {
    id: theme

    /// What the desktop wants. The application sets them.
    property bool dark: false
    property bool highContrast: false
    property bool reducedMotion: false
    property color desktopAccent: "transparent"

    readonly property color background: dark ? "#111114" : "#f2f2f6"
    readonly property color card: dark ? "#1d1d21" : "#ffffff"
    readonly property color raised: dark ? "#2a2a30" : "#ffffff"
    readonly property color highlight: dark ? "#14ffffff" : "#0c000000"
    readonly property color pressed: dark ? "#1cffffff" : "#14000000"
    readonly property color shadow: dark ? "#20000000" : "#08000000"

    readonly property color text: highContrast ? (dark ? "#ffffff" : "#000000") : dark ? "#f4f4f6" : "#18181b"
    readonly property color secondaryText: legible(dark ? "#a5a5af" : "#62626c")
    readonly property color good: legible(dark ? "#3ddc74" : "#1a7f3c")
    readonly property color warning: legible(dark ? "#ffb340" : "#b25e00")
    readonly property color destructive: legible(dark ? "#ff6961" : "#c9211a")
    /// The desktop's accent colour, made as dark or light as texts need it.
    readonly property color accent: legible(desktopAccent.a > 0 ? desktopAccent : dark ? "#7d9dff" : "#3157d5")
    /// Readable on the accent colour.
    readonly property color accentText: dark ? "#18181b" : "#ffffff"

    /// What separates, and need not be seen. It is not quite opaque, because the software renderer loses an opaque line
    /// that lies between two rows of pixels once something below it changes.
    readonly property color hairline: Qt.alpha(highContrast ? edge : dark ? "#34343b" : "#e3e3e9", 0.99)
    /// The outline of what can be operated, and what shows where it can be moved to.
    readonly property color edge: Contrast.legible(Qt.color(dark ? "#90909a" : "#74747e"), track, highContrast ? 5 : 3.6)
    readonly property int edgeWidth: highContrast ? 2 : 1
    /// What fills a control that is off.
    readonly property color track: dark ? "#46464f" : "#d6d6de"
    readonly property color thumb: "#ffffff"

    /// The colour as it must be for text on any ground.
    function legible(color: color): color {
        const ground = Qt.tint(dark ? raised : background, pressed);
        return Contrast.legible(Qt.color(color), ground, highContrast ? 7.2 : 4.6);
    }

    readonly property int margin: 16
    readonly property int radius: 12
    readonly property int rowHeight: 48
    readonly property int rowPadding: 11
    readonly property int barHeight: 52
    readonly property int symbolSize: Math.round(20 * fontScale)
    readonly property int contentWidth: 640
    /// The list of pages stands beside the page from this width on.
    readonly property real twoPanesWidth: Math.max(800, sidebarWidth + 380 * fontScale)
    readonly property real sidebarWidth: Math.round(290 * fontScale)
    /// What belongs to a page stands beside its content if the page has this width.
    readonly property real asideFromWidth: asideWidth + 390 * fontScale
    readonly property int asideWidth: 380

    /// The type size follows the font size that the desktop asks for. Its lines are 18 pixels high if the desktop asks
    /// for none.
    readonly property FontMetrics desktopFont: FontMetrics {
        font: Qt.application.font
    }
    readonly property real fontScale: Math.max(1, desktopFont.height / 18)
    /// For switches and the handles of sliders.
    readonly property real controlScale: Math.min(fontScale, 1.5)
    readonly property string monospaceFamily: "monospace"
    /// What is large already grows less, so that words still fit into a line.
    readonly property int largeTitleSize: Math.round(30 * Math.min(fontScale, 1.4))
    readonly property int titleSize: Math.round(17 * fontScale)
    readonly property int bodySize: Math.round(16 * fontScale)
    readonly property int footnoteSize: Math.round(13 * fontScale)

    readonly property int transition: reducedMotion ? 0 : 260
    readonly property int quickTransition: reducedMotion ? 0 : 120
}
