import QtQuick
import Kelvane.Drawing

Item {
    id: root

    required property Theme theme
    required property Item bubble
    required property var header

    implicitHeight: Math.max(row.implicitHeight, 20) + 24

    Row {
        id: row
        x: 16
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8

        BraskMark {
            theme: root.theme
            source: root.header.mark
            anchors.verticalCenter: parent.verticalCenter
        }
        PanelText {
            theme: root.theme
            text: root.header.product
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.NoWrap
            font.pixelSize: theme.body + 1
            font.weight: Font.DemiBold
        }
        Capsule {
            theme: root.theme
            text: root.header.tag
            width: implicitWidth
            height: implicitHeight
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    RoundedBox {
        objectName: "statusDot"
        anchors.verticalCenter: parent.verticalCenter
        anchors.right: parent.right
        anchors.rightMargin: 16
        width: 8
        height: 8
        radius: 4
        color: root.theme.lights[root.header.dot]
        Accessible.role: Accessible.Indicator
        Accessible.name: root.header.toolTip

        HintArea {
            bubble: root.bubble
            hint: root.header.toolTip
            // Eight points are hard to hit.
            anchors.margins: -8
        }
    }
}
