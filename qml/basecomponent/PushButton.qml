// A button with a text; of type "BlueButton" it is the one that a page suggests.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T

T.Button {
    id: root

    property string accessibleId
    property string buttonType
    property int radius: Sizes.controlRadius
    readonly property bool blue: buttonType === "BlueButton"
    readonly property color face: blue ? Theme.highlight : Theme.button

    implicitWidth: Math.max(104, contentItem.implicitWidth + leftPadding + rightPadding)
    implicitHeight: Sizes.buttonHeight
    leftPadding: 20
    rightPadding: 20
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    font.family: Theme.style.font.family
    font.pixelSize: Sizes.dialogFont

    Accessible.role: Accessible.Button
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: BodyText {
        text: root.text
        font: root.font
        color: root.blue ? Theme.highlightedText : Theme.text
        horizontalAlignment: Text.AlignHCenter
        elide: Text.ElideRight
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: root.radius
        color: root.pressed ? Qt.darker(root.face, 1.15)
                            : root.hovered ? Qt.lighter(root.face, root.blue ? 1.08 : 1.03)
                                           : root.face
        border.width: root.blue ? 0 : 1
        border.color: Theme.line

        FocusFrame { control: root }
    }
}
