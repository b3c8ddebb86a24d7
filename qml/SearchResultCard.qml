// One hit: its picture, and of which application and moment it is.
import QtQuick 2.12
import "basecomponent"

Rectangle {
    id: root

    property QtObject hit
    property string accessibleId
    property bool hasFocusRing: false
    property bool nearby: true // else its picture, as large as the screen, is let go
    readonly property bool touched: pointer.containsMouse || pointer.pressed
    // A new search takes the hit away before the card goes.
    readonly property string appName: hit ? hit.previewAppName : ""
    readonly property string moment: hit ? hit.previewImageDate + " " + hit.previewImageTime : ""

    signal chosen

    width: Sizes.w(266)
    height: Sizes.h(200)
    radius: Sizes.cardRadius
    color: pointer.pressed ? Theme.mid : pointer.containsMouse ? Theme.midlight : Theme.base
    border.width: touched ? 1 : 2
    border.color: Theme.frame

    Accessible.role: Accessible.ListItem
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: appName + " " + moment
    Accessible.focusable: true
    Accessible.onPressAction: root.chosen()

    Image {
        id: picture
        anchors.horizontalCenter: parent.horizontalCenter
        y: Sizes.h(16)
        width: Sizes.w(234)
        height: Sizes.h(132)
        source: root.hit && root.nearby ? "image://" + root.hit.videoPreviewImageSource : ""
        fillMode: Image.PreserveAspectFit
        cache: false // an id comes back for another picture
        mipmap: true
    }

    Item {
        id: caption
        readonly property bool tall: height >= name.implicitHeight + when.implicitHeight

        x: picture.x
        y: picture.y + picture.height
        width: picture.width
        height: parent.height - y - Sizes.h(8)

        AppIcon {
            id: icon
            anchors.verticalCenter: parent.verticalCenter
            source: root.hit ? root.hit.previewAppIcon : ""
            size: Sizes.atLeast(Sizes.smallIcon, Math.min(Sizes.appIcon, parent.height - 4))
        }

        Grid { // in small windows both share a line
            id: lines
            anchors.verticalCenter: parent.verticalCenter
            x: icon.width + Sizes.gap
            width: parent.width - x
            columns: caption.tall ? 1 : 2
            columnSpacing: 4

            BodyText {
                id: name
                width: caption.tall ? lines.width : Math.min(implicitWidth, lines.width * 0.4)
                text: root.appName
                font.pixelSize: Sizes.pageFont
                elide: Text.ElideRight
                Accessible.ignored: true
            }

            BodyText {
                id: when
                width: caption.tall ? lines.width
                                    : lines.width - name.width - lines.columnSpacing
                text: root.moment
                font.pixelSize: Sizes.pageFont
                color: Theme.faintText
                elide: Text.ElideRight
                Accessible.ignored: true
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: -3
        visible: root.hasFocusRing
        color: "transparent"
        radius: root.radius + 3
        border.width: 2
        border.color: Theme.highlight
    }

    MouseArea {
        id: pointer
        anchors.fill: parent
        hoverEnabled: true
        onClicked: root.chosen()
    }
}
