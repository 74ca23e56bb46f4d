// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts

/// Says what went wrong, so that it does not read like other small texts. Nothing if there is no text.
RowLayout {
    id: problem

    property string text
    property alias topPadding: message.topPadding
    property alias bottomPadding: message.bottomPadding
    property color color: Theme.destructive

    visible: text !== ""
    spacing: 8
    Accessible.ignored: !visible
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Symbol {
        Layout.alignment: Qt.AlignTop
        Layout.topMargin: message.topPadding
        name: "exclamationmark.triangle.fill"
        size: 17
        color: problem.color
    }
    Footnote {
        id: message

        Layout.fillWidth: true
        text: problem.text
        color: problem.color
        Accessible.ignored: true
    }
}
