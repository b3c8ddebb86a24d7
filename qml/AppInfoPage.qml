// The dialogs, made once and shown by the flags of the root page.
import QtQuick 2.12

Item {
    id: root

    property QtObject page
    property QtObject timeAxis
    property bool curMinimizeBtnCheckedState: CustomTitleBar.isCloseWindowMinimize()

    signal historyDeleted

    Connections {
        target: CustomTitleBar
        function onCloseWindowOptionChanged() {
            root.curMinimizeBtnCheckedState = CustomTitleBar.isCloseWindowMinimize()
        }
    }

    SettingsPage {
        visible: root.page.settingsPageVisible
        minimizeState: root.curMinimizeBtnCheckedState
        onMinimizeStateChosen: root.curMinimizeBtnCheckedState = minimize
        onDeleteAllDataRequested: deleteAllDataPage.visible = true
        onDone: root.page.settingsPageVisible = false
    }

    DeleteAllDataPage {
        id: deleteAllDataPage
        timeAxis: root.timeAxis
        onDeleted: root.historyDeleted()
    }

    AboutPage {
        visible: root.page.aboutPageVisible
        onDone: root.page.aboutPageVisible = false
    }

    CloseBtnPopUp {
        visible: root.page.closeBtnPopUpVisible
        minimizeState: root.curMinimizeBtnCheckedState
        onDone: root.page.closeBtnPopUpVisible = false
    }

    SubsystemUnavailableWindow {
        visible: root.page.subsystemUnavailableWindowVisible
        onDone: root.page.subsystemUnavailableWindowVisible = false
    }

    TimeChangeTip {
        visible: root.page.timeChangeTipVisible
        timeAxis: root.timeAxis
        onDone: root.page.timeChangeTipVisible = false
        onDeleted: root.historyDeleted()
    }
}
