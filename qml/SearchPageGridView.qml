// The hits in six columns. All cards are there: what scrolls is the page around them.
import QtQuick 2.12
import "basecomponent"

// An Item for its role: a Control would keep the one that is given to it from a screen reader.
Item {
    id: root

    property alias model: grid.model
    property int count: 0 // of the model; the view takes up changes late
    property int searchImageType
    property real seenTop: 0
    property real seenHeight: 4 * cellHeight
    readonly property int columns: 6
    readonly property int cellWidth: Sizes.w(290)
    readonly property int cellHeight: Sizes.h(214)
    readonly property string hitName: searchImageType === 2 ? "textHit" : "imageHit"

    signal chosen(QtObject hit)
    signal currentMoved(real top)

    width: columns * cellWidth
    height: Math.ceil(count / columns) * cellHeight
    visible: count > 0
    activeFocusOnTab: true

    Accessible.role: Accessible.List
    Accessible.name: "tavel-ai-yestermark_List_" + hitName + "s"
    Accessible.focusable: true

    function takeCount() {
        count = model ? model.rowCount() : 0
    }

    onModelChanged: takeCount()

    Connections {
        target: root.model
        ignoreUnknownSignals: true
        function onRowsInserted() { root.takeCount() }
        function onRowsRemoved() { root.takeCount() }
        function onModelReset() { root.takeCount() }
    }

    function moveTo(index) {
        grid.currentIndex = Math.max(0, Math.min(index, count - 1))
        currentMoved(Math.floor(grid.currentIndex / columns) * cellHeight)
    }

    function moveBy(step) {
        var index = grid.currentIndex + step
        if (index >= 0 && index < count)
            moveTo(index)
        else if (Math.abs(step) > columns)
            moveTo(index)
    }

    function chooseCurrent() {
        if (grid.currentItem)
            chosen(grid.currentItem.hit)
    }

    Keys.onLeftPressed: moveBy(-1)
    Keys.onRightPressed: moveBy(1)
    Keys.onUpPressed: moveBy(-columns)
    Keys.onDownPressed: moveBy(columns)
    Keys.onReturnPressed: chooseCurrent()
    Keys.onEnterPressed: chooseCurrent()
    Keys.onSpacePressed: chooseCurrent()
    Keys.onPressed: {
        if (event.key === Qt.Key_PageUp)
            moveBy(-4 * columns)
        else if (event.key === Qt.Key_PageDown)
            moveBy(4 * columns)
        else if (event.key === Qt.Key_Home)
            moveTo(0)
        else if (event.key === Qt.Key_End)
            moveTo(count - 1)
        else
            return
        event.accepted = true
    }

    GridView {
        id: grid
        anchors.fill: parent
        interactive: false
        flow: GridView.FlowLeftToRight
        layoutDirection: Qt.LeftToRight
        cellWidth: root.cellWidth
        cellHeight: root.cellHeight
        keyNavigationEnabled: false

        delegate: SearchResultCard {
            hit: modelData
            accessibleId: "ListItem_" + root.hitName + index
            nearby: y + height > root.seenTop - root.seenHeight
                    && y < root.seenTop + 2 * root.seenHeight
            hasFocusRing: root.activeFocus && GridView.isCurrentItem
            onChosen: root.chosen(hit)
        }
    }
}
