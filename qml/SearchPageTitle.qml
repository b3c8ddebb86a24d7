// A white chip with a picture and a title.
import QtQuick 2.12
import "basecomponent"

Rectangle {
    id: root

    property alias titleImage: image.source
    property alias text: label.text

    implicitWidth: row.width + 2 * Sizes.margin
    implicitHeight: Sizes.h(36)
    radius: height / 2
    color: Theme.chip

    Row {
        id: row
        anchors.centerIn: parent
        spacing: Sizes.gap

        Image {
            id: image
            anchors.verticalCenter: parent.verticalCenter
            sourceSize: Qt.size(Sizes.titleBarIcon, Sizes.titleBarIcon)
            visible: status === Image.Ready
        }

        BodyText {
            id: label
            anchors.verticalCenter: parent.verticalCenter
            color: Theme.chipText
            font.pixelSize: Sizes.pageFont
            font.bold: true
        }
    }
}
