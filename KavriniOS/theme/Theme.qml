// SPDX-License-Identifier: MIT
pragma Singleton

import QtQuick

/// Every colour, distance, duration and type size of the application. Distances are in logical pixels,
/// durations in milliseconds.
QtObject {
    id: theme

    /// What the desktop wants. The application sets both.
    property bool dark: false
    property color desktopAccent: "transparent"

    readonly property color background: dark ? "#111114" : "#f2f2f6"
    readonly property color card: dark ? "#1d1d21" : "#ffffff"
    readonly property color raised: dark ? "#2a2a30" : "#ffffff"
    readonly property color text: dark ? "#f4f4f6" : "#18181b"
    readonly property color secondaryText: dark ? "#a5a5af" : "#62626c"
    readonly property color hairline: dark ? "#34343b" : "#e3e3e9"
    readonly property color track: dark ? "#46464f" : "#d6d6de"
    readonly property color thumb: "#ffffff"
    readonly property color highlight: dark ? "#14ffffff" : "#0c000000"
    readonly property color pressed: dark ? "#24ffffff" : "#18000000"
    readonly property color shadow: dark ? "#20000000" : "#08000000"
    readonly property color good: dark ? "#3ddc74" : "#1a7f3c"
    readonly property color warning: dark ? "#ffb340" : "#b25e00"
    readonly property color destructive: dark ? "#ff6961" : "#c9211a"
    readonly property color accent: desktopAccent.a > 0 ? desktopAccent : dark ? "#7d9dff" : "#3157d5"
    /// Roughly the relative luminance of WCAG 2, 0 to 1.
    readonly property real accentLuminance: 0.2126 * accent.r * accent.r + 0.7152 * accent.g * accent.g
                                            + 0.0722 * accent.b * accent.b
    readonly property bool accentIsLight: accentLuminance > 0.3
    /// Readable on the accent colour.
    readonly property color accentText: accentIsLight ? "#18181b" : "#ffffff"

    readonly property int margin: 16
    readonly property int radius: 12
    readonly property int rowHeight: 48
    readonly property int rowPadding: 11
    readonly property int barHeight: 52
    readonly property int symbolSize: 20
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
    /// A family with digits of equal width; the interface font has none.
    readonly property string tabularFamily: "Noto Sans"
    readonly property string monospaceFamily: "monospace"
    readonly property int largeTitleSize: Math.round(30 * fontScale)
    readonly property int titleSize: Math.round(17 * fontScale)
    readonly property int bodySize: Math.round(16 * fontScale)
    readonly property int footnoteSize: Math.round(13 * fontScale)

    readonly property int transition: 260
    readonly property int quickTransition: 120
}
