import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property headerRecord header

    implicitHeight: Math.max(row.implicitHeight, 20) + 24

    Row {
        id: row
        anchors.left: parent.left
        anchors.leftMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        spacing: 8

        BraskMark {
            theme: root.theme
            source: root.header.mark
            letter: root.header.markLetter
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
        Tag {
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
        color: root.theme.dot(root.header.dot)
        Accessible.role: Accessible.Graphic
        Accessible.name: root.header.toolTip

        ToolTipArea {
            tip: root.tip
            text: root.header.toolTip
            // Eight points are hard to hit.
            anchors.margins: -8
        }
    }
}
