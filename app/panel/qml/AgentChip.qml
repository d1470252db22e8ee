import QtQuick
import Kelvane.Panel

RoundedBox {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property chipRecord chip

    readonly property real textRoom: width - 16 - 7 - 6 - (chip.badge === "" ? 0 : shield.width + 5)

    implicitWidth: Math.ceil(words.implicitWidth) + 16 + 7 + 6 + (chip.badge === "" ? 0 : shield.width + 5)
    implicitHeight: Math.ceil(words.implicitHeight) + 8
    radius: 7
    color: theme.wash(theme.secondary, 0.1)

    Accessible.role: Accessible.ListItem
    Accessible.name: chip.name
    Accessible.description: chip.toolTip

    RoundedBox {
        objectName: "dot"
        anchors.left: parent.left
        anchors.leftMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        width: 7
        height: 7
        radius: 3.5
        color: root.theme.dot(root.chip.dot)

        // Not by its colour alone: what runs is full, what does not is a ring.
        RoundedBox {
            visible: root.chip.dot === Tint.Secondary
            anchors.centerIn: parent
            width: 3
            height: 3
            radius: 1.5
            color: root.theme.background
        }
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.chip.name
        anchors.left: parent.left
        anchors.leftMargin: 21
        y: 4
        width: Math.min(Math.ceil(implicitWidth), root.textRoom)
        wrapMode: Text.NoWrap
        font.pixelSize: theme.caption
        Accessible.ignored: true
    }
    SymbolImage {
        id: shield
        visible: symbol !== ""
        anchors.verticalCenter: parent.verticalCenter
        anchors.left: words.right
        anchors.leftMargin: 5
        symbol: root.chip.badge
        ink: root.theme.green
        size: root.theme.caption + 1
    }
    ToolTipArea {
        tip: root.tip
        text: root.chip.toolTip
    }
}
