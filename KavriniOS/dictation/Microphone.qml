// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Dictation
import Kavrin.Theme

/// A microphone that pulses with the input level while it records.
Item {
    id: microphone

    required property DictateModel rec

    implicitWidth: 190
    implicitHeight: 190
    Accessible.role: Accessible.Graphic
    Accessible.name: rec.recording ? qsTr("Microphone on") : rec.working ? qsTr("Transcribing") : qsTr("Microphone off")

    // It grows by its size, not by a transformation, which would leave its edge rough.
    component Circle: Rectangle {
        required property real atRest
        required property real growth
        property real extent: microphone.rec.recording && !Theme.reducedMotion ? 1 + microphone.rec.level * growth : 1

        anchors.centerIn: parent
        width: atRest * extent
        height: width
        radius: width / 2
        color: Theme.accent

        Behavior on extent {
            NumberAnimation {
                duration: 90
                easing.type: Easing.OutQuad
            }
        }
    }

    Circle {
        objectName: "outerCircle"
        atRest: 150
        opacity: 0.14
        growth: 0.55
    }
    Circle {
        objectName: "innerCircle"
        atRest: 110
        opacity: 0.28
        growth: 0.28
    }

    // While working, the dots light up one after the other, or are all lit where nothing is to move.
    Symbol {
        id: symbol

        objectName: "symbol"
        anchors.centerIn: parent
        name: microphone.rec.working ? "ellipsis" : "mic.fill"
        size: 46
        growth: 1
        color: Theme.accent
        opacity: microphone.rec.working ? 0.35 : 1
    }
    Item {
        objectName: "litDots"
        anchors.left: symbol.left
        anchors.top: symbol.top
        width: Theme.reducedMotion ? symbol.width : symbol.width * steps.lit / 3
        height: symbol.height
        visible: microphone.rec.working
        clip: true

        Symbol {
            anchors.left: parent.left
            name: symbol.name
            size: symbol.size
            growth: symbol.growth
            color: symbol.color
        }
    }
    Timer {
        id: steps

        objectName: "steps"
        property int lit: 0

        interval: 300
        repeat: true
        running: microphone.rec.working && !Theme.reducedMotion
        onTriggered: lit = (lit + 1) % 4
    }
}
