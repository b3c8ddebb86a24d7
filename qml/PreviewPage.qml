// The past: the axis, the large picture below it, the small one over both.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    property QtObject page
    property alias timeAxis: timeAxis

    TimeAxis {
        id: timeAxis
        y: Sizes.h(10)
        width: root.width
        height: implicitHeight
        focus: true
        visible: !infoPage.screenCaptureVisible
        page: root.page
    }

    Image {
        anchors.centerIn: parent
        visible: timeAxis.contentWidth === 0
        source: "qrc:/image/taskbarappicon.svg"
        width: Sizes.h(96)
        height: width
        sourceSize: Qt.size(width, height)
        opacity: 0.25
    }

    ShowImageInfoPage {
        id: infoPage
        page: root.page
        timeAxis: timeAxis
        anchors.top: timeAxis.bottom
        anchors.bottom: parent.bottom
        width: root.width
        visible: timeAxis.contentWidth > 0
        source: timeAxis.showImgInfoPageImgSource
        iconSource: timeAxis.bigPreviewItemIconSource
        appName: timeAxis.bigPreviewItemAppName
        iconSize: Sizes.appIcon
    }

    PreviewImage {
        readonly property real previewImgBackX: timeAxis.globalMouseX - width / 2

        x: Math.max(Sizes.gap, Math.min(previewImgBackX, root.width - width - Sizes.gap))
        anchors.top: timeAxis.bottom
        anchors.topMargin: Sizes.h(16)
        visible: timeAxis.previewImgVisible
        screenWidth: root.page.screenWidth
        iconSize: Sizes.appIcon
    }
}
