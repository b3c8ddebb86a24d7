// What closing the window shall do this time; the answer is not kept.
import QtQuick 2.12
import "basecomponent"

DialogWindow {
    id: root

    property bool minimizeState

    signal done

    width: 400
    height: content.height + 2 * Sizes.dialogMargin
    title: qsTr("Please select the state after closing:")
    firstFocus: minimizeButton.checked ? minimizeButton : exitButton

    function confirm() {
        done()
        if (minimizeButton.checked)
            CustomTitleBar.hideTheWindow()
        else
            CustomTitleBar.closeTheWindow()
    }

    onVisibleChanged: {
        if (visible) {
            minimizeButton.checked = minimizeState
            exitButton.checked = !minimizeState
        }
    }
    onConfirmed: confirm()
    onDismissed: done()

    Column {
        id: content
        x: Sizes.dialogMargin
        y: Sizes.dialogMargin
        width: parent.width - 2 * x
        spacing: Sizes.margin

        BodyText {
            width: parent.width
            text: qsTr("Please select the state after closing:")
            font.weight: Font.DemiBold
            wrapMode: Text.Wrap
        }

        Column {
            width: parent.width
            spacing: 4

            CustomRadioButton {
                id: minimizeButton
                accessibleId: "RadioButton_minimize"
                width: Math.min(implicitWidth, parent.width)
                text: qsTr("Minimize to tray")
            }
            CustomRadioButton {
                id: exitButton
                accessibleId: "RadioButton_exit"
                width: Math.min(implicitWidth, parent.width)
                text: qsTr("Exit program")
            }
        }

        DialogButtons {
            anchors.right: parent.right
            onRejected: root.done()
            onAccepted: root.confirm()
        }
    }
}
