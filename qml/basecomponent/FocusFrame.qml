// The ring around the control that the keyboard acts on.
import QtQuick 2.12

Rectangle {
    id: root

    property Item control

    anchors.fill: parent
    anchors.margins: -3
    visible: control !== null && control.visualFocus
    color: "transparent"
    radius: Sizes.controlRadius + 3
    border.width: 2
    border.color: Theme.highlight
}
