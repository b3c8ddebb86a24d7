// The screen before the first recording.
import QtQuick 2.12
import "basecomponent"

FocusScope {
    id: root

    signal started

    implicitWidth: Sizes.w(560)
    implicitHeight: Sizes.h(560)

    Column {
        anchors.centerIn: parent
        width: parent.width
        spacing: Sizes.h(16)

        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Sizes.h(96)
            height: Sizes.h(96)
            sourceSize: Qt.size(width, height)
            source: "qrc:/image/taskbarappicon.svg"
        }

        BodyText {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Yestermark")
            font.pixelSize: Sizes.pageTitleFont
            font.weight: Font.DemiBold
        }

        Column {
            width: parent.width
            spacing: Sizes.h(6)

            BodyText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                opacity: 0.55
                font.pixelSize: Sizes.pageFont
                lineHeight: 1.25
                text: qsTr("Yestermark, allowing you to bid farewell to the pain of searching and experience memories like photos")
            }

            BodyText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                opacity: 0.55
                font.pixelSize: Sizes.pageFont
                text: qsTr(" Quickly retrieve everything from your computer!")
            }
        }

        Item {
            width: 1
            height: Sizes.h(16)
        }

        PushButton {
            anchors.horizontalCenter: parent.horizontalCenter
            accessibleId: "Button_start"
            buttonType: "BlueButton"
            text: qsTr("Start")
            focus: true
            implicitWidth: Sizes.atLeast(160, Sizes.w(200))
            implicitHeight: Sizes.atLeast(40, Sizes.h(44))
            font.pixelSize: Sizes.pageFont
            onClicked: root.started()
        }
    }
}
