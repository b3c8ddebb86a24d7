// The root page: background, title bar, start screen, preview page or hits, and the dialogs.
import QtQuick 2.12
import QtQuick.Window 2.12
import "basecomponent"

Item {
    id: root

    readonly property real widthScaleFactor: width / 1920 * Screen.devicePixelRatio
    readonly property real heightScaleFactor: height / 1034 * Screen.devicePixelRatio
    readonly property int screenWidth: Screen.width
    readonly property int screenHeight: Screen.height
    property real screenScale: 1
    readonly property real appIconWidth: Sizes.appIconWidth

    property int ocrImageType: 0
    property string ocrImageId
    property bool ocrResultReturned: false
    property bool searchBoxUsable: true

    property bool aboutPageVisible: false
    property bool closeBtnPopUpVisible: false
    property bool settingsPageVisible: false
    property bool timeChangeTipVisible: false
    property bool subsystemUnavailableWindowVisible: !VideoInfo.isSubsystemAvailable()

    property bool startScreenVisible: VideoInfo.startBtnVisible()
    property int themeType: VideoInfo.getThemeType()
    readonly property bool searching: searchBox.editing

    width: 1920 // until the view makes the page as large as itself
    height: 1034

    function showCloseBtnPopUp() {
        if (CustomTitleBar.windowVisible())
            closeBtnPopUpVisible = true
    }

    function showPreviewPage() {
        startScreenVisible = false
        previewPage.timeAxis.takeFocus()
    }

    function openHit(hit, searchImageType) {
        searchBox.leave()
        previewPage.timeAxis.showBigPicture(hit.videoPreviewImageSource)
        previewPage.timeAxis.setListViewContentXByImageInfo(hit.imageDateIndex, hit.frameLengthOfDay)
        previewPage.timeAxis.setBigPreviewItemIconAndAppName(hit.previewAppIcon, hit.previewAppName)
        ocrImageType = searchImageType
        ocrImageId = hit.videoPreviewImageSource
    }

    onSearchingChanged: {
        if (!searching && !startScreenVisible)
            previewPage.timeAxis.takeFocus()
    }

    Binding { target: Sizes; property: "widthScaleFactor"; value: root.widthScaleFactor }
    Binding { target: Sizes; property: "heightScaleFactor"; value: root.heightScaleFactor }
    Binding { target: Sizes; property: "devicePixelRatio"; value: root.Screen.devicePixelRatio }
    Binding { target: Theme.style; property: "dark"; value: root.themeType === 1 }

    Connections {
        target: trayIcon
        function onStartMemory() {
            root.showPreviewPage()
            CustomTitleBar.minimizeTheWindow()
        }
        function onQuitMemory() { root.showCloseBtnPopUp() }
        function onOpenSettings() { root.settingsPageVisible = true }
    }

    Connections {
        target: VideoInfo
        function onQuitYestermark() { root.showCloseBtnPopUp() }
        function onThemeChanged() { root.themeType = VideoInfo.getThemeType() }
        function onBackInTimeDetected() { root.timeChangeTipVisible = true }
        function onScreenshotOCRTextDataReady() { root.ocrResultReturned = true }
        function onTextSearchResultIsEmpty() { resultPage.textNoResult = true }
        function onImageSearchResultIsEmpty() { resultPage.imageNoResult = true }
    }

    Background {
        anchors.fill: parent
        themeType: root.themeType
    }

    // Gives the pointer the theme's arrow wherever nothing else asks for another one.
    MouseArea {
        anchors.fill: parent
    }

    TitleBar {
        id: titleBar
        width: parent.width
        visible: !root.searching
        onSettingsRequested: root.settingsPageVisible = true
        onAboutRequested: root.aboutPageVisible = true
        onCloseRequested: root.showCloseBtnPopUp()
    }

    SearchBox {
        id: searchBox
        z: 1
        anchors.horizontalCenter: parent.horizontalCenter
        y: Sizes.h(4)
        enabled: root.searchBoxUsable
        page: root
        resultPage: resultPage
    }

    PreviewPage {
        id: previewPage
        anchors.top: titleBar.bottom
        anchors.topMargin: Math.max(0, searchBox.y + searchBox.height - titleBar.height)
        anchors.bottom: parent.bottom
        width: parent.width
        visible: !root.startScreenVisible && !root.searching
        page: root
    }

    SearchBackground {
        anchors.fill: parent
        visible: root.searching
        onClicked: searchBox.leave()
    }

    SearchResultPage {
        id: resultPage
        y: Sizes.h(80)
        width: parent.width
        height: implicitHeight
        visible: root.searching
        searchText: searchBox.text
        onLeaveRequested: searchBox.leave()
        onChosen: root.openHit(hit, searchImageType)
    }

    StartMemoryBtn {
        anchors.centerIn: parent
        width: Math.min(implicitWidth, parent.width)
        height: Math.min(implicitHeight, parent.height - titleBar.height)
        visible: root.startScreenVisible
        focus: visible
        onStarted: {
            root.showPreviewPage()
            VideoInfo.startMemory()
            CustomTitleBar.minimizeTheWindow()
        }
    }

    AppInfoPage {
        page: root
        timeAxis: previewPage.timeAxis
        onHistoryDeleted: searchBox.forget()
    }
}
