import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property nowRecord now

    spacing: 6

    SectionCaption {
        theme: root.theme
        text: root.now.caption
        width: root.width
    }
    Row {
        width: root.width
        spacing: 10

        Item {
            id: picture
            width: 32
            height: 32
            anchors.verticalCenter: parent.verticalCenter

            AppGlyph {
                visible: root.now.recognised
                theme: root.theme
                source: root.now.icon
            }
            SymbolImage {
                anchors.centerIn: parent
                visible: !root.now.recognised
                symbol: root.now.symbol
                ink: root.theme.secondary
                size: 26
            }
        }
        Column {
            width: parent.width - picture.width - parent.spacing
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            PanelText {
                theme: root.theme
                text: root.now.headline
                width: parent.width
                maximumLineCount: 2
                font.weight: root.now.recognised ? Font.DemiBold : Font.Medium
            }
            PanelText {
                theme: root.theme
                ink: theme.secondary
                text: root.now.detail
                width: parent.width
                maximumLineCount: 2
                font.pixelSize: theme.caption
            }
        }
    }
    PanelText {
        objectName: "desktopHint"
        theme: root.theme
        ink: theme.secondary
        text: root.now.hint
        visible: text !== ""
        width: root.width
        maximumLineCount: 5
        font.pixelSize: theme.caption
    }
}
