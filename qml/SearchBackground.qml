// The veil between the window's background and the hits.
import QtQuick 2.12
import "basecomponent"

Rectangle {
    id: root

    signal clicked

    opacity: 0.45
    color: Theme.searchVeil

    MouseArea {
        anchors.fill: parent
        onClicked: root.clicked()
    }
}
