// Below the large picture: its application, and the way to its text.
import QtQuick 2.12
import "basecomponent"

Rectangle {
    id: root

    property string iconSource
    property string appName
    property int iconSize
    property real maximumNameWidth

    signal regionRequested

    implicitWidth: row.width + 2 * Sizes.margin
    radius: Sizes.barRadius
    color: Theme.base
    border.width: 1
    border.color: Theme.frame

    function takeFocus(reason) {
        regionButton.forceActiveFocus(reason)
    }

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
            width: Math.min(implicitWidth, root.maximumNameWidth)
            text: root.appName
            font.pixelSize: Sizes.pageFont
            elide: Text.ElideRight
        }

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 1
            height: Math.round(root.height / 2)
            color: Theme.line
        }

        ButtonItem {
            id: regionButton
            anchors.verticalCenter: parent.verticalCenter
            accessibleId: "Button_regionRecognition"
            iconName: "screenshot-app-symbolic"
            iconSize: Sizes.atLeast(Sizes.smallIcon, Sizes.h(18))
            implicitWidth: Sizes.atLeast(Sizes.titleBarButtonWidth, root.height - Sizes.gap)
            implicitHeight: root.height - Sizes.gap
            toolTip: qsTr("Region Recognition")
            onClicked: root.regionRequested()
        }
    }
}
