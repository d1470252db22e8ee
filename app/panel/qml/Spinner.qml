// A small progress indicator. It moves only while it can be seen, and in steps: each is one small
// repaint without a GPU.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    property real phase: 0
    readonly property int spokes: 8
    readonly property bool running: timer.running

    width: 16
    height: 16
    Accessible.role: Accessible.Indicator
    Accessible.ignored: true

    Timer {
        id: timer
        interval: 33
        repeat: true
        running: root.visible && root.Window.window !== null && root.Window.window.visible
        onTriggered: root.phase = (root.phase + 0.3) % root.spokes
    }
    Repeater {
        model: root.spokes
        RoundedBox {
            id: spoke
            required property int index
            x: 7
            y: 0.5
            width: 2
            height: 5
            radius: 1
            color: root.theme.primary
            opacity: 0.85 - 0.09 * ((root.phase - spoke.index + 2 * root.spokes) % root.spokes)
            transform: Rotation { origin.x: 1; origin.y: 7.5; angle: 360 / root.spokes * spoke.index }
        }
    }
}
