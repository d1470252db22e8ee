import QtQuick
import Kelvane.Panel

RoundedBox {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property string label
    required property int tint
    required property int labelTint
    required property string toolTip

    implicitWidth: Math.ceil(words.implicitWidth) + 18
    implicitHeight: Math.ceil(words.implicitHeight) + 6
    radius: 6
    color: theme.fill(tint)

    PanelText {
        id: words
        theme: root.theme
        ink: root.theme.ink(root.labelTint)
        text: root.label
        x: 9
        y: 3
        wrapMode: Text.NoWrap
        font.pixelSize: theme.caption
        font.weight: Font.Bold
        Accessible.description: root.toolTip
    }
    ToolTipArea {
        visible: text !== ""
        tip: root.tip
        text: root.toolTip
    }
}
