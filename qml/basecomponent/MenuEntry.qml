// One line of a menu.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.MenuItem {
    id: root

    property string accessibleId

    implicitWidth: 122
    implicitHeight: 32
    leftPadding: 12
    rightPadding: 12
    hoverEnabled: true

    Accessible.role: Accessible.MenuItem
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text

    contentItem: BodyText {
        text: root.text
        color: root.highlighted ? Theme.highlightedText : Theme.text
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: Sizes.controlRadius
        color: root.highlighted ? Theme.highlight : "transparent"
    }
}
