// Lengths of the pages: design pixels of a window of 1920 by 1034, scaled to the window that there is.
pragma Singleton
import QtQuick 2.12
import org.vesk.qqc2style.private 1.0 as StylePrivater

QtObject {
    id: root

    // Set by the root page. The factors count device pixels, so that on a dense screen lengths grow
    // twice; texts follow half the way.
    property real widthScaleFactor: 1
    property real heightScaleFactor: 1
    property real devicePixelRatio: 1

    readonly property real fontFactor: Math.max(0.92, Math.min(2,
        Math.min(widthScaleFactor, heightScaleFactor) / Math.sqrt(devicePixelRatio)))
    readonly property int fontBase: Math.max(13, Math.min(20, StylePrivater.StyleHelper.fontPixelSize))

    // Texts on pages grow with the window; those of the title bar and of dialogs do not.
    readonly property int pageFont: Math.round(fontBase * fontFactor)
    readonly property int pageTitleFont: Math.round(fontBase * fontFactor * 2.2)
    readonly property int dialogFont: fontBase
    readonly property int headingFont: Math.round(fontBase * 1.15)

    // The axis counts frames as the reader behind it does, in every window alike.
    readonly property int axisFrame: 8
    readonly property int axisGap: 8

    readonly property int titleBarHeight: 40
    readonly property int titleBarButtonWidth: 32
    readonly property int titleBarIcon: 24
    readonly property int buttonHeight: 36
    readonly property int smallIcon: 16
    readonly property real appIconWidth: 24 * widthScaleFactor
    readonly property int appIcon: Math.round(appIconWidth)
    readonly property int gap: 8
    readonly property int margin: 16
    readonly property int dialogMargin: 24
    readonly property int buttonGap: 12
    readonly property int dialogRadius: 12
    readonly property int cardRadius: 12
    readonly property int barRadius: 8
    readonly property int controlRadius: 6
    readonly property int toolTipDelay: 1000
    readonly property int toolTipTimeout: 5000

    /// A scaled length that in small windows stays large enough to be hit and read.
    function atLeast(least, scaled) {
        return Math.max(least, scaled)
    }

    function w(designPixels) {
        return Math.round(designPixels * widthScaleFactor)
    }

    function h(designPixels) {
        return Math.round(designPixels * heightScaleFactor)
    }
}
