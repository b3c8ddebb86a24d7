// What the axis does when its content or its place changes: until the user operates it, it follows
// the newest frame; afterwards the slider stays on the frame that it was put on.
import QtQuick 2.12

QtObject {
    id: root

    property Item axis
    property Item days
    property bool adjusting: false // the axis moves itself: the picture follows once, at the end

    // Where the slider was put, in runs: pixels of the content move with the widths of the dates.
    property Item savedDay
    property real savedDayX: 0

    function getIndicatorX() {
        return Math.min(axis.contentWidth, axis.listViewWidth) + axis.listViewLeftMargin
            - axis.upIndicator.width / 2
    }

    function updateContentXAndIndicator() {
        if (!axis.following)
            return
        axis.upIndicator.x = getIndicatorX()
        axis.contentX = Math.max(0, axis.flickableMaxContentX)
    }

    function getBigPreviewImage() {
        if (!axis.following || axis.listViewWidth <= 0)
            return
        axis.curShowImgId += 1
        var centre = axis.indicatorContentX()
        // The list ends one short.
        axis.showCurShowImageAt(centre === axis.contentWidth ? centre - 1 : centre)
    }

    function followNewest() {
        if (adjusting || axis.listViewWidth <= 0)
            return
        adjusting = true
        updateContentXAndIndicator()
        adjusting = false
        Qt.callLater(getBigPreviewImage) // a frame is told of before its row is stored
    }

    // The list takes up changes of its model late; the newest frame is shown as soon as it can be.
    function takeUpModel() {
        adjusting = true
        days.layOut()
        adjusting = false
        contentGrew()
    }

    function saveFrame() {
        savedDay = days.dayAt(axis.clickImageFlickableContentX, axis.timeAxisHeight / 2)
        if (savedDay)
            savedDayX = axis.clickImageFlickableContentX - savedDay.x - savedDay.dateNameBackWidth
    }

    // The page goes along, so that the slider stays in view.
    function recallFrame() {
        if (adjusting || !savedDay)
            return
        var moved = savedDay.x + savedDay.dateNameBackWidth + savedDayX
            - axis.clickImageFlickableContentX
        if (moved === 0)
            return
        axis.clickImageFlickableContentX += moved
        axis.contentX = Math.max(0, Math.min(axis.contentX + moved, axis.flickableMaxContentX))
        keepIndicatorOnFrame()
    }

    function keepIndicatorOnFrame() {
        var tmpX = axis.clickImageFlickableContentX - axis.contentX
        if (tmpX < 0 || tmpX > axis.listViewWidth)
            return
        axis.globalMouseX = tmpX + axis.listViewLeftMargin
        axis.updateIndicatorX()
    }

    function placeIndicator() {
        if (axis.following)
            updateContentXAndIndicator()
        else
            keepIndicatorOnFrame()
    }

    function contentMoved() {
        if (!axis.following)
            keepIndicatorOnFrame()
        else if (!adjusting)
            getBigPreviewImage()
    }

    function contentGrew() {
        if (axis.following) {
            followNewest()
            return
        }
        recallFrame()
        if (!adjusting && axis.contentX > Math.max(0, axis.flickableMaxContentX))
            axis.contentX = Math.max(0, axis.flickableMaxContentX)
    }

    property Connections changes: Connections {
        target: VideoInfo
        function onDayAppModelChanged() { root.takeUpModel() }
    }
}
