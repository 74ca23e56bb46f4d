// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts

/// Says what went wrong, so that it does not read like other small texts. Nothing if there is no text.
RowLayout {
    id: problem

    property string text
    property color color: Theme.destructive

    visible: text !== ""
    spacing: 8
    Accessible.ignored: !visible
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Symbol {
        Layout.alignment: Qt.AlignTop
        name: "exclamationmark.triangle.fill"
        size: 17
        color: problem.color
    }
    Footnote {
        Layout.fillWidth: true
        text: problem.text
        color: problem.color
        Accessible.ignored: true
    }
}
