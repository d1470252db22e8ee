import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property agentsRecord agents

    spacing: 8

    SectionCaption {
        theme: root.theme
        text: root.agents.caption
        width: root.width
    }
    PanelText {
        theme: root.theme
        ink: theme.secondary
        text: root.agents.empty
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
    FlowChips {
        theme: root.theme
        tip: root.tip
        agents: root.agents
        visible: root.agents.rows.length > 0
        width: root.width
    }
}
