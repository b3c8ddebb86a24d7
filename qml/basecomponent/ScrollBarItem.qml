// A vertical scroll bar; it is there while there is something to scroll.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.ScrollBar {
    id: root

    property string accessibleId

    implicitWidth: 10
    padding: 2
    minimumSize: 0.08
    visible: size < 1
    hoverEnabled: true

    Accessible.role: Accessible.ScrollBar
    Accessible.name: "tavel-ai-yestermark_" + accessibleId

    contentItem: Rectangle {
        implicitWidth: 6
        radius: width / 2
        color: Theme.veilText
        opacity: root.pressed ? 0.6 : root.hovered ? 0.45 : 0.3
    }
}
