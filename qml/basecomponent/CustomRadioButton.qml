// One of a few choices. A text that does not fit is told in full beside the pointer.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.RadioButton {
    id: root

    property string accessibleId

    readonly property int indicatorSize: 16

    implicitWidth: contentItem.implicitWidth + leftPadding
    implicitHeight: 28
    leftPadding: indicatorSize + Sizes.gap
    spacing: Sizes.gap
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.RadioButton
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text
    Accessible.checkable: true
    Accessible.checked: checked

    indicator: Rectangle {
        y: (root.height - height) / 2
        width: root.indicatorSize
        height: root.indicatorSize
        radius: width / 2
        color: root.checked ? Theme.radioChecked : "transparent"
        border.width: 1
        border.color: root.checked ? Theme.radioChecked : Theme.radioUnchecked

        Rectangle {
            anchors.centerIn: parent
            width: 6
            height: 6
            radius: 3
            color: Theme.radioDot
            visible: root.checked
        }

        FocusFrame {
            control: root
            radius: width / 2
        }
    }

    contentItem: BodyText {
        id: label
        text: root.text
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    MouseArea {
        id: pointer
        anchors.fill: parent
        acceptedButtons: Qt.NoButton
        hoverEnabled: true
    }

    ToolTipItem {
        x: pointer.mouseX
        y: pointer.mouseY + 35
        delay: 500
        text: root.text
        visible: label.truncated && pointer.containsMouse
    }
}
