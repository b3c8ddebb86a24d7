// What a control does, told when the pointer rests on it.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.ToolTip {
    id: root

    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: parent ? parent.height + Sizes.gap : 0
    implicitWidth: contentItem.implicitWidth + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    padding: 6
    leftPadding: 10
    rightPadding: 10
    margins: Sizes.gap
    delay: Sizes.toolTipDelay
    timeout: Sizes.toolTipTimeout
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    contentItem: BodyText {
        text: root.text
    }

    background: Rectangle {
        color: Theme.toolTip
        radius: Sizes.controlRadius
        border.width: 1
        border.color: Theme.line

        SoftShadow {
            anchors.fill: parent
            z: -1
            radius: parent.radius
            verticalOffset: 2
            spread: 6
        }
    }
}
