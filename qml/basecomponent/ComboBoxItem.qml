// The choices for the space that the history may take.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import org.vesk.qqc2style.private 1.0 as StylePrivater

T.ComboBox {
    id: root

    property string accessibleId

    implicitWidth: 140
    implicitHeight: Sizes.buttonHeight
    leftPadding: 12
    rightPadding: 32
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    model: ["5GB", "10GB", "15GB"]

    Accessible.role: Accessible.ComboBox
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: displayText

    contentItem: BodyText {
        text: root.displayText
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    indicator: StylePrivater.TavelIcon {
        x: root.width - width - 10
        y: (root.height - height) / 2
        name: "pan-down-symbolic"
        size: Sizes.smallIcon
        color: Theme.text
    }

    background: Rectangle {
        radius: Sizes.controlRadius
        color: root.down ? Theme.mid : root.hovered ? Theme.midlight : Theme.button
        border.width: 1
        border.color: Theme.line

        FocusFrame { control: root }
    }

    delegate: T.ItemDelegate {
        id: choice
        width: root.width - 8
        height: 32
        leftPadding: 8
        hoverEnabled: true
        highlighted: root.highlightedIndex === index
        Accessible.role: Accessible.ListItem
        Accessible.name: "tavel-ai-yestermark_ListItem_" + modelData
        contentItem: BodyText {
            text: modelData
            color: choice.highlighted ? Theme.highlightedText : Theme.text
            Accessible.ignored: true
        }
        background: Rectangle {
            radius: Sizes.controlRadius
            color: choice.highlighted ? Theme.highlight : "transparent"
        }
    }

    popup: T.Popup {
        y: root.height + 4
        width: root.width
        implicitHeight: contentItem.implicitHeight + 8
        padding: 4

        contentItem: ListView {
            implicitHeight: contentHeight
            clip: true
            interactive: false
            model: root.popup.visible ? root.delegateModel : null
            currentIndex: root.highlightedIndex
        }

        background: Rectangle {
            radius: Sizes.controlRadius
            color: Theme.base
            border.width: 1
            border.color: Theme.line
        }
    }
}
