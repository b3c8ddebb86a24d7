// What the pointer does on the axis: click and drag, rest on a run, turn the wheel.
import QtQuick 2.12

MouseArea {
    id: root

    signal clickedAt(real position)
    signal movedTo(real position)
    signal hoveredAt(real position)
    signal left
    signal wheelTurned(int delta)

    // Touchpads send many small turns; a step of the axis is a whole notch of a wheel.
    readonly property int notch: 120
    property int turned: 0

    hoverEnabled: true

    /// What lies under the pointer may have changed.
    function hoverAgain() {
        if (containsMouse && !pressed)
            hoveredAt(mouseX + x)
    }

    onPressed: clickedAt(mouse.x + x)
    onPositionChanged: pressed ? movedTo(mouse.x + x) : hoveredAt(mouse.x + x)
    onEntered: hoverAgain()
    onExited: left()
    onReleased: {
        if (!containsMouse)
            left()
    }
    onWheel: {
        var delta = wheel.angleDelta.y !== 0 ? wheel.angleDelta.y : wheel.angleDelta.x
        turned = turned * delta < 0 ? delta : turned + delta
        if (Math.abs(turned) >= notch) {
            wheelTurned(turned)
            turned = 0
        }
    }
}
