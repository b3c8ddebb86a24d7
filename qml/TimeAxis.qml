// The time axis: days and runs side by side, the slider on them, and the way from a pixel to a frame.
// Positions are of three kinds: in this item (globalMouseX), in the list's visible part (without the
// left margin) and in the list's content (with contentX).
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

Item {
    id: root

    property QtObject page
    property alias contentX: flickable.contentX
    property alias contentWidth: flickable.contentWidth
    property alias upIndicator: slider.upIndicator

    // Geometry
    readonly property int timeAxisHeight: Sizes.h(8)
    readonly property int timeAxisBackHeight: Sizes.h(16)
    readonly property int barTop: Sizes.h(28)
    readonly property int iconSize: Sizes.appIcon
    readonly property int listViewWidth: Math.round(width - 100 * Sizes.widthScaleFactor)
    readonly property real listViewLeftMargin: (width - listViewWidth) / 2
    readonly property real moveSpace: listViewWidth / 14
    readonly property real flickableMaxContentX: contentWidth - listViewWidth

    // State
    property real globalMouseX: 0
    property int preImageId: 0
    property int curShowImgId: 0
    property bool operateTimeAxis: false
    property bool isDeleteAllData: false
    property bool previewImgVisible: false
    property real clickImageFlickableContentX: 0
    property string showImgInfoPageImgSource
    property string bigPreviewItemIconSource
    property string bigPreviewItemAppName

    readonly property real savedVisibleX: clickImageFlickableContentX - contentX
    readonly property bool sliderShown: contentWidth > 0
        && (following || savedVisibleX >= 0 && savedVisibleX <= listViewWidth)
    readonly property bool following: !operateTimeAxis || isDeleteAllData

    implicitHeight: Sizes.h(64)

    function takeFocus() {
        pane.forceActiveFocus()
    }

    // What the user did

    function operatingTimeAxis() {
        operateTimeAxis = true
        isDeleteAllData = false
    }

    function clickAt(position) {
        operatingTimeAxis()
        previewImgVisible = false
        curShowImgId += 1
        dragTo(position)
    }

    function dragTo(position) {
        globalMouseX = position
        if (!isInList(position))
            return
        updateIndicatorX()
        saveClickImageContentX()
        showCurShowImageByPos()
    }

    function hoverAt(position) {
        hover.hoverAt(position)
    }

    function leaveBar() {
        hover.leaveBar()
    }

    function showMinPreviewImageByPos(position) {
        hover.showMinPreviewImageByPos(position)
    }

    function clearCurShowImgId() {
        if (curShowImgId === 1000)
            curShowImgId = 0
    }

    function stepIndicator(frames) {
        putIndicator(indicatorContentX() + frames * Sizes.axisFrame)
    }

    function putIndicator(position) {
        var content = Math.max(0, Math.min(contentWidth - 1, position))
        if (content < contentX || content > contentX + listViewWidth)
            scroll.scrollTo(content - listViewWidth / 2)
        clickAt(content - contentX + listViewLeftMargin)
    }

    // From a pixel to a frame

    function isInList(position) {
        return position >= listViewLeftMargin && position <= listViewLeftMargin + listViewWidth
    }

    function dayPosition(content) {
        var row = flickable.indexAt(content, timeAxisHeight / 2)
        if (row === -1)
            return null
        var day = flickable.dayAt(content, timeAxisHeight / 2)
        return { row: row, dayAllAppX: content - day.x - day.dateNameBackWidth }
    }

    function showCurShowImageByPos() {
        showCurShowImageAt(globalMouseX - listViewLeftMargin + contentX)
    }

    function showCurShowImageAt(content) {
        var position = dayPosition(content)
        if (position === null)
            return
        VideoInfo.showCurShowImageItem(position.row, position.dayAllAppX, curShowImgId)
        setBigPreviewItemIconAndAppName(VideoPreviewItem.curShowAppIcon,
                                        VideoPreviewItem.curShowAppName)
        showBigPicture(VideoPreviewItem.curShowImageSource)
        page.ocrImageType = 1
        page.ocrImageId = VideoPreviewItem.videoPreviewImageSource
    }

    function setBigPreviewItemIconAndAppName(icon, appName) {
        bigPreviewItemIconSource = icon
        bigPreviewItemAppName = appName
    }

    // A drag keeps the image's number, so an equal source stands for another picture.
    function showBigPicture(source) {
        showImgInfoPageImgSource = ""
        if (source !== "")
            showImgInfoPageImgSource = "image://" + source
    }

    // The slider

    function indicatorContentX() {
        return upIndicator.x + upIndicator.width / 2 - listViewLeftMargin + contentX
    }

    function moveIndicator(visibleX) {
        upIndicator.x = visibleX + listViewLeftMargin - upIndicator.width / 2
    }

    function updateIndicatorX() {
        if (isInList(globalMouseX) && globalMouseX - listViewLeftMargin <= contentWidth)
            moveIndicator(globalMouseX - listViewLeftMargin)
    }

    function saveClickImageContentX() {
        clickImageFlickableContentX = indicatorContentX()
        growth.saveFrame()
    }

    // Moving

    function wheelTimeAxis(delta) {
        scroll.wheelTimeAxis(delta)
        pointer.hoverAgain()
    }

    function lastPage() {
        scroll.lastPage()
        pointer.hoverAgain()
    }

    function nextPage() {
        scroll.nextPage()
        pointer.hoverAgain()
    }

    function setListViewContentXByImageInfo(dateIndex, frameLengthOfDay) {
        operatingTimeAxis()
        scroll.setFlickableContentX(frameLengthOfDay + getPreviousDayAppWidth(dateIndex))
    }

    function getPreviousDayAppWidth(dateIndex) {
        return scroll.getPreviousDayAppWidth(dateIndex)
    }

    onContentXChanged: growth.contentMoved()
    onFlickableMaxContentXChanged: growth.contentGrew()
    onListViewWidthChanged: growth.placeIndicator()
    onListViewLeftMarginChanged: growth.placeIndicator()
    Component.onCompleted: growth.takeUpModel()

    AxisHover {
        id: hover
        axis: root
        days: flickable
    }

    AxisGrowth {
        id: growth
        axis: root
        days: flickable
    }

    AxisScroll {
        id: scroll
        axis: root
        days: flickable
        follower: growth
    }

    Keys.onLeftPressed: wheelTimeAxis(1)
    Keys.onRightPressed: wheelTimeAxis(-1)
    Keys.onPressed: {
        if (event.key === Qt.Key_PageUp)
            lastPage()
        else if (event.key === Qt.Key_PageDown)
            nextPage()
        else
            return
        event.accepted = true
    }

    // The axis to the keyboard and to a screen reader. A Pane for its role: a Control would keep the
    // one that is given to it to itself. Below the others: what has the focus in a Pane keeps it.
    T.Pane {
        id: pane
        anchors.fill: parent
        focusPolicy: Qt.StrongFocus

        Accessible.role: Accessible.Pane
        Accessible.name: "tavel-ai-yestermark_Pane_timeAxis"
        Accessible.focusable: true

        FocusFrame {
            control: pane
            anchors.margins: 0
            anchors.leftMargin: root.listViewLeftMargin - 4
            anchors.rightMargin: root.listViewLeftMargin - 4
        }
    }

    DayList {
        id: flickable
        x: root.listViewLeftMargin
        width: Math.max(0, root.listViewWidth)
        height: root.height
        model: VideoInfo.dayAppModel
        barTop: root.barTop
        barHeight: root.timeAxisHeight
        iconSize: root.iconSize
    }

    AxisPointer {
        id: pointer
        y: root.barTop - (root.timeAxisBackHeight - root.timeAxisHeight) / 2
        width: root.width
        height: root.height - y
        onClickedAt: root.clickAt(position)
        onMovedTo: root.dragTo(position)
        onHoveredAt: root.hoverAt(position)
        onLeft: root.leaveBar()
        onWheelTurned: root.wheelTimeAxis(delta)
    }

    TurnPageButton {
        x: root.listViewLeftMargin - width - Sizes.w(4)
        y: root.barTop + (root.timeAxisHeight - height) / 2
        accessibleId: "Button_lastPage"
        iconName: "vesk-start-symbolic"
        toolTip: qsTr("Last Page")
        iconOpacity: root.contentX > 0 ? 1 : 0.3
        onClicked: root.lastPage()
    }

    AxisSlider {
        id: slider
        shown: root.sliderShown
        share: root.contentWidth > 0
               ? Math.max(0, Math.min(1, root.indicatorContentX() / root.contentWidth)) : 0
        barTop: root.barTop
        barHeight: root.timeAxisHeight
        onDragged: root.clickAt(position)
        onPillEntered: root.showMinPreviewImageByPos(position)
        onPillLeft: hover.hidePreview()
        upIndicator.onWidthChanged: growth.placeIndicator()
        onStepped: root.stepIndicator(frames)
        onShareChosen: root.putIndicator(chosen * root.contentWidth)
    }

    TurnPageButton {
        x: root.width - root.listViewLeftMargin + Sizes.w(4)
        y: root.barTop + (root.timeAxisHeight - height) / 2
        accessibleId: "Button_nextPage"
        iconName: "vesk-end-symbolic"
        toolTip: qsTr("Next Page")
        iconOpacity: root.contentX < root.flickableMaxContentX ? 1 : 0.3
        onClicked: root.nextPage()
    }
}
