// The clock stands before the newest frame: which of the two shall give way.
import QtQuick 2.12
import "basecomponent"
import org.vesk.qqc2style.private 1.0 as StylePrivater

DialogWindow {
    id: root

    property QtObject timeAxis

    signal done
    signal deleted

    width: Math.max(Sizes.w(452), Math.ceil(buttons.width) + 2 * Sizes.dialogMargin)
    height: content.height + 2 * Sizes.dialogMargin
    title: qsTr("Detected that the system time has been changed")
    firstFocus: adjustTime

    function deleteHistory() {
        VideoInfo.deleteHistory()
        timeAxis.isDeleteAllData = true
        done()
        deleted()
    }

    function adjust() {
        VideoInfo.adjustSystemTime()
        done()
    }

    onConfirmed: adjust()
    onDismissed: done()

    Column {
        id: content
        x: Sizes.dialogMargin
        y: Sizes.dialogMargin
        width: parent.width - 2 * x
        spacing: Sizes.margin

        Row {
            width: parent.width
            spacing: 12

            StylePrivater.TavelIcon {
                id: icon
                name: "dialog-warning"
                size: 24
            }

            BodyText {
                width: parent.width - icon.width - parent.spacing
                text: qsTr("Detected that the system time has been changed")
                font.pixelSize: Sizes.headingFont
                font.weight: Font.DemiBold
                wrapMode: Text.Wrap
            }
        }

        BodyText {
            width: parent.width
            text: qsTr("Due to the system time being modified to a date earlier than the latest memory, there is a conflict in the current timeline and the memory has been paused. To avoid this conflict, please choose a handling method:")
            wrapMode: Text.Wrap
            lineHeight: 1.2
        }

        Column {
            width: parent.width
            spacing: 4

            BodyText {
                width: parent.width
                text: qsTr("·Delete historical memory: Delete data and restart recording.")
                wrapMode: Text.Wrap
                color: Theme.faintText
            }

            BodyText {
                width: parent.width
                text: qsTr("·Adjust system time: Manually adjust the system time, retain historical data and continue recording.")
                wrapMode: Text.Wrap
                color: Theme.faintText
            }
        }

        Row {
            id: buttons
            anchors.right: parent.right
            spacing: Sizes.buttonGap

            PushButton {
                accessibleId: "Button_deleteHistory"
                text: qsTr("Delete History")
                onClicked: root.deleteHistory()
            }

            PushButton {
                id: adjustTime
                accessibleId: "Button_adjustTime"
                buttonType: "BlueButton"
                text: qsTr("Adjust Time")
                onClicked: root.adjust()
            }
        }
    }
}
