// What can be done with recognised text.
import QtQuick 2.12
import "basecomponent"

PopupMenu {
    id: root

    signal copyChosen
    signal selectAllChosen

    accessibleId: "Menu_text"
    entryWidth: 110 - leftPadding - rightPadding

    MenuEntry {
        accessibleId: "MenuItem_copy"
        iconName: "edit-copy-symbolic"
        text: qsTr("Copy")
        onTriggered: root.copyChosen()
    }
    MenuEntry {
        accessibleId: "MenuItem_selectAll"
        iconName: "object-select-symbolic"
        text: qsTr("SelectAll")
        onTriggered: root.selectAllChosen()
    }
}
