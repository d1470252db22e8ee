// A short word on a ground of its own, round at both ends.
import QtQuick
import Kelvane.Panel

RoundedBox {
    id: root

    required property Theme theme
    required property string text
    property color ink: theme.secondary
    property real horizontalPadding: 6
    property real verticalPadding: 2

    implicitWidth: Math.ceil(label.implicitWidth) + 2 * horizontalPadding
    implicitHeight: Math.ceil(label.implicitHeight) + 2 * verticalPadding
    radius: height / 2
    color: theme.wash(ink, 0.12)

    PanelText {
        id: label
        theme: root.theme
        ink: root.ink
        text: root.text
        x: root.horizontalPadding
        y: root.verticalPadding
        wrapMode: Text.NoWrap
        font.pixelSize: theme.caption
    }
}
