// A group of settings.
import QtQuick 2.12
import "basecomponent"

Rectangle {
    id: root

    default property alias content: lines.data

    height: lines.height + 2 * Sizes.gap
    radius: Sizes.cardRadius
    color: Theme.base
    border.width: 1
    border.color: Theme.line

    Column {
        id: lines
        y: Sizes.gap
        width: parent.width
    }
}
