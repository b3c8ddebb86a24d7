// A button that shows an icon alone, with a tool tip.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import org.vesk.qqc2style.private 1.0 as StylePrivater

T.Button {
    id: root

    property string accessibleId
    property string iconName
    property int iconSize: Sizes.smallIcon
    property real iconOpacity: 1
    property color hoverColor: Theme.hoverVeil
    property color pressColor: Theme.pressVeil
    property string toolTip
    property bool toolTipAllowed: true

    implicitWidth: Sizes.titleBarButtonWidth
    implicitHeight: Sizes.titleBarButtonWidth
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.role: Accessible.Button
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: toolTip

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        StylePrivater.TavelIcon {
            anchors.centerIn: parent
            name: root.iconName
            size: root.iconSize
            color: Theme.text
            opacity: root.iconOpacity
        }
    }

    background: Rectangle {
        radius: Sizes.controlRadius
        color: root.pressed ? root.pressColor : root.hovered ? root.hoverColor : "transparent"

        FocusFrame {
            control: root
            anchors.margins: 0
            radius: parent.radius
        }
    }

    ToolTipItem {
        text: root.toolTip
        visible: root.toolTip !== "" && root.toolTipAllowed && !root.pressed
                 && (root.hovered || root.visualFocus)
    }
}
