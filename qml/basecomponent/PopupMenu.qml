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

    contentItem: ListView {
        implicitHeight: contentHeight
        model: root.contentModel
        interactive: false
        currentIndex: root.currentIndex
        Accessible.role: Accessible.PopupMenu
        Accessible.name: "tavel-ai-yestermark_" + root.accessibleId
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
