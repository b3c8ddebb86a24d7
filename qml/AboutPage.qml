// Name, version and support address.
import QtQuick 2.12
import "basecomponent"

DialogWindow {
    id: root

    property string supportAddress: Configuration.supportAddress
    property string version

    signal done

    width: 420
    height: 340
    title: qsTr("About")

    onVisibleChanged: {
        if (visible && version === "")
            version = VideoInfo.getYestermarkVersion()
    }
    onConfirmed: done()
    onDismissed: done()

    DialogTitle {
        width: parent.width
        onCloseRequested: root.done()
    }

    Column {
        anchors.centerIn: parent
        anchors.verticalCenterOffset: Sizes.gap
        width: parent.width - 2 * Sizes.dialogMargin
        spacing: Sizes.gap

        Image {
            anchors.horizontalCenter: parent.horizontalCenter
            source: "qrc:/image/taskbarappicon.svg"
            sourceSize: Qt.size(96, 96)
        }

        BodyText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Yestermark")
            font.pixelSize: Math.round(Sizes.dialogFont * 1.6)
            font.weight: Font.DemiBold
        }

        BodyText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Version:") + root.version
            color: Theme.faintText
        }

        BodyText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Service & Support:") + root.supportAddress
            color: Theme.faintText
            wrapMode: Text.Wrap
        }
    }
}
