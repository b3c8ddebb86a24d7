// An application's icon: a file where its address is given, else an icon of the theme.
import QtQuick 2.12
import org.vesk.qqc2style.private 1.0 as StylePrivater

Item {
    id: root

    property string source
    property int size: Sizes.titleBarIcon
    readonly property bool isFile: source.indexOf("file://") === 0

    implicitWidth: size
    implicitHeight: size

    Loader {
        anchors.fill: parent
        sourceComponent: root.source === "" ? null : root.isFile ? picture : themeIcon
    }

    Component {
        id: picture
        Image {
            source: root.source
            sourceSize: Qt.size(root.size, root.size)
            fillMode: Image.PreserveAspectFit
        }
    }

    Component {
        id: themeIcon
        StylePrivater.TavelIcon {
            name: root.source
            size: root.size
            color: Theme.text
        }
    }
}
