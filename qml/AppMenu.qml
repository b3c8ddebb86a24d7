// The program's menu.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

T.Menu {
    id: root

    signal settingsChosen
    signal helpChosen
    signal aboutChosen
    signal exitChosen

    implicitWidth: 122 + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: 4
    margins: Sizes.gap
    focus: true

    MenuEntry {
        accessibleId: "MenuItem_settings"
        text: qsTr("Settings")
        onTriggered: root.settingsChosen()
    }
    MenuEntry {
        accessibleId: "MenuItem_help"
        text: qsTr("Help")
        onTriggered: root.helpChosen()
    }
    MenuEntry {
        accessibleId: "MenuItem_about"
        text: qsTr("About")
        onTriggered: root.aboutChosen()
    }
    MenuEntry {
        accessibleId: "MenuItem_exit"
        text: qsTr("Exit")
        onTriggered: root.exitChosen()
    }

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
        Accessible.role: Accessible.PopupMenu
        Accessible.name: "tavel-ai-yestermark_Menu_main"
    }

    background: Rectangle {
        color: Theme.base
        radius: Sizes.gap
        border.width: 1
        border.color: Theme.line

        SoftShadow {
            anchors.fill: parent
            z: -1
            radius: parent.radius
            verticalOffset: 4
        }
    }
}
