// The large picture of the frame under the slider, with its application below, and the choice of a
// part of it to read.
import QtQuick 2.12
import "basecomponent"

FocusScope {
    id: root

    property QtObject page
    property QtObject timeAxis
    property string source
    property string iconSource
    property string appName
    property int iconSize

    readonly property int toolBarHeight: Sizes.atLeast(36, Sizes.h(40))
    readonly property int toolBarMargin: Sizes.h(20)
    readonly property real screenshotScaleFactor: image.implicitWidth > 0
        ? Math.min(area.width / image.implicitWidth, area.height / image.implicitHeight) : 1

    property bool screenCaptureVisible: false
    property bool allTextBoxVisible: false

    // A picture of the axis is named by the slot of the preview until it is to be read. The name of a
    // hit may stand for another picture since a later search: what is read is what is shown.
    function captureRegion() {
        if (page.ocrImageType === 1)
            page.ocrImageId = VideoPreviewItem.curShowImageSource
        timeAxis.showBigPicture(page.ocrImageId)
        screenCaptureVisible = true
        screenCapture.reset()
        page.searchBoxUsable = false
        keepSlider()
        screenCapture.forceActiveFocus()
    }

    // One that has left the page stands at a place of the page, no longer on its frame.
    function keepSlider() {
        var onItsFrame = timeAxis.sliderShown
        timeAxis.operatingTimeAxis()
        if (onItsFrame)
            timeAxis.saveClickImageContentX()
    }

    function leaveRegion() {
        screenCaptureVisible = false
        allTextBoxVisible = false
        page.searchBoxUsable = true
        VideoInfo.cancelRecognizeTextInImage(screenCapture.taskID)
    }

    function dropRegion() {
        if (!screenCaptureVisible)
            return
        VideoInfo.clearRecognizingTextResult()
        allTextBox.clear()
        screenCapture.setCorners(0, 0, 0, 0)
    }

    onVisibleChanged: { // everything was deleted meanwhile
        if (!visible && screenCaptureVisible)
            leaveRegion()
    }
    onScreenshotScaleFactorChanged: dropRegion()

    Keys.onEscapePressed: {
        if (screenCaptureVisible)
            returnButton.clicked()
        else
            event.accepted = false
    }

    Connections {
        target: root.page
        function onScreenWidthChanged() { root.dropRegion() }
        function onScreenHeightChanged() { root.dropRegion() }
        function onOcrResultReturnedChanged() {
            if (root.page.ocrResultReturned && root.allTextBoxVisible)
                allTextBox.forceActiveFocus()
        }
    }

    Item {
        id: area
        anchors.horizontalCenter: parent.horizontalCenter
        y: Sizes.h(30)
        width: parent.width * 0.8
        height: Math.max(0, parent.height - y - root.toolBarMargin - root.toolBarHeight - Sizes.h(20))
    }

    Rectangle {
        id: mount
        anchors.centerIn: area
        visible: image.status === Image.Ready
        width: Math.round(image.implicitWidth * root.screenshotScaleFactor) + 2
        height: Math.round(image.implicitHeight * root.screenshotScaleFactor) + 2
        color: Theme.base

        SoftShadow {
            anchors.fill: parent
            z: -1
            radius: 4
        }

        Image {
            id: image
            anchors.fill: parent
            anchors.margins: 1
            source: root.source
            cache: false
            fillMode: Image.PreserveAspectFit
            Accessible.role: Accessible.Graphic
            Accessible.name: "tavel-ai-yestermark_Image_screenshot"
            Accessible.description: root.appName
        }

        Rectangle {
            anchors.fill: parent
            color: "transparent"
            border.width: 1
            border.color: Theme.pictureEdge
        }
    }

    ScreenCapture {
        id: screenCapture
        x: mount.x + 1
        y: mount.y + 1
        width: image.width + 1
        height: image.height
        visible: root.screenCaptureVisible
        page: root.page
        pictureScale: root.screenshotScaleFactor
        onChoosing: allTextBox.clear()
        onChosen: {
            allTextBox.clear()
            root.allTextBoxVisible = true
        }
    }

    AllTextBox {
        id: allTextBox
        x: screenCapture.x + screenCapture.part.x
        y: screenCapture.y + screenCapture.part.y
        width: screenCapture.part.width
        height: screenCapture.part.height
        visible: root.allTextBoxVisible && width > 0 && height > 0
        pictureScale: root.screenshotScaleFactor
        screenScale: root.page.screenScale
    }

    PictureToolBar {
        id: toolBar
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: area.bottom
        anchors.topMargin: root.toolBarMargin
        visible: mount.visible && !root.screenCaptureVisible
        height: root.toolBarHeight
        iconSource: root.iconSource
        appName: root.appName
        iconSize: root.iconSize
        maximumNameWidth: area.width / 2
        onRegionRequested: root.captureRegion()
    }

    PushButton {
        id: returnButton
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: area.bottom
        anchors.topMargin: root.toolBarMargin
        visible: root.screenCaptureVisible
        height: root.toolBarHeight
        radius: Sizes.barRadius
        accessibleId: "Button_return"
        text: qsTr("Return")
        font.pixelSize: Sizes.pageFont
        onClicked: {
            root.leaveRegion()
            toolBar.takeFocus(focusReason)
        }
    }
}
