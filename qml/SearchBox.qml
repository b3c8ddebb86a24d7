// The search box on top of the page. Every change of its text starts a search, without delay.
import QtQuick 2.12
import QtQuick.Templates 2.12 as T
import "basecomponent"

Rectangle {
    id: root

    property QtObject page
    property Item resultPage
    property alias text: input.text
    property string textInputState: "normal"
    readonly property int iconSize: Sizes.atLeast(Sizes.smallIcon, Sizes.h(16))
    readonly property bool editing: textInputState === "edit"

    implicitWidth: Sizes.atLeast(280, Sizes.w(498))
    implicitHeight: Sizes.atLeast(32, Sizes.h(36))
    radius: Sizes.controlRadius
    color: Theme.base
    border.width: editing ? 2 : 1
    border.color: editing ? Theme.highlight : Theme.line
    opacity: enabled ? 1 : 0.5

    function edit() {
        if (VideoInfo.startBtnVisible())
            return
        textInputState = "edit"
        input.forceActiveFocus()
    }

    /// Back to the past as it was; the hits stay.
    function leave() {
        textInputState = "normal"
        VideoInfo.clearSearchTask()
    }

    function showSearchResult() {
        if (resultPage.state === "imageMatch")
            VideoInfo.showImageSearchResult(text)
        else
            VideoInfo.showTextSearchResult(text)
    }

    function searchAnew() {
        resultPage.textNoResult = false
        resultPage.imageNoResult = false
        showSearchResult()
        if (text === "")
            VideoInfo.clearSearchTaskAndResult()
    }

    function submit() {
        edit()
        if (editing)
            showSearchResult()
    }

    function clear() {
        input.clear()
        VideoInfo.clearSearchTaskAndResult()
        input.forceActiveFocus()
    }

    /// What was found is no more: without a text nothing is shown or looked up of it.
    function forget() {
        input.clear()
    }

    ButtonItem {
        id: magnifier
        anchors.left: parent.left
        anchors.leftMargin: 2
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: root.height - 4
        implicitHeight: root.height - 4
        accessibleId: "Button_search"
        iconName: "system-search-symbolic"
        iconSize: root.iconSize
        onClicked: root.submit()
    }

    T.TextField {
        id: input
        anchors.left: magnifier.right
        anchors.right: clearButton.visible ? clearButton.left : parent.right
        height: parent.height
        leftPadding: 4
        rightPadding: 8
        readOnly: root.page.startScreenVisible
        selectByMouse: true
        color: Theme.text
        selectionColor: Theme.highlight
        selectedTextColor: Theme.highlightedText
        font.family: Theme.style.font.family
        font.pixelSize: Sizes.pageFont
        verticalAlignment: TextInput.AlignVCenter
        renderType: TextInput.NativeRendering

        Accessible.role: Accessible.EditableText
        Accessible.name: "tavel-ai-yestermark_TextField_search"
        Accessible.description: placeholder.text
        Accessible.editable: !readOnly

        onPressed: root.edit()
        onTextEdited: root.edit()
        onTextChanged: root.searchAnew()

        Keys.onPressed: { // before the key changes the text: the pages turn first
            if (!root.editing && !readOnly && event.text >= " ")
                root.edit()
            event.accepted = false
        }
        Keys.onReturnPressed: root.submit()
        Keys.onEnterPressed: root.submit()
        Keys.onEscapePressed: root.leave()
        Keys.onDownPressed: root.resultPage.focusHits()

        BodyText {
            id: placeholder
            anchors.fill: parent
            anchors.leftMargin: input.leftPadding
            visible: input.text === "" && input.preeditText === ""
            opacity: 0.3
            text: qsTr("Enter your memory fragments...")
            font.pixelSize: Sizes.pageFont
            elide: Text.ElideRight
            Accessible.ignored: true
        }

        FocusFrame {
            anchors.leftMargin: input.x > 0 ? -input.x : 0
            visible: input.activeFocus && !root.editing
                     && (input.focusReason === Qt.TabFocusReason
                         || input.focusReason === Qt.BacktabFocusReason)
        }
    }

    ButtonItem {
        id: clearButton
        anchors.right: parent.right
        anchors.rightMargin: 2
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: root.height - 4
        implicitHeight: root.height - 4
        visible: root.text !== ""
        accessibleId: "Button_clearSearch"
        iconName: "edit-clear-symbolic"
        iconSize: root.iconSize
        onClicked: root.clear()
    }
}
