// The frame of a menu.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.Menu {
    id: root

    property string accessibleId
    property int entryWidth: 122

    implicitWidth: entryWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: 4
    margins: Sizes.gap
    focus: true

    property bool pointerRests: false

    /// Opened by a key: the first entry is chosen, whatever the pointer happens to lie on.
    function beginWithKeys() {
        pointerRests = true
        currentIndex = 0
    }

    onClosed: pointerRests = false

    contentItem: ListView {
        id: list
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
        Accessible.role: Accessible.PopupMenu
        Accessible.name: "tavel-ai-yestermark_" + root.accessibleId

        // Keeps the entries from a pointer that has not moved since.
        MouseArea {
            property point place

            parent: list
            anchors.fill: parent
            z: 1
            visible: root.pointerRests
            acceptedButtons: Qt.NoButton
            hoverEnabled: true
            onEntered: place = Qt.point(mouseX, mouseY)
            onPositionChanged: {
                if (mouse.x !== place.x || mouse.y !== place.y)
                    root.pointerRests = false
            }
        }
    }

    background: Rectangle {
        color: Theme.base
        radius: Sizes.gap
        border.width: 1
        border.color: Theme.line

        SoftShadow {
            anchors.fill: parent
            z: -1
            radius: parent.radius
            verticalOffset: 4
        }
    }
}
