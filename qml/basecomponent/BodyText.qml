// A text of a page or a dialog, in the desktop's font.
import QtQuick 2.12

Text {
    id: root

    color: Theme.text
    font.family: Theme.style.font.family
    font.pixelSize: Sizes.dialogFont
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter
    renderType: Text.NativeRendering

    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
