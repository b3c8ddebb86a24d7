// The name of a group of settings.
import QtQuick 2.12
import "basecomponent"

BodyText {
    id: root

    font.pixelSize: Sizes.headingFont
    font.weight: Font.DemiBold
    topPadding: Sizes.gap
}
