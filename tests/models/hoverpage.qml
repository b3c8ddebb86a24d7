// A page in little: what the time axis does under the pointer and at a click.
import QtQuick 2.12
Item {
    id: root
    property bool previewImgVisible: false
    width: 320; height: 480
    function hover(x, id) {
        VideoInfo.showPreviewImageItem(0, x, id);
        previewImgVisible = !VideoInfo.isPreviewImgEmpty();
        return previewImgVisible;
    }
    function hoverBar(bar, x, id) {
        VideoInfo.showPreviewImageItem(0, bar, x, id);
        return !VideoInfo.isPreviewImgEmpty();
    }
    function click(x, id) { VideoInfo.showCurShowImageItem(0, x, id); }
    Image {
        objectName: "preview"
        cache: false
        source: VideoPreviewItem.videoPreviewImageSource
                ? "image://" + VideoPreviewItem.videoPreviewImageSource : ""
    }
    Image {
        objectName: "large"
        y: 240
        cache: false
        source: VideoPreviewItem.curShowImageSource
                ? "image://" + VideoPreviewItem.curShowImageSource : ""
    }
}
