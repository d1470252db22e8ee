import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property flawRecord flaw
    property real severityWidth: naturalSeverityWidth
    /// Whether it speaks for itself; not where a control that lies over it does.
    property bool speaks: true
    readonly property real naturalSeverityWidth: Math.min(Math.ceil(level.implicitWidth), Math.round(92 * theme.grown))

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
        Accessible.ignored: !visible || !root.speaks
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.flaw.text
        anchors.left: level.right
        anchors.leftMargin: 8
        width: root.width - level.width - 8
        font.pixelSize: theme.caption
        Accessible.ignored: !visible || !root.speaks
    }
}
