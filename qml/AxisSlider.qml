// The slider: a handle above the axis and a pill on it, which share one position.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

Item {
    id: root

    property alias upIndicator: upIndicator
    property bool shown: true
    property real share: 0 // of the content that lies before the slider
    property real barTop
    property int barHeight

    signal dragged(real position)
    signal pillEntered(real position)
    signal pillLeft
    signal stepped(int frames)
    signal shareChosen(real chosen)

    anchors.fill: parent

    Image {
        id: upIndicator

        visible: root.shown
        width: Sizes.atLeast(16, Sizes.h(24))
        height: width
        y: root.barTop - height - Sizes.h(2)
        source: "qrc:/image/upindicator.svg"
        sourceSize: Qt.size(width, height)
        Accessible.ignored: true // the pill tells of both

        MouseArea {
            anchors.fill: parent
            cursorShape: Qt.SizeHorCursor
            onPressed: root.dragged(mapToItem(root, mouse.x, mouse.y).x)
            onPositionChanged: root.dragged(mapToItem(root, mouse.x, mouse.y).x)
        }
    }

    // A Slider for its role: a Control would keep the one that is given to it from a screen reader.
    T.Slider {
        id: downIndicator

        readonly property real minimumValue: from // as accessibility calls them
        readonly property real maximumValue: to

        x: upIndicator.x + (upIndicator.width - width) / 2
        y: root.barTop + (root.barHeight - height) / 2
        width: Sizes.atLeast(6, Sizes.w(8))
        height: Sizes.atLeast(16, Sizes.h(24))
        visible: root.shown
        focusPolicy: Qt.StrongFocus
        value: root.share
        onValueChanged: { // by who reads the screen
            if (value !== root.share)
                root.shareChosen(value)
        }

        Accessible.role: Accessible.Slider
        Accessible.name: "tavel-ai-yestermark_Slider_timeAxis"
        Accessible.focusable: true
        Accessible.onIncreaseAction: root.stepped(1)
        Accessible.onDecreaseAction: root.stepped(-1)

        Keys.onLeftPressed: root.stepped(-1)
        Keys.onRightPressed: root.stepped(1)

        background: Rectangle {
            radius: width / 2
            color: Theme.highlight
            border.width: 1
            border.color: Theme.pillEdge

            FocusFrame {
                control: downIndicator
                radius: width / 2
            }
        }

        MouseArea {
            anchors.fill: parent
            anchors.margins: -2
            hoverEnabled: true
            cursorShape: Qt.SizeHorCursor
            onEntered: { // a drag leaves the pill behind and comes back to it
                if (!pressed)
                    root.pillEntered(mapToItem(root, mouseX, mouseY).x)
            }
            onExited: root.pillLeft()
            onPressed: root.dragged(mapToItem(root, mouse.x, mouse.y).x)
            onPositionChanged: {
                if (pressed)
                    root.dragged(mapToItem(root, mouse.x, mouse.y).x)
            }
        }
    }
}
