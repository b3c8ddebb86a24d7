// What a search found: the hits of the text and the hits of the picture, a tab each.
import QtQuick 2.12
import "basecomponent"

FocusScope {
    id: root

    property string searchText
    property bool textNoResult: false
    property bool imageNoResult: false
    readonly property bool headed: searchText !== ""
    readonly property Item shownHits: state === "imageMatch" ? imageHits : textHits

    signal leaveRequested
    signal chosen(QtObject hit, int searchImageType)

    implicitHeight: Sizes.h(952)
    state: "textMatch"

    Keys.onEscapePressed: leaveRequested()

    function focusHits() {
        shownHits.focusHits()
    }

    states: [
        State { name: "textMatch" },
        State { name: "imageMatch" }
    ]

    MouseArea {
        anchors.fill: parent
        onClicked: root.leaveRequested()
    }

    Row {
        id: titles
        x: Sizes.w(102)
        y: textHits.y - height - Sizes.h(12)
        spacing: Sizes.w(32)
        visible: root.headed

        BodyText {
            topPadding: textTab.topPadding
            text: qsTr("Search Result:")
            font.pixelSize: Sizes.pageFont
            font.bold: true
            color: Theme.veilText

            MouseArea { anchors.fill: parent } // a text is no empty part
        }

        SearchTab {
            id: textTab
            accessibleId: "PageTab_textMatch"
            text: qsTr("Text Matching")
            current: root.state === "textMatch"
            onClicked: root.state = "textMatch"
        }

        SearchTab {
            accessibleId: "PageTab_imageMatch"
            text: qsTr("Image Matching")
            current: root.state === "imageMatch"
            onClicked: root.state = "imageMatch"
        }
    }

    SearchPageFlickable {
        id: textHits
        x: Sizes.w(102)
        y: root.height - height
        visible: root.state === "textMatch"
        model: VideoInfo.textMatchResultModel
        searchImageType: 2
        searchText: root.searchText
        noResult: root.textNoResult
        onChosen: root.chosen(hit, searchImageType)
        onEmptyClicked: root.leaveRequested()
    }

    SearchPageFlickable {
        id: imageHits
        x: textHits.x
        y: textHits.y
        visible: root.state === "imageMatch"
        model: VideoInfo.imageMatchResultModel
        searchImageType: 3
        searchText: root.searchText
        noResult: root.imageNoResult
        onChosen: root.chosen(hit, searchImageType)
        onEmptyClicked: root.leaveRequested()
    }
}
