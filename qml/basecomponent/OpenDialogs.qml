// The dialogs on the screen. Each belongs to the one before it: of two that belong to the main window
// a desktop may show either on top, and the one below cannot be answered.
pragma Singleton
import QtQuick 2.12

QtObject {
    id: root

    property var shown: [] // the newest last

    // Takes a dialog that comes up; gives the one that it has to lie above, or null.
    function enter(dialog) {
        var others = shown.filter(function (other) {
            return other && other !== dialog && other.visible
        })
        shown = others.concat(dialog)
        return others.length > 0 ? others[others.length - 1] : null
    }
}
