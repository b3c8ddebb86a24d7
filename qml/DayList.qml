// The days side by side, in a flickable that only the axis moves.
import QtQuick 2.12

Flickable {
    id: root

    property alias model: days.model
    property real barTop
    property int barHeight
    property int iconSize
    property int hoveredRow: -1
    property int hoveredBar: -1

    // While days come in and the view moves along, what is in view stays so; else all of its runs
    // would be thrown away and made again.
    property bool held: false

    // A list makes what lies within its width, so every day is there and the content's width is exact
    // instead of estimated. Enough for four million frames; days beyond them would be missed.
    readonly property int listWidth: 1 << 25

    interactive: false
    clip: true
    pixelAligned: true
    contentWidth: days.count > 0 ? days.contentWidth : 0
    contentHeight: height

    /// Takes up changes of the model at once.
    function layOut() {
        days.forceLayout()
    }

    function indexAt(x, y) {
        return days.indexAt(x, y)
    }

    function dayAt(x, y) {
        return days.itemAt(x, y)
    }

    ListView {
        id: days

        width: root.listWidth
        height: root.height
        orientation: ListView.Horizontal
        interactive: false
        cacheBuffer: Math.max(root.width * 4, 0)

        delegate: DayItem {
            height: root.height
            dateText: date
            runs: appModel
            inView: root.held ? wasInView
                              : x < root.contentX + root.width && x + width > root.contentX
            nearby: root.held ? wasNearby
                              : x < root.contentX + 2 * root.width
                                && x + width > root.contentX - root.width
            hoveredBar: index === root.hoveredRow ? root.hoveredBar : -1
            barTop: root.barTop
            barHeight: root.barHeight
            iconSize: root.iconSize
        }
    }
}
