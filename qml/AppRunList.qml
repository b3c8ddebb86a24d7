// The runs of one day.
import QtQuick 2.12
import "basecomponent"

ListView {
    id: root

    property int hoveredBar: -1
    property real barTop
    property int barHeight
    property int iconSize

    orientation: ListView.Horizontal
    spacing: Sizes.axisGap
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
