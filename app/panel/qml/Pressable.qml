// What every control has in common: mouse, keyboard, focus ring and accessibility.
//
// Keyboard focus comes by Tab alone, as the ring shows; a click leaves it where it is. A control that
// cannot be used now keeps it, so that the position is not lost over a grade.
import QtQuick
import Kelvane.Panel

PanelControl {
    id: root

    required property Theme theme
    property real ringRadius: 5
    property real ringGap: 2
    readonly property bool hovered: mouse.containsMouse && usable
    property bool keyDown: false

    function press() {
        if (usable) clicked()
    }

    pressed: usable && ((mouse.pressed && mouse.containsMouse) || keyDown)
    activeFocusOnTab: usable || activeFocus
    onActiveFocusChanged: keyDown = false
    onUsableChanged: keyDown = false

    Accessible.role: Accessible.Button
    Accessible.name: spokenName === "" ? label : spokenName
    Accessible.ignored: !visible

    Keys.onPressed: event => {
        const returns = event.key === Qt.Key_Return || event.key === Qt.Key_Enter
        if (!returns && event.key !== Qt.Key_Space) return
        event.accepted = true
        if (event.isAutoRepeat) return
        if (returns) press()
        else keyDown = usable
    }
    Keys.onReleased: event => {
        if (event.key !== Qt.Key_Space || event.isAutoRepeat || !keyDown) return
        event.accepted = true
        keyDown = false
        press()
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
        onClicked: root.press()
    }
}
