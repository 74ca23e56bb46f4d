// SPDX-License-Identifier: MIT
import QtQuick
import Kavrin.Screens.Preview
import Kavrin.Theme

/// A picture of the keyboard as the stored settings make it look, on a screen as wide as the picture: at its real size,
/// or smaller if there is not enough height. It takes no input.
Item {
    id: preview

    /// Between the picture's edge and the screen that it shows.
    readonly property int inset: 6

    readonly property int letterWeight: keyboard.look.boldLabels ? Font.DemiBold : Font.Normal

    /// Shows the settings as they are stored now.
    function read() {
        keyboard.read();
    }

    property real maximumHeight: Infinity

    implicitWidth: 360
    implicitHeight: ground.height + caption.height
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true
    Accessible.role: Accessible.Graphic
    Accessible.name: qsTr("Preview of the keyboard")
    Accessible.description: caption.text

    KeyboardModel {
        id: keyboard

        screenWidth: preview.width - 2 * preview.inset
        maximumHeight: preview.maximumHeight - caption.height - 2 * preview.inset
        dark: Theme.dark
    }

    component Label: Text {
        textFormat: Text.PlainText
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 9 * keyboard.scale
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    Rectangle {
        id: ground

        anchors.horizontalCenter: parent.horizontalCenter
        width: screen.width + 2 * preview.inset
        height: screen.height + 2 * preview.inset
        radius: Theme.radius
        color: keyboard.colors.ground

        Item {
            id: screen

            x: preview.inset
            y: preview.inset
            width: Math.round(keyboard.screenWidth * keyboard.scale)
            height: Math.floor(keyboard.geometry.height)

            Row {
                x: keyboard.geometry.toolbar.x
                y: keyboard.geometry.toolbar.y

                Repeater {
                    model: keyboard.look.tools

                    Item {
                        required property string modelData

                        width: keyboard.geometry.toolWidth
                        height: keyboard.geometry.toolbar.height

                        Symbol {
                            anchors.centerIn: parent
                            name: parent.modelData
                            growth: 1
                            size: Math.min(20 * keyboard.scale, parent.width * 0.75)
                            color: keyboard.colors.onGround
                        }
                    }
                }
            }

            Row {
                x: keyboard.geometry.strip.x
                y: keyboard.geometry.strip.y
                visible: keyboard.geometry.strip.height > 0

                Repeater {
                    model: keyboard.suggestions

                    Item {
                        id: suggestion

                        required property string modelData
                        required property int index

                        width: keyboard.geometry.strip.width / 3
                        height: keyboard.geometry.strip.height

                        Rectangle {
                            anchors.fill: parent
                            anchors.margins: 3
                            visible: keyboard.look.sugPills
                            radius: height / 2
                            color: keyboard.colors.pill
                        }
                        Rectangle {
                            anchors.right: parent.right
                            anchors.verticalCenter: parent.verticalCenter
                            visible: !keyboard.look.sugPills && suggestion.index < 2
                            width: 1
                            height: 20
                            color: keyboard.colors.divider
                        }
                        Label {
                            anchors.fill: parent
                            anchors.margins: 6 * keyboard.scale
                            text: suggestion.modelData
                            color: keyboard.colors.onGround
                            // All three alike.
                            font.pixelSize: Math.max(9 * keyboard.scale, Math.min(16 * keyboard.scale, width / 4))
                        }
                    }
                }
            }

            Repeater {
                model: keyboard

                Item {
                    required property rect cap
                    required property color color
                    required property bool pressed

                    /// Glass swells under a finger, as far as the gap allows.
                    readonly property int swelling: pressed && keyboard.look.glassPress ? keyboard.geometry.swelling : 0

                    x: cap.x - swelling
                    y: cap.y - swelling
                    width: cap.width + 2 * swelling
                    height: cap.height + 2 * swelling

                    Rectangle {
                        y: 1
                        width: parent.width
                        height: parent.height
                        visible: keyboard.look.keyShadow
                        radius: face.radius
                        color: keyboard.colors.shadow
                    }
                    Rectangle {
                        id: face

                        anchors.fill: parent
                        radius: Math.min(keyboard.look.radius * keyboard.scale, width / 2, height / 2)
                        color: parent.color
                        border.width: keyboard.look.keyBorder ? 1 : 0
                        border.color: keyboard.colors.border
                    }
                }
            }

            Canvas {
                id: trail

                readonly property point begin: keyboard.geometry.trailBegin
                readonly property point end: keyboard.geometry.trailEnd
                readonly property real thickness: keyboard.look.trailWidth * keyboard.scale
                readonly property color color: keyboard.colors.accent

                anchors.fill: parent
                visible: keyboard.look.showsTrail
                onBeginChanged: requestPaint()
                onEndChanged: requestPaint()
                onThicknessChanged: requestPaint()
                onColorChanged: requestPaint()
                onPaint: {
                    const context = getContext("2d");
                    context.reset();
                    const fading = context.createLinearGradient(begin.x, begin.y, end.x, end.y);
                    fading.addColorStop(0, Qt.alpha(color, 0.1));
                    fading.addColorStop(1, Qt.alpha(color, 0.85));
                    context.strokeStyle = fading;
                    context.lineWidth = thickness;
                    context.lineCap = "round";
                    context.moveTo(begin.x, begin.y);
                    context.quadraticCurveTo(begin.x, end.y, end.x, end.y);
                    context.stroke();
                }
            }

            Repeater {
                model: keyboard

                Item {
                    id: key

                    required property rect labelPlace
                    required property rect hintPlace
                    required property string label
                    required property string symbol
                    required property string hint
                    required property int labelSize
                    required property color textColor

                    Label {
                        x: key.labelPlace.x
                        y: key.labelPlace.y
                        width: key.labelPlace.width
                        height: key.labelPlace.height
                        visible: text !== ""
                        text: key.label
                        color: key.textColor
                        font.pixelSize: key.labelSize
                        font.weight: preview.letterWeight
                    }
                    Label {
                        x: key.hintPlace.x
                        y: key.hintPlace.y
                        width: key.hintPlace.width
                        height: key.hintPlace.height
                        visible: height > 0 && text !== ""
                        text: key.hint
                        color: key.textColor
                        font.pixelSize: Math.max(1, key.hintPlace.height - 2 * keyboard.scale)
                        horizontalAlignment: Text.AlignRight
                    }
                    Symbol {
                        x: key.labelPlace.x + (key.labelPlace.width - width) / 2
                        y: key.labelPlace.y + (key.labelPlace.height - height) / 2
                        visible: name !== ""
                        name: key.symbol
                        growth: 1
                        size: key.labelSize
                        color: key.textColor
                    }
                }
            }

            Rectangle {
                x: bubble.x
                y: bubble.y + 2
                width: bubble.width
                height: bubble.height
                visible: bubble.visible
                radius: bubble.radius
                color: keyboard.colors.shadow
            }
            Rectangle {
                id: bubble

                x: keyboard.geometry.popup.x
                y: keyboard.geometry.popup.y
                width: keyboard.geometry.popup.width
                height: keyboard.geometry.popup.height
                visible: keyboard.look.popup
                radius: Math.min((keyboard.look.radius + 4) * keyboard.scale, width / 2, height / 2)
                color: keyboard.colors.cap
                border.width: 1
                border.color: keyboard.colors.border

                Label {
                    anchors.fill: parent
                    text: "g"
                    color: keyboard.colors.onCap
                    font.pixelSize: keyboard.geometry.popupSize
                    font.weight: preview.letterWeight
                }
            }
        }
    }

    Footnote {
        id: caption

        anchors.top: ground.bottom
        width: parent.width
        topPadding: 6
        horizontalAlignment: Text.AlignHCenter
        text: keyboard.showsLandscape ? qsTr("Screen on its side") : keyboard.showsDark ? qsTr("Dark") : qsTr("Light")
        Accessible.ignored: true
    }
}
