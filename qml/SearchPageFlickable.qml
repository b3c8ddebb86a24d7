// One list of hits, four rows at a time. It asks for more when it comes to its end, and for what is
// missing when it comes on show.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

Flickable {
    id: root

    property alias model: grid.model
    readonly property alias count: grid.count
    property int searchImageType // 2: hits of the text, 3: hits of the picture
    property string searchText
    property bool noResult: false
    readonly property int firstRows: 30

    signal chosen(QtObject hit)
    signal emptyClicked

    width: grid.width
    height: 4 * grid.cellHeight
    contentHeight: grid.height
    boundsBehavior: Flickable.StopAtBounds
    interactive: contentHeight > height
    clip: true

    function showMore() {
        VideoInfo.clearSearchTask()
        if (searchImageType === 2)
            VideoInfo.continueShowTextSearchResult(searchText)
        else
            VideoInfo.continueShowImageSearchResult(searchText)
    }

    function focusHits() {
        if (count > 0)
            grid.forceActiveFocus(Qt.TabFocusReason)
    }

    function bringIntoView(top) {
        if (top < contentY)
            contentY = top
        else if (top + grid.cellHeight > contentY + height)
            contentY = Math.min(top + grid.cellHeight, contentHeight) - height
    }

    onVisibleChanged: {
        if (visible && count < firstRows)
            showMore()
    }
    onAtYEndChanged: {
        // A list that a new search just emptied stands at its end as well.
        if (visible && atYEnd && contentHeight > height)
            showMore()
    }
    onCountChanged: {
        if (count === 0)
            contentY = 0
    }

    T.ScrollBar.vertical: ScrollBarItem {
        accessibleId: "ScrollBar_" + grid.hitName + "s"
    }

    // As high as what is seen, also where there are no hits.
    MouseArea {
        width: root.width
        height: Math.max(root.height, root.contentHeight)
        onClicked: root.emptyClicked()
    }

    SearchPageGridView {
        id: grid
        searchImageType: root.searchImageType
        seenTop: root.contentY
        seenHeight: root.height
        onChosen: root.chosen(hit)
        onCurrentMoved: root.bringIntoView(top)
    }

    NoSearchResult { // in the middle of the page
        parent: root
        x: root.parent.width / 2 - root.x - width / 2
        y: (root.height - height) / 2
        visible: root.noResult && root.count === 0
    }
}
