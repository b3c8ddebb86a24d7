// One setting: its name at the left, its controls at the right.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    default property alias controls: row.data
    property alias text: label.text

    height: 52

    BodyText {
        id: label
        x: Sizes.margin
        anchors.verticalCenter: parent.verticalCenter
        width: root.width - row.width - 3 * Sizes.margin
        elide: Text.ElideRight
    }

    Row {
        id: row
        anchors.right: parent.right
        anchors.rightMargin: Sizes.margin
        anchors.verticalCenter: parent.verticalCenter
        spacing: Sizes.dialogMargin
    }
}
