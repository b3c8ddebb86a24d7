// Asks before everything is deleted. The keyboard starts on the way back.
import QtQuick 2.12
import "basecomponent"
import org.vesk.qqc2style.private 1.0 as StylePrivater

DialogWindow {
    id: root

    property QtObject timeAxis

    signal deleted

    width: 424
    height: content.height + 2 * Sizes.dialogMargin
    title: qsTr("Delete All Data")
    firstFocus: buttons.cancelButton

    function confirm() {
        visible = false
        timeAxis.showImgInfoPageImgSource = ""
        timeAxis.isDeleteAllData = true
        VideoInfo.clearUserData(4)
        deleted()
    }

    onConfirmed: confirm()
    onDismissed: visible = false

    Column {
        id: content
        x: Sizes.dialogMargin
        y: Sizes.dialogMargin
        width: parent.width - 2 * x
        spacing: Sizes.dialogMargin

        Row {
            width: parent.width
            spacing: Sizes.margin

            StylePrivater.TavelIcon {
                id: icon
                name: "dialog-warning"
                size: 32
            }

            BodyText {
                width: parent.width - icon.width - parent.spacing
                text: qsTr("Are you sure you want to delete all data? After deletion, it cannot be restored.")
                wrapMode: Text.Wrap
                lineHeight: 1.2
            }
        }

        DialogButtons {
            id: buttons
            anchors.right: parent.right
            onRejected: root.visible = false
            onAccepted: root.confirm()
        }
    }
}
