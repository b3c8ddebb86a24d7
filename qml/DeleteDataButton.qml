// Leads to the deletion of the whole history.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

T.Button {
    id: root

    implicitWidth: row.implicitWidth + leftPadding + rightPadding
    implicitHeight: 44
    leftPadding: Sizes.gap
    rightPadding: Sizes.gap
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    text: qsTr("Delete All Data")

    Accessible.role: Accessible.Button
    Accessible.name: "tavel-ai-yestermark_Button_deleteAllData"
    Accessible.description: text

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Row {
            id: row
            anchors.verticalCenter: parent.verticalCenter
            spacing: Sizes.gap

            Image {
                anchors.verticalCenter: parent.verticalCenter
                source: "qrc:/image/outline.svg"
                sourceSize: Qt.size(Sizes.smallIcon, Sizes.smallIcon)
            }

            BodyText {
                anchors.verticalCenter: parent.verticalCenter
                text: root.text
                color: root.pressed ? Theme.dangerPressed
                                    : root.hovered ? Theme.dangerHover : Theme.danger
                Accessible.ignored: true
            }
        }
    }

    background: Item {
        FocusFrame {
            control: root
            anchors.margins: 4
        }
    }
}
