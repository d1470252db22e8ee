import QtQuick

Item {
    id: root

    required property Theme theme
    required property string severity
    required property string tint
    required property string text
    property real severityWidth: naturalSeverityWidth
    readonly property real naturalSeverityWidth: Math.min(Math.ceil(level.implicitWidth), 92)

    implicitHeight: Math.max(level.y + level.height, words.y + words.height)

    PanelText {
        id: level
        theme: root.theme
        ink: root.tint
        text: root.severity
        width: root.severityWidth
        // Both texts stand on one line of writing.
        y: words.baselineOffset - baselineOffset
        wrapMode: Text.NoWrap
        font.pixelSize: theme.smallCaption
        font.weight: Font.Bold
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.text
        x: level.width + 8
        width: root.width - x
        maximumLineCount: 6
        font.pixelSize: theme.caption
    }
}
