// One recognised line: a frame around it, and what a drag has marked of it.
import QtQuick 2.12
import "basecomponent"
import "TextSelection.js" as TextSelection

Rectangle {
    id: root

    property string text
    property var drag
    property string accessibleId
    readonly property var box: ({ x: x, y: y, width: width, height: height })
    readonly property bool marked: TextSelection.isMarked(box, drag)
    readonly property var span: TextSelection.markedSpan(box, drag)

    color: "transparent"
    border.width: 2
    border.color: Theme.textBox
    radius: 2

    Accessible.role: Accessible.StaticText
    Accessible.name: "tavel-ai-yestermark_" + accessibleId
    Accessible.description: text

    // The unseen text is not as wide as the one in the picture: ends are found by their share of the
    // width. The cursor's ends tell it exactly, whichever way the text runs.
    function positionAt(x) {
        var textWidth = Math.max(input.positionToRectangle(0).x,
                                 input.positionToRectangle(input.length).x)
        return input.positionAt(width > 0 ? x / width * textWidth : 0)
    }

    function markedText() {
        return marked ? input.getText(positionAt(span.x), positionAt(span.x + span.width)) : ""
    }

    TextInput {
        id: input
        anchors.fill: parent
        readOnly: true
        enabled: false
        autoScroll: false
        horizontalAlignment: TextInput.AlignLeft
        color: "transparent"
        text: root.text
        font.family: Theme.style.font.family
        font.pointSize: Math.max(1, Math.floor((root.height - 2) / 2.0))
        Accessible.ignored: true
    }

    Rectangle {
        x: root.span.x
        width: root.span.width
        height: root.height
        visible: root.marked
        color: Theme.textBox
        opacity: 0.5
    }
}
