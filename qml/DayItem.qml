// One day on the axis: its date, then its runs. Its width is summed up from the model, so that it is
// right while the runs themselves are made only where the eye is.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    property string dateText
    property QtObject runs
    property bool nearby: false // a page away at most: its runs are made between other work
    property bool inView: false // its runs are there at once
    property bool wasNearby: false
    property bool wasInView: false
    property int hoveredBar: -1
    property real barTop
    property int barHeight
    property int iconSize

    readonly property int modelDataRole: Qt.UserRole + 1 // the only one that runs have
    readonly property real dateNameBackWidth: dateBox.width
    property int runsWidth: 0

    property QtObject lastRun

    width: dateNameBackWidth + runsWidth

    function measure() {
        var count = runs ? runs.rowCount() : 0
        var sum = 0
        var run = null
        for (var i = 0; i < count; ++i) {
            run = runs.data(runs.index(i, 0), modelDataRole)
            sum += run.timeLength
        }
        lastRun = run
        runsWidth = count > 0 ? sum + (count - 1) * Sizes.axisGap : 0
    }

    /// The run at this distance from the day's left edge, -1 in a gap and on the date.
    function barAt(x) {
        return list.item ? list.item.indexAt(x - dateNameBackWidth, barTop) : -1
    }

    /// Distance from the left edge of that run.
    function offsetInBar(bar, x) {
        return x - dateNameBackWidth - list.item.itemAtIndex(bar).x
    }

    onRunsChanged: measure()
    onNearbyChanged: wasNearby = nearby
    onInViewChanged: wasInView = inView

    Connections {
        target: root.runs
        ignoreUnknownSignals: true
        function onRowsInserted() { root.measure() }
        function onRowsRemoved() { root.measure() }
        function onModelReset() { root.measure() }
    }

    Connections {
        target: root.lastRun
        ignoreUnknownSignals: true
        function onTimeLengthChanged() { root.measure() }
    }

    Item {
        id: dateBox
        width: Math.ceil(date.implicitWidth) + 2 * Sizes.gap
        height: root.height

        BodyText {
            id: date
            x: Sizes.gap
            y: root.barTop + (root.barHeight - height) / 2
            text: "·" + root.dateText + "·"
            font.pixelSize: Sizes.pageFont
            color: Theme.faintText
        }
    }

    Loader {
        id: list
        x: dateBox.width
        width: root.runsWidth
        height: root.height
        active: root.nearby && root.runsWidth > 0
        asynchronous: !root.inView
        sourceComponent: AppRunList {
            model: root.runs
            hoveredBar: root.hoveredBar
            barTop: root.barTop
            barHeight: root.barHeight
            iconSize: root.iconSize
        }
    }
}
