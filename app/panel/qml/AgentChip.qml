import QtQuick
import Kelvane.Drawing

RoundedBox {
    id: root

    required property Theme theme
    required property Item bubble
    required property string name
    required property string dot
    required property string badge
    required property string toolTip

    readonly property real textRoom: width - 16 - 7 - 6 - (badge === "" ? 0 : shield.width + 5)

    implicitWidth: Math.ceil(words.implicitWidth) + 16 + 7 + 6 + (badge === "" ? 0 : shield.width + 5)
    implicitHeight: Math.ceil(words.implicitHeight) + 8
    radius: 7
    color: theme.wash("secondary", 0.1)

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: toolTip

    RoundedBox {
        objectName: "dot"
        x: 8
        anchors.verticalCenter: parent.verticalCenter
        width: 7
        height: 7
        radius: 3.5
        color: root.theme.lights[root.dot] ?? "transparent"
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.name
        x: 21
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
        x: words.x + words.width + 5
        symbol: root.badge
        ink: root.theme.inks.green
        size: root.theme.caption + 1
    }
    HintArea {
        bubble: root.bubble
        hint: root.toolTip
    }
}
