// A button with a border, or with `prominent` a filled one.
import QtQuick
import Kelvane.Panel

Pressable {
    id: root

    property string symbol
    property bool prominent: false
    readonly property color ink: !usable ? theme.secondary : prominent ? theme.white : theme.primary

    implicitWidth: Math.ceil(content.implicitWidth) + 24
    implicitHeight: theme.body + 17
    ringRadius: 7

    RoundedBox {
        anchors.fill: parent
        radius: 7
        color: root.prominent && root.usable ? root.theme.accent
             : root.usable ? root.theme.raised : root.theme.wash(root.theme.secondary, 0.12)
        borderWidth: root.theme.highContrast || (root.usable && !root.prominent) ? 1 : 0
        borderColor: root.theme.edge(0.35)

        RoundedBox {
            anchors.fill: parent
            radius: parent.radius
            color: "#000000"
            opacity: root.pressed ? 0.14 : root.hovered ? 0.06 : 0
            visible: opacity > 0
        }
    }

    Row {
        id: content
        anchors.centerIn: parent
        spacing: 6

        SymbolImage {
            anchors.verticalCenter: parent.verticalCenter
            visible: symbol !== ""
            symbol: root.symbol
            ink: root.ink
            size: root.theme.body + 4
        }
        PanelText {
            theme: root.theme
            ink: root.ink
            text: root.label
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.NoWrap
            font.weight: Font.Medium
            Accessible.ignored: true
        }
    }
}
