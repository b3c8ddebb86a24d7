// What the axis shows beside the pointer while no button is held: the preview of the frame under it.
import QtQuick 2.12

QtObject {
    id: root

    property Item axis
    property Item days

    function hoverAt(position) {
        var content = position - axis.listViewLeftMargin + axis.contentX
        var row = axis.isInList(position) ? days.indexAt(content, axis.timeAxisHeight / 2) : -1
        var day = row >= 0 ? days.dayAt(content, axis.timeAxisHeight / 2) : null
        var bar = day ? day.barAt(content - day.x) : -1
        if (bar < 0) {
            leaveBar()
            return
        }
        if (days.hoveredRow !== row || days.hoveredBar !== bar)
            leaveBar()
        days.hoveredRow = row
        days.hoveredBar = bar
        axis.globalMouseX = position
        axis.preImageId += 1
        VideoInfo.showPreviewImageItem(row, bar, day.offsetInBar(bar, content - day.x),
                                       axis.preImageId)
        axis.previewImgVisible = !VideoInfo.isPreviewImgEmpty()
    }

    function leaveBar() {
        if (days.hoveredRow < 0)
            return
        days.hoveredRow = -1
        days.hoveredBar = -1
        hidePreview()
    }

    function hidePreview() {
        axis.previewImgVisible = false
        axis.preImageId = 0
        axis.clearCurShowImgId()
    }

    function showMinPreviewImageByPos(position) {
        axis.globalMouseX = position
        var listViewBackX = Math.min(position - axis.listViewLeftMargin, axis.listViewWidth - 1)
        var day = axis.dayPosition(listViewBackX + axis.contentX)
        if (day === null)
            return
        VideoInfo.showPreviewImageItem(day.row, day.dayAllAppX, axis.curShowImgId)
        axis.previewImgVisible = !VideoInfo.isPreviewImgEmpty()
    }
}
