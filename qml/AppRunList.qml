// The runs of one day.
import QtQuick 2.12

ListView {
    id: root

    property int hoveredBar: -1
    property real barTop
    property int barHeight
    property int iconSize

    orientation: ListView.Horizontal
    spacing: 8 // the reader's gap between two runs
    interactive: false

    delegate: AppBar {
        width: modelData.timeLength
        height: root.height
        hovered: index === root.hoveredBar
        barTop: root.barTop
        barHeight: root.barHeight
        iconSize: root.iconSize
    }
}
