// The agents, two to a row. A chip is as wide as its name needs; when two do not fit side by side
// the longer one gives way first.
import QtQuick

Column {
    id: root

    required property Theme theme
    required property Item bubble
    required property var rows

    spacing: 6
    Accessible.role: Accessible.List

    Repeater {
        model: root.rows

        Row {
            id: row
            required property var modelData
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
                model: row.modelData

                AgentChip {
                    required property int index
                    required property var modelData

                    theme: root.theme
                    bubble: root.bubble
                    name: modelData.name
                    dot: modelData.dot
                    badge: modelData.badge
                    toolTip: modelData.toolTip
                    width: Math.min(implicitWidth, row.room(index))
                }
            }
        }
    }
}
