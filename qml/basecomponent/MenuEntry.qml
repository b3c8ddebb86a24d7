// One line of a menu.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import org.vesk.qqc2style.private 1.0 as StylePrivater

T.MenuItem {
    id: root

    property string accessibleId
    property string iconName
    readonly property color ink: highlighted ? Theme.highlightedText : Theme.text

    implicitWidth: menu ? menu.entryWidth : 0
    implicitHeight: 32
    leftPadding: iconName === "" ? 12 : 8
    rightPadding: leftPadding
    hoverEnabled: true

    Accessible.role: Accessible.MenuItem
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text

    contentItem: Row {
        spacing: Sizes.gap

        StylePrivater.TavelIcon {
            id: icon
            visible: root.iconName !== ""
            anchors.verticalCenter: parent.verticalCenter
            name: root.iconName
            size: Sizes.smallIcon
            color: root.ink
        }

        BodyText {
            width: parent.width - (icon.visible ? icon.width + parent.spacing : 0)
            height: parent.height
            text: root.text
            color: root.ink
            elide: Text.ElideRight
            Accessible.ignored: true
        }
    }

    background: Rectangle {
        radius: Sizes.controlRadius
        color: root.highlighted ? Theme.highlight : "transparent"
    }
}
