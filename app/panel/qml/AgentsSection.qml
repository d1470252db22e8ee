import QtQuick

Column {
    id: root

    required property Theme theme
    required property Item bubble
    required property var agents

    spacing: 8

    SectionCaption {
        theme: root.theme
        text: root.agents.caption
        width: root.width
    }
    PanelText {
        theme: root.theme
        ink: "secondary"
        text: root.agents.empty
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
    FlowChips {
        theme: root.theme
        bubble: root.bubble
        rows: root.agents.rows
        visible: root.agents.rows.length > 0
        width: root.width
    }
}
