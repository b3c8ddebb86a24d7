// The frame of every dialog: rounded where the desktop can, moved by its top strip, closed by Esc,
// confirmed by Enter unless a button has the focus.
import QtQuick 2.12
import QtQuick.Window 2.13

Window {
    id: root

    default property alias content: body.data
    property Item firstFocus
    property int stripHeight: 36
    property bool moved: false
    property QtObject owner // the window that it belongs to when no dialog is open

    signal confirmed
    signal dismissed

    flags: Qt.Dialog | Qt.FramelessWindowHint
    modality: Qt.ApplicationModal
    color: "transparent"

    onVisibleChanged: {
        if (!visible) {
            if (owner)
                transientParent = owner // above one that is hidden it could not be shown again
            return
        }
        owner = transientParent
        transientParent = OpenDialogs.enter(root) || owner
        moved = false
        centre()
        requestActivate()
        takeFocus()
    }
    onHeightChanged: { // the texts are laid out late
        if (visible && !moved)
            centre()
    }
    onFirstFocusChanged: {
        if (visible)
            takeFocus()
    }

    function centre() {
        x = Screen.virtualX + (Screen.width - width) / 2
        y = Screen.virtualY + (Screen.height - height) / 2
    }

    function takeFocus() {
        if (firstFocus)
            firstFocus.forceActiveFocus(Qt.TabFocusReason)
    }

    onClosing: {
        close.accepted = false
        dismissed()
    }

    Rectangle {
        anchors.fill: parent
        radius: Theme.style.compositing ? Sizes.dialogRadius : 0
        color: Theme.window
        border.width: 1
        border.color: Theme.dialogEdge
    }

    MouseArea {
        id: strip

        property point grip

        width: parent.width
        height: root.stripHeight

        onPressed: grip = Qt.point(mouse.x, mouse.y)
        onPositionChanged: {
            root.moved = true
            root.x += mouse.x - grip.x
            root.y += mouse.y - grip.y
        }
    }

    FocusScope {
        id: body
        anchors.fill: parent
        focus: true

        Keys.onEscapePressed: root.dismissed()
        Keys.onReturnPressed: root.confirmed()
        Keys.onEnterPressed: root.confirmed()
    }
}
