// The AI runtime is missing: leads to where it is installed.
import QtQuick 2.12
import "basecomponent"
import org.vesk.qqc2style.private 1.0 as StylePrivater

DialogWindow {
    id: root

    readonly property int textWidth: 380

    signal done

    width: textWidth + icon.width + Sizes.margin + 2 * Sizes.dialogMargin
    height: content.height + 2 * Sizes.dialogMargin
    title: qsTr("AI service unavailable")
    firstFocus: goNow

    function goToInstallation() {
        VideoInfo.openSubsystemInstallPage()
        done()
    }

    onConfirmed: goToInstallation()
    onDismissed: done()

    Column {
        id: content
        x: Sizes.dialogMargin
        y: Sizes.dialogMargin
        width: parent.width - 2 * x
        spacing: Sizes.dialogMargin

        Row {
            spacing: Sizes.margin

            StylePrivater.TavelIcon {
                id: icon
                name: "dialog-warning"
                size: 32
            }

            Column {
                width: root.textWidth
                spacing: Sizes.gap

                BodyText {
                    width: parent.width
                    text: qsTr("AI service unavailable")
                    font.pixelSize: Sizes.headingFont
                    font.weight: Font.DemiBold
                }

                BodyText {
                    width: parent.width
                    text: qsTr("The AI subsystem was not detected, and the AI service of the application cannot be used. Please go to the System Settings > AI Module Management page to install.")
                    wrapMode: Text.Wrap
                    lineHeight: 1.2
                }
            }
        }

        Row {
            anchors.right: parent.right
            spacing: Sizes.buttonGap

            PushButton {
                accessibleId: "Button_cancel"
                text: qsTr("Cancel")
                onClicked: root.done()
            }

            PushButton {
                id: goNow
                accessibleId: "Button_goNow"
                buttonType: "BlueButton"
                text: qsTr("Go Now")
                onClicked: root.goToInstallation()
            }
        }
    }
}
