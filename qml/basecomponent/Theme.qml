// Colours of the pages, light and dark.
pragma Singleton
import QtQuick 2.12
import org.vesk.qqc2style.private 1.0 as StylePrivater

QtObject {
    id: root

    readonly property var style: StylePrivater.StyleHelper
    readonly property bool dark: style.dark

    readonly property color window: style.window
    readonly property color base: style.base
    readonly property color text: style.text
    readonly property color midlight: style.midlight
    readonly property color mid: style.mid
    readonly property color button: style.button
    readonly property color highlight: style.highlight
    readonly property color highlightedText: style.highlightedText
    readonly property color accent: "#3790fa" // whatever the desktop's highlight

    readonly property color faintText: Qt.rgba(text.r, text.g, text.b, 0.55)
    readonly property color line: dark ? "#1affffff" : "#14262626"
    readonly property color hoverVeil: dark ? "#1fffffff" : "#12262626"
    readonly property color pressVeil: dark ? "#33ffffff" : "#24262626"
    readonly property color toolTip: dark ? "#3a3f4b" : "#ffffff"

    // The axis' bars and the frames of cards lie on the page's background itself. Dark on dark they
    // would not be seen, so they turn with it.
    readonly property color bar: dark ? "#ffffff" : "#262626"
    readonly property real barOpacity: 0.25
    readonly property color frame: dark ? "#1affffff" : "#0d262626"

    readonly property color pillEdge: "#ffffff"
    readonly property color pictureEdge: dark ? "#40ffffff" : "#26262626"
    readonly property color shadow: "#000000"
    readonly property real shadowOpacity: dark ? 0.05 : 0.022

    // Without a compositor nothing lies below that a translucent line could let through.
    readonly property color dialogEdge: style.compositing ? (dark ? "#33ffffff" : "#26262626") : mid

    // The veil of the search page, and texts on what becomes a middle grey in both.
    readonly property color searchVeil: dark ? "#ffffff" : "#262626"
    readonly property color veilText: "#14171f"

    readonly property color chip: "#ffffff"
    readonly property color chipText: "#262626"

    // Recognised text and what is marked of it, on pictures of any colour.
    readonly property color textBox: accent
    readonly property color captureShade: "#99000000"
    readonly property color captureEdge: "#ccffffff"

    readonly property color radioChecked: accent
    readonly property color radioDot: "#ffffff"
    readonly property color radioUnchecked: "#bac1c9"
    readonly property color danger: "#f3222d"
    readonly property color dangerHover: "#e7202b"
    readonly property color dangerPressed: "#c21b24"
}
