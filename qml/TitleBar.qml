// The window's own title bar: icon and title, menu, minimise, close.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

Item {
    id: root

    signal settingsRequested
    signal aboutRequested
    signal closeRequested

    height: Sizes.titleBarHeight

    AppProgramIcon {
        anchors.left: parent.left
        anchors.leftMargin: Sizes.margin
        anchors.verticalCenter: parent.verticalCenter
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: Sizes.gap
        anchors.verticalCenter: parent.verticalCenter
        spacing: 4

        ButtonItem {
            id: menuButton
            accessibleId: "Button_menu"
            iconName: "open-menu-symbolic"
            toolTip: qsTr("option")
            toolTipAllowed: !menu.visible
            onClicked: {
                if (menu.visible) {
                    menu.close()
                    return
                }
                menu.open()
                if (visualFocus || !hovered)
                    menu.beginWithKeys()
            }

            AppMenu {
                id: menu

                property int opener: Qt.PopupFocusReason

                x: (menuButton.width - width) / 2
                y: menuButton.height + 4
                // The button closes it itself; a press on it that closes would open it again.
                closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent
                onAboutToShow: opener = menuButton.visualFocus ? Qt.TabFocusReason
                                                               : Qt.PopupFocusReason
                onClosed: menuButton.forceActiveFocus(opener) // else the focus is nowhere
                onSettingsChosen: root.settingsRequested()
                onHelpChosen: VideoInfo.showGuide()
                onAboutChosen: root.aboutRequested()
                onExitChosen: root.closeRequested()
            }
        }

        ButtonItem {
            accessibleId: "Button_minimize"
            iconName: "window-minimize-symbolic"
            toolTip: qsTr("minimize")
            onClicked: CustomTitleBar.minimizeTheWindow()
        }

        ButtonItem {
            accessibleId: "Button_close"
            iconName: "window-close-symbolic"
            toolTip: qsTr("close")
            onClicked: root.closeRequested()
        }
    }
}
