// What closing the window does, how much space the history may take, and its deletion.
import QtQuick 2.12
import "basecomponent"

DialogWindow {
    id: root

    property bool minimizeState
    readonly property var sizesInGigabytes: [5, 10, 15]

    signal minimizeStateChosen(bool minimize)
    signal deleteAllDataRequested
    signal done

    width: 800
    height: 500
    title: qsTr("Settings")
    firstFocus: minimizeButton.checked ? minimizeButton : exitButton

    function readState() {
        minimizeButton.checked = minimizeState
        exitButton.checked = !minimizeState
        space.currentIndex = sizesInGigabytes.indexOf(VideoInfo.getMaxOccupiedSpace())
    }

    function confirm() {
        if (minimizeButton.checked !== minimizeState) {
            CustomTitleBar.setCloseWindowOption(minimizeButton.checked)
            minimizeStateChosen(minimizeButton.checked)
        }
        if (space.currentIndex >= 0)
            VideoInfo.setMaxOccupiedSpace(parseInt(space.currentText))
        done()
    }

    onVisibleChanged: {
        if (visible)
            readState()
    }
    onConfirmed: confirm()
    onDismissed: done()

    DialogTitle {
        width: parent.width
        onCloseRequested: root.done()
    }

    Column {
        x: 2 * Sizes.dialogMargin
        y: 64
        width: parent.width - 2 * x
        spacing: Sizes.margin

        SettingsHeading { text: qsTr("General") }

        SettingsCard {
            width: parent.width

            SettingsLine {
                width: parent.width
                text: qsTr("Close Window")

                CustomRadioButton {
                    id: minimizeButton
                    accessibleId: "RadioButton_minimize"
                    width: Math.min(implicitWidth, 220)
                    text: qsTr("Minimize to tray")
                }
                CustomRadioButton {
                    id: exitButton
                    accessibleId: "RadioButton_exit"
                    width: Math.min(implicitWidth, 220)
                    text: qsTr("Exit program")
                }
            }
        }

        SettingsHeading { text: qsTr("Screenshot") }

        SettingsCard {
            width: parent.width

            SettingsLine {
                width: parent.width
                text: qsTr("Maximum Space Occupancy")

                ComboBoxItem {
                    id: space
                    accessibleId: "ComboBox_maxSpace"
                }
            }

            Rectangle {
                x: Sizes.margin
                width: parent.width - 2 * x
                height: 1
                color: Theme.line
            }

            DeleteDataButton {
                x: Sizes.margin - leftPadding
                onClicked: root.deleteAllDataRequested()
            }
        }
    }

    DialogButtons {
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: Sizes.dialogMargin
        onRejected: root.done()
        onAccepted: root.confirm()
    }
}
