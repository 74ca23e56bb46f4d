// SPDX-License-Identifier: MIT
import QtQuick

/// Measures the longest word of a row's text: contentWidth. Shows nothing.
RowText {
    visible: false
    width: 1
    wrapMode: Text.WordWrap
}
