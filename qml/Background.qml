// The calm picture behind everything. It is drawn small and stretched: it has no edges to lose.
import QtQuick 2.12

Image {
    id: root

    property int themeType: 2

    source: themeType === 1 ? "qrc:/image/yestermarkdarkbackground.svg"
                            : "qrc:/image/yestermarkbackground.svg"
    sourceSize: Qt.size(640, 360)
    fillMode: Image.PreserveAspectCrop
    smooth: true
}
