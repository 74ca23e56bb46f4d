// SPDX-License-Identifier: MIT
import QtQuick

/// The text of a row. Screen readers find the row's control instead, which has this text as its name.
Text {
    textFormat: Text.PlainText
    color: Theme.text
    font.pixelSize: Theme.bodySize
    wrapMode: Text.Wrap
    horizontalAlignment: Text.AlignLeft
    Accessible.ignored: true
}
