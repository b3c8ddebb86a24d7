// Moves the axis by a page; faint and out of use where there is nothing further.
import QtQuick 2.12
import "basecomponent"

ButtonItem {
    id: root

    iconSize: Sizes.atLeast(Sizes.smallIcon, Sizes.w(20))
    enabled: iconOpacity === 1
    implicitWidth: Sizes.w(40)
    implicitHeight: Sizes.h(40)
}
