// The lines that were recognised in the chosen part of the picture, to be marked and copied.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

// A Pane for its role: a Control would keep the one that is given to it from a screen reader.
T.Pane {
    id: root

    property real pictureScale: 1 // drawn pixels a pixel of the picture
    property real screenScale: 1
    readonly property int addWidth: screenScale !== 1 ? 8 : 0
    readonly property int addHeight: screenScale !== 1 ? 6 : 0

    property var allStringArray: [] // the text of every box
    property var stringArray: []    // what is marked of each; empty until something was

    property bool selectAll: false
    property point pressPoint: Qt.point(-1, -1)
    property point currentPoint: Qt.point(-1, -1)
    property point doubleClickPoint: Qt.point(-1, -1)
    readonly property var drag: ({ press: pressPoint, current: currentPoint,
                                   doubleClick: doubleClickPoint, all: selectAll })

    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.Pane
    Accessible.name: "tavel-ai-yestermark_Pane_allText"
    Accessible.focusable: true

    function clearSelection() {
        selectAll = false
        doubleClickPoint = Qt.point(-1, -1)
        stringArray = []
    }

    function clear() {
        clearSelection()
        pressPoint = Qt.point(-1, -1)
        currentPoint = Qt.point(-1, -1)
        allStringArray = []
    }

    function press(point) {
        clearSelection()
        pressPoint = point
        currentPoint = point
    }

    function moveTo(point) {
        currentPoint = point
        readMarks()
    }

    function doubleClick(point) {
        doubleClickPoint = point
        readMarks()
    }

    function readMarks() {
        for (var i = 0; i < boxes.count; ++i)
            stringArray[i] = boxes.itemAt(i).markedText()
    }

    // A list of nothing but empty texts would empty the clipboard.
    function copy() {
        var texts = selectAll ? allStringArray : stringArray
        var isAnyMarked = texts.some(function (text) { return text })
        VideoInfo.setClipBoardText(isAnyMarked ? texts : [])
    }

    function openMenu() {
        menu.popup(root, 0, 0)
        menu.beginWithKeys()
    }

    Keys.onPressed: {
        if (event.matches(StandardKey.Copy))
            copy()
        else if (event.matches(StandardKey.SelectAll))
            selectAll = true
        else if (event.key === Qt.Key_Menu)
            openMenu()
        else
            return
        event.accepted = true
    }

    Repeater {
        id: boxes
        model: VideoInfo.imageTextModel

        TextBox {
            x: modelData.x * root.pictureScale / root.screenScale - root.addWidth / 2
            y: modelData.y * root.pictureScale / root.screenScale - root.addHeight / 2
            width: modelData.textWidth * root.pictureScale / root.screenScale + root.addWidth
            height: modelData.textHeight * root.pictureScale / root.screenScale + root.addHeight
            text: modelData.text
            drag: root.drag
            accessibleId: "StaticText_line" + index
            Component.onCompleted: root.allStringArray[index] = text
        }
    }

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.LeftButton | Qt.RightButton
        cursorShape: Qt.IBeamCursor

        onPressed: {
            if (mouse.button === Qt.LeftButton)
                root.press(Qt.point(mouse.x, mouse.y))
        }
        onPositionChanged: {
            if (mouse.buttons & Qt.LeftButton)
                root.moveTo(Qt.point(mouse.x, mouse.y))
        }
        onReleased: {
            root.forceActiveFocus(Qt.MouseFocusReason)
            if (mouse.button === Qt.RightButton)
                menu.popup(root, mouse.x, mouse.y)
        }
        onDoubleClicked: {
            if (mouse.button === Qt.LeftButton)
                root.doubleClick(Qt.point(mouse.x, mouse.y))
        }
    }

    TextMenu {
        id: menu
        onCopyChosen: root.copy()
        onSelectAllChosen: root.selectAll = true
        onClosed: root.forceActiveFocus()
    }

    FocusFrame { control: root }
}
