// Told where a search found nothing.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    implicitWidth: Sizes.w(128)
    implicitHeight: Sizes.h(156)

    Image {
        id: picture
        anchors.horizontalCenter: parent.horizontalCenter
        height: Math.max(0, root.height - tip.height - Sizes.h(4))
        width: height
        source: "qrc:/image/nosearchresult.png"
        sourceSize: Qt.size(256, 256)
        mipmap: true
        Accessible.ignored: true
    }

    BodyText {
        id: tip
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom
        text: qsTr("We couldn't find the results you were looking for")
        font.pixelSize: Sizes.pageFont
        color: Theme.veilText
    }
}
