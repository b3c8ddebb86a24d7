// A picture with rounded corners: the corners are covered, not masked, so that no shader is needed.
import QtQuick 2.12

Rectangle {
    id: root

    property alias image: image
    property int frame: 4

    color: Theme.base

    Image {
        id: image
        anchors.fill: parent
        anchors.margins: root.frame
        fillMode: Image.PreserveAspectFit
        cache: false
        mipmap: true
    }

    Rectangle {
        anchors.fill: parent
        radius: root.radius
        color: "transparent"
        border.width: root.frame
        border.color: root.color
    }
}
