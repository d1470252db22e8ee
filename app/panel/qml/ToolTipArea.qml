// Shows a tool tip while the pointer rests on it. Lies over its parent and takes no clicks.
import QtQuick

MouseArea {
    id: root

    required property Item bubble
    required property string hint

    anchors.fill: parent
    acceptedButtons: Qt.NoButton
    hoverEnabled: true
    onEntered: bubble.offer(root, hint)
    onExited: bubble.withdraw(root)
    onHintChanged: if (containsMouse) bubble.offer(root, hint)
}
