// The program's icon and title.
import QtQuick 2.12
import "basecomponent"

Row {
    id: root

    spacing: Sizes.gap

    Image {
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/image/taskbarappicon.svg"
        sourceSize: Qt.size(Sizes.titleBarIcon, Sizes.titleBarIcon)
    }

    BodyText {
        anchors.verticalCenter: parent.verticalCenter
        text: qsTr("Yestermark")
        font.weight: Font.DemiBold
    }
}
