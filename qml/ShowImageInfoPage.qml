// The large picture of the frame under the slider, with its application below.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    property string source
    property string iconSource
    property string appName
    property int iconSize

    readonly property int toolBarHeight: Math.max(36, Sizes.h(40))
    readonly property int toolBarMargin: Sizes.h(20)
    readonly property real screenshotScaleFactor: image.implicitWidth > 0
        ? Math.min(area.width / image.implicitWidth, area.height / image.implicitHeight) : 1

    Item {
        id: area
        anchors.horizontalCenter: parent.horizontalCenter
        y: Sizes.h(30)
        width: parent.width * 0.8
        height: Math.max(0, parent.height - y - root.toolBarMargin - root.toolBarHeight - Sizes.h(20))
    }

    Rectangle {
        id: mount
        anchors.centerIn: area
        visible: image.status === Image.Ready
        width: Math.round(image.implicitWidth * root.screenshotScaleFactor) + 2
        height: Math.round(image.implicitHeight * root.screenshotScaleFactor) + 2
        color: Theme.base

        SoftShadow {
            anchors.fill: parent
            z: -1
            radius: 4
        }

        Image {
            id: image
            anchors.fill: parent
            anchors.margins: 1
            source: root.source
            cache: false
            fillMode: Image.PreserveAspectFit
            Accessible.role: Accessible.Graphic
            Accessible.name: "tavel-ai-yestermark_Image_screenshot"
            Accessible.description: root.appName
        }

        Rectangle {
            anchors.fill: parent
            color: "transparent"
            border.width: 1
            border.color: Theme.dark ? "#40ffffff" : "#26262626"
        }
    }

    Rectangle {
        id: toolBar
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: area.bottom
        anchors.topMargin: root.toolBarMargin
        visible: mount.visible && root.appName !== ""
        width: row.width + 2 * Sizes.margin
        height: root.toolBarHeight
        radius: 8
        color: Theme.base
        border.width: 1
        border.color: Theme.frame

        Row {
            id: row
            anchors.centerIn: parent
            spacing: Sizes.gap

            AppIcon {
                anchors.verticalCenter: parent.verticalCenter
                source: root.iconSource
                size: root.iconSize
            }

            BodyText {
                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, area.width / 2)
                text: root.appName
                font.pixelSize: Sizes.pageFont
                elide: Text.ElideRight
            }
        }
    }
}
