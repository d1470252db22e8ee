// The agents, two to a row. A chip is as wide as its name needs; when two do not fit side by side
// the longer one gives way first.
import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property agentsRecord agents

    spacing: 6
    Accessible.role: Accessible.List
    Accessible.name: agents.caption

    Repeater {
        model: root.agents.rows

        Row {
            id: row
            required property chipRowRecord modelData
            readonly property real half: (root.width - spacing) / 2
            readonly property Item first: chips.count > 0 ? chips.itemAt(0) : null
            readonly property Item second: chips.count > 1 ? chips.itemAt(1) : null

            function room(index: int): real {
                const other = index === 0 ? second : first
                if (!other) return root.width
                return root.width - spacing - Math.min(other.implicitWidth, half)
            }

            width: root.width
            spacing: 8

            Repeater {
                id: chips
                model: row.modelData.chips

                AgentChip {
                    required property int index
                    required property chipRecord modelData

                    theme: root.theme
                    tip: root.tip
                    chip: modelData
                    width: Math.min(implicitWidth, row.room(index))
                }
            }
        }
    }
}
