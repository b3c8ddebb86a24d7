// The small picture of the frame under the pointer, with its application, date and time.
import QtQuick 2.12
import "basecomponent"

Item {
    id: root

    property int screenWidth
    property int iconSize
    readonly property int previewImgWidth: Math.round(screenWidth * 0.2)
    readonly property real aspect: picture.image.implicitWidth > 0
                                   ? picture.image.implicitHeight / picture.image.implicitWidth
                                   : 9 / 16
    readonly property int padding: Sizes.gap

    width: previewImgWidth + 2 * padding
    height: picture.height + caption.height + 2 * padding

    // The page asks right after a change whether there is a picture, and ids repeat: every change
    // loads anew, at once.
    function reload() {
        var source = VideoPreviewItem.videoPreviewImageSource
        picture.image.source = ""
        if (source !== "")
            picture.image.source = "image://" + source
    }

    Connections {
        target: VideoPreviewItem
        function onVideoPreviewImageSourceChanged() { root.reload() }
    }

    SoftShadow {
        anchors.fill: parent
        radius: Sizes.cardRadius
        verticalOffset: 8
    }

    Rectangle {
        anchors.fill: parent
        radius: Sizes.cardRadius
        color: Theme.base
        border.width: 1
        border.color: Theme.frame
    }

    RoundedImage {
        id: picture
        x: root.padding
        y: root.padding
        width: root.previewImgWidth
        height: Math.round(root.previewImgWidth * root.aspect)
        radius: 8
        frame: 2
        Accessible.role: Accessible.Graphic
        Accessible.name: "tavel-ai-yestermark_Image_preview"
        Accessible.description: VideoPreviewItem.previewAppName
    }

    Item {
        id: caption
        x: root.padding
        anchors.top: picture.bottom
        width: root.previewImgWidth
        height: Math.max(root.iconSize, when.implicitHeight) + 2 * Sizes.gap

        AppIcon {
            id: icon
            anchors.verticalCenter: parent.verticalCenter
            source: VideoPreviewItem.previewAppIcon
            size: root.iconSize
        }

        BodyText {
            anchors.verticalCenter: parent.verticalCenter
            x: icon.width + 8
            width: Math.max(0, root.previewImgWidth - when.width - icon.width - 8)
            text: VideoPreviewItem.previewAppName
            font.pixelSize: Sizes.pageFont
            elide: Text.ElideRight
        }

        BodyText {
            id: when
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            leftPadding: 8
            text: VideoPreviewItem.previewImageDate + " " + VideoPreviewItem.previewImageTime
            font.pixelSize: Sizes.pageFont
            color: Theme.faintText
        }
    }
}
