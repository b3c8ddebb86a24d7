// One run of one application: eight pixels a frame.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    property bool hovered: false
    property real barTop
    property int barHeight
    property int iconSize

    Rectangle {
        y: root.barTop
        width: parent.width
        height: root.barHeight
        radius: Sizes.barRadius
        color: root.hovered ? Theme.highlight : Theme.bar
        opacity: root.hovered ? 1 : Theme.barOpacity
    }

    // Most runs are narrower than an icon and cost nothing more.
    Loader {
        active: root.width > root.iconSize
        x: (root.width - root.iconSize) / 2
        anchors.bottom: parent.bottom
        sourceComponent: AppIcon {
            source: modelData.appIcon
            size: root.iconSize
        }
    }
}
