// The top of a dialog with a close button.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    signal closeRequested

    height: Sizes.titleBarHeight

    Image {
        x: Sizes.margin
        anchors.verticalCenter: parent.verticalCenter
        source: "qrc:/image/taskbarappicon.svg"
        sourceSize: Qt.size(Sizes.titleBarIcon, Sizes.titleBarIcon)
    }

    ButtonItem {
        anchors.right: parent.right
        anchors.rightMargin: Sizes.gap
        anchors.verticalCenter: parent.verticalCenter
        accessibleId: "Button_closeDialog"
        iconName: "window-close-symbolic"
        toolTip: qsTr("close")
        onClicked: root.closeRequested()
    }
}
