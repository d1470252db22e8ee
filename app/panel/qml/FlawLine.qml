import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property flawRecord flaw
    property real severityWidth: naturalSeverityWidth
    readonly property real naturalSeverityWidth: Math.min(Math.ceil(level.implicitWidth), 92)

    implicitHeight: Math.max(level.y + level.height, words.y + words.height)

    PanelText {
        id: level
        anchors.left: parent.left
        theme: root.theme
        ink: root.theme.ink(root.flaw.tint)
        text: root.flaw.severity
        width: root.severityWidth
        // Both texts stand on one line of writing.
        y: words.baselineOffset - baselineOffset
        font.pixelSize: theme.smallCaption
        font.weight: Font.Bold
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.flaw.text
        anchors.left: level.right
        anchors.leftMargin: 8
        width: root.width - level.width - 8
        font.pixelSize: theme.caption
    }
}
