// The program's menu.
import QtQuick 2.12
import "basecomponent"

PopupMenu {
    id: root

    signal settingsChosen
    signal helpChosen
    signal aboutChosen
    signal exitChosen

    accessibleId: "Menu_main"

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
}
