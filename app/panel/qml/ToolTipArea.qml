// Shows a tool tip while the pointer rests on it. Lies over its parent and takes no clicks.
import QtQuick

MouseArea {
    id: root

    required property PanelToolTip tip
    required property string text

    anchors.fill: parent
    acceptedButtons: Qt.NoButton
    hoverEnabled: true
    onEntered: tip.offer(root, text)
    onExited: tip.withdraw(root)
    onTextChanged: if (containsMouse) tip.offer(root, text)
}
