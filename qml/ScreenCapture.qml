// The choice of a part of the picture: everything else is shaded. The chosen part goes to be read at
// once.
import QtQuick 2.12
import QtQuick.Shapes 1.12
import QtQuick.Templates 2.12 as T
import "basecomponent"
import "CaptureUuid.js" as CaptureUuid

// A Pane for its role: a Control would keep the one that is given to it from a screen reader.
T.Pane {
    id: root

    property QtObject page
    property real pictureScale: 1 // drawn pixels a pixel of the picture
    property string taskID

    // The corners that the pointer drew, in any order.
    property real startX: 0
    property real startY: 0
    property real endX: 0
    property real endY: 0
    readonly property rect part: Qt.rect(Math.min(startX, endX), Math.min(startY, endY),
                                         Math.abs(endX - startX), Math.abs(endY - startY))

    signal choosing
    signal chosen

    focusPolicy: Qt.StrongFocus

    Accessible.role: Accessible.Pane
    Accessible.name: "tavel-ai-yestermark_Pane_screenCapture"
    Accessible.focusable: true

    function setCorners(x1, y1, x2, y2) {
        startX = x1
        startY = y1
        endX = x2
        endY = y2
    }

    /// No part is chosen and none is being read.
    function reset() {
        setCorners(0, 0, 0, 0)
        pointer.visible = true
    }

    function begin(x, y) {
        choosing()
        VideoInfo.clearRecognizingTextResult()
        setCorners(x, y, x, y)
    }

    function extend(x, y) {
        endX = Math.max(0, Math.min(x, width))
        endY = Math.max(0, Math.min(y, height))
    }

    function finish() {
        if (startX === endX || startY === endY)
            return
        pointer.visible = false
        page.ocrResultReturned = false
        taskID = CaptureUuid.make()
        chosen()
        // Comes back when the text was read or the task was cancelled.
        VideoInfo.recognizingTextInImage(page.ocrImageType, page.ocrImageId,
                                         Math.round(part.left / pictureScale),
                                         Math.round(part.top / pictureScale),
                                         Math.round(part.right / pictureScale),
                                         Math.round(part.bottom / pictureScale), taskID)
    }

    function chooseEverything() {
        if (!pointer.visible)
            return
        begin(0, 0)
        extend(width, height)
        finish()
    }

    Keys.onReturnPressed: chooseEverything()
    Keys.onEnterPressed: chooseEverything()

    Connections {
        target: root.page
        function onOcrResultReturnedChanged() {
            if (root.page.ocrResultReturned)
                pointer.visible = true
        }
    }

    Shape {
        anchors.fill: parent

        ShapePath {
            fillColor: Theme.captureShade
            fillRule: ShapePath.OddEvenFill
            strokeWidth: -1
            startX: 0
            startY: 0
            PathLine { x: root.width; y: 0 }
            PathLine { x: root.width; y: root.height }
            PathLine { x: 0; y: root.height }
            PathLine { x: 0; y: 0 }
            PathMove { x: root.part.left; y: root.part.top }
            PathLine { x: root.part.right; y: root.part.top }
            PathLine { x: root.part.right; y: root.part.bottom }
            PathLine { x: root.part.left; y: root.part.bottom }
            PathLine { x: root.part.left; y: root.part.top }
        }
    }

    Rectangle { // the edge of the part
        x: root.part.left - 1
        y: root.part.top - 1
        width: root.part.width + 2
        height: root.part.height + 2
        visible: root.part.width > 0 && root.part.height > 0
        color: "transparent"
        border.width: 1
        border.color: Theme.captureEdge
    }

    MouseArea {
        id: pointer
        anchors.fill: parent
        cursorShape: Qt.CrossCursor
        onPressed: root.begin(mouse.x, mouse.y)
        onPositionChanged: root.extend(mouse.x, mouse.y)
        onReleased: root.finish()
    }

    FocusFrame { control: root }
}
