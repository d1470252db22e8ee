// What every control has in common: mouse, keyboard, focus ring and accessibility.
//
// Keyboard focus comes by Tab alone, as the ring shows; a click leaves it where it is.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property string label
    property real ringRadius: 5
    property real ringGap: 2
    readonly property bool hovered: mouse.containsMouse && enabled
    readonly property bool pressed: (mouse.pressed && mouse.containsMouse) || keyDown
    property bool keyDown: false

    signal clicked

    activeFocusOnTab: true
    onActiveFocusChanged: keyDown = false
    onEnabledChanged: keyDown = false

    Accessible.role: Accessible.Button
    Accessible.name: label
    Accessible.focusable: true
    Accessible.pressed: pressed
    Accessible.ignored: !visible
    Accessible.onPressAction: if (root.enabled) root.clicked()

    Keys.onPressed: event => {
        const returns = event.key === Qt.Key_Return || event.key === Qt.Key_Enter
        if (!returns && event.key !== Qt.Key_Space) return
        event.accepted = true
        if (event.isAutoRepeat) return
        if (returns) clicked()
        else keyDown = true
    }
    Keys.onReleased: event => {
        if (event.key !== Qt.Key_Space || event.isAutoRepeat || !keyDown) return
        event.accepted = true
        keyDown = false
        clicked()
    }

    RoundedBox {
        visible: root.activeFocus
        anchors.fill: parent
        anchors.margins: -root.ringGap - borderWidth
        radius: root.ringRadius + root.ringGap
        color: "transparent"
        borderWidth: 2
        borderColor: root.theme.focusRing
    }

    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        cursorShape: Qt.PointingHandCursor
        onClicked: root.clicked()
    }
}
