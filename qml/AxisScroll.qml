// How the axis moves under its window: by steps and pages, into older days, to a frame of a day.
import QtQuick 2.12

QtObject {
    id: root

    property Item axis
    property Item days
    property QtObject follower

    function scrollTo(target) {
        axis.contentX = Math.max(0, Math.min(target, axis.flickableMaxContentX))
    }

    // Older days come in on the left; what the eye rests on stays where it is.
    function showPreDayAppData() {
        var before = axis.contentWidth
        follower.adjusting = true
        days.held = true
        VideoInfo.showPreDayAppData()
        days.layOut()
        var added = axis.contentWidth - before
        axis.clickImageFlickableContentX += added
        axis.contentX += added
        days.held = false
        follower.adjusting = false
    }

    function wheelTimeAxis(delta) {
        if (delta > 0)
            moveBack(axis.moveSpace, axis.listViewWidth)
        else if (delta < 0)
            scrollTo(axis.contentX + axis.moveSpace)
    }

    function lastPage() {
        moveBack(axis.listViewWidth, 2 * axis.listViewWidth)
    }

    function nextPage() {
        scrollTo(axis.contentX + axis.listViewWidth)
    }

    function moveBack(distance, reserve) {
        if (axis.contentX - distance < 0) {
            axis.contentX = 0
            return
        }
        axis.contentX -= distance
        if (axis.contentX < reserve)
            showPreDayAppData()
    }

    // A row that is not there is beyond the last one.
    function getPreviousDayAppWidth(dateIndex) {
        var sum = 0
        for (var row = days.indexAt(0, 0); row !== -1; row = days.indexAt(sum, 0)) {
            var day = days.dayAt(sum, 0)
            if (row === dateIndex)
                return sum + day.dateNameBackWidth
            sum += day.width
        }
        return sum
    }

    function setFlickableContentX(x) {
        var mid = x - axis.listViewWidth / 2
        axis.contentX = Math.max(0, Math.min(mid, axis.flickableMaxContentX))
        axis.moveIndicator(x - axis.contentX)
        axis.saveClickImageContentX()
    }
}
