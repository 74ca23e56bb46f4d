// SPDX-License-Identifier: MIT
import QtQuick

/// Small secondary text for section headers, footers and notes.
Text {
    color: Theme.secondaryText
    font.pixelSize: Theme.footnoteSize
    lineHeight: 1.15
    wrapMode: Text.Wrap
    horizontalAlignment: Text.AlignLeft
    textFormat: Text.PlainText
}
