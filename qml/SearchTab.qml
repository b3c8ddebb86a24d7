// The title of one list of hits; the one on show is bold and underlined.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

// A TabButton for its role alone, without the state of its own.
T.TabButton {
    id: root

    property string accessibleId
    property bool current: false

    implicitWidth: Math.ceil(widest.implicitWidth) + leftPadding + rightPadding
    implicitHeight: contentItem.implicitHeight + topPadding + bottomPadding
    leftPadding: 4
    rightPadding: 4
    topPadding: Sizes.h(6)
    bottomPadding: Sizes.h(8)
    checkable: false
    autoExclusive: false
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.PageTab
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text
    Accessible.selectable: true
    Accessible.selected: current

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    BodyText { // keeps the width while the weight changes
        id: widest
        visible: false
        text: root.text
        font.pixelSize: Sizes.pageFont
        font.bold: true
    }

    contentItem: BodyText {
        text: root.text
        color: Theme.veilText
        opacity: root.current || root.hovered ? 1 : 0.75
        font.pixelSize: Sizes.pageFont
        font.bold: root.current
        horizontalAlignment: Text.AlignHCenter
        Accessible.ignored: true
    }

    background: Item {
        Rectangle {
            width: parent.width
            height: Sizes.atLeast(1, Sizes.h(2))
            anchors.bottom: parent.bottom
            visible: root.current
            color: Theme.veilText
        }

        FocusFrame { control: root }
    }
}
