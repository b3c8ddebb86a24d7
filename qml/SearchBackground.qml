// The veil between the window's background and the hits.
import QtQuick 2.12

Rectangle {
    id: root

    property int themeType: 2

    signal clicked

    opacity: 0.45
    color: themeType === 1 ? "#FFFFFF" : "#262626"

    MouseArea {
        anchors.fill: parent
        onClicked: root.clicked()
    }
}
