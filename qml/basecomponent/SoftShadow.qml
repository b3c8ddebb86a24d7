// A soft shadow of rounded rectangles, one inside the other: drawn alike with and without shaders.
import QtQuick 2.12

Item {
    id: root

    property int radius: Sizes.cardRadius
    property int verticalOffset: 8
    property int spread: 12

    Repeater {
        model: 6

        Rectangle {
            readonly property real grow: root.spread * (1 - index / 6) - 2

            x: -grow
            y: root.verticalOffset - grow
            width: root.width + 2 * grow
            height: root.height + 2 * grow
            radius: root.radius + grow
            color: Theme.shadow
            opacity: Theme.shadowOpacity
        }
    }
}
