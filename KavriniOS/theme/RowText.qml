// SPDX-License-Identifier: MIT
import QtQuick

/// The text of a row. What screen readers find is the row's control, which has it as its name.
Text {
    textFormat: Text.PlainText
    color: Theme.text
    font.pixelSize: Theme.bodySize
    wrapMode: Text.Wrap
    horizontalAlignment: Text.AlignLeft
    Accessible.ignored: true
}
