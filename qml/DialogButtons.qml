// The two answers at a dialog's end.
import QtQuick 2.12
import "basecomponent"

Row {
    id: root

    property alias cancelButton: cancel
    property alias confirmButton: confirm

    signal accepted
    signal rejected

    spacing: Sizes.buttonGap

    PushButton {
        id: cancel
        accessibleId: "Button_cancel"
        text: qsTr("Cancel")
        onClicked: root.rejected()
    }

    PushButton {
        id: confirm
        accessibleId: "Button_confirm"
        buttonType: "BlueButton"
        text: qsTr("Confirm")
        onClicked: root.accepted()
    }
}
