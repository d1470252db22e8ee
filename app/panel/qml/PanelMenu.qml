// The Settings menu: opens above its button, takes the keyboard while it is open, and closes on a
// click elsewhere, on Escape, on Tab and on a choice.
import QtQuick
import Kelvane.Panel

MouseArea {
    id: root

    required property Theme theme
    required property footerRecord footer
    required property Pressable button
    property int current: -1
    property bool fromKeyboard: false

    signal chosen(int action)
    /// Closed, with the keyboard on nothing.
    signal closed

    // The panel grows and shrinks with what it says, and the button moves with its lower edge.
    onHeightChanged: if (visible) settled.restart()
    onCurrentChanged: if (visible) speak()

    function open(byKeyboard: bool) {
        place()
        current = byKeyboard ? step(-1, 1) : -1
        fromKeyboard = byKeyboard
        visible = true
        speak()
    }
    function place() {
        const mirrored = LayoutMirroring.enabled
        const spot = button.mapToItem(parent, mirrored ? 0 : button.width, 0)
        sheet.x = Math.round(Math.max(8, Math.min(parent.width - sheet.width - 8,
                                                  mirrored ? spot.x - 8 : spot.x - sheet.width + 8)))
        sheet.y = Math.round(Math.max(8, spot.y - sheet.height - 4))
    }
    /// The keyboard goes to what is chosen, so that it is read out.
    function speak() {
        const entry = current < 0 ? null : entries.itemAt(current)
        if (entry) entry.forceActiveFocus()
        else sheet.forceActiveFocus()
    }
    function close(toButton: bool) {
        if (!visible) return
        visible = false
        current = -1
        if (toButton) button.forceActiveFocus()
        else closed()
    }
    function step(from: int, by: int): int {
        const items = footer.menu
        let next = from
        do {
            next = (next + by + items.length) % items.length
        } while (items[next].title === "")
        return next
    }
    function choose(index: int) {
        const action = footer.menu[index].action
        close(fromKeyboard)
        chosen(action)
    }

    visible: false
    anchors.fill: parent
    hoverEnabled: true
    acceptedButtons: Qt.AllButtons
    onPressed: mouse => {
        if (!sheet.contains(mapToItem(sheet, mouse.x, mouse.y))) close(false)
    }
    onWheel: wheel => wheel.accepted = true

    Timer {
        id: settled
        interval: 0 // When the rest of the panel has its new place, too.
        onTriggered: root.place()
    }

    // A soft shadow out of three outlines: no effect that needs a GPU.
    Repeater {
        model: 3
        RoundedBox {
            required property int index
            x: sheet.x - 1 - index
            y: sheet.y - index
            width: sheet.width + 2 + 2 * index
            height: sheet.height + 2 + 2 * index
            radius: sheet.radius + 1 + index
            color: "#000000"
            opacity: root.theme.dark ? 0.16 : 0.05
        }
    }

    RoundedBox {
        id: sheet
        objectName: "menu"
        width: Math.min(column.implicitWidth + 10, root.width - 16)
        height: column.implicitHeight + 10
        radius: 8
        color: root.theme.raised
        borderWidth: 1
        borderColor: root.theme.edge(0.3)

        Accessible.role: Accessible.PopupMenu
        Accessible.name: root.button.label

        Keys.onPressed: event => {
            event.accepted = true
            switch (event.key) {
            case Qt.Key_Down: root.current = root.step(root.current, 1); break
            case Qt.Key_Up:
                root.current = root.step(root.current < 0 ? 0 : root.current, -1); break
            case Qt.Key_Home: root.current = root.step(-1, 1); break
            case Qt.Key_End: root.current = root.step(0, -1); break
            case Qt.Key_Return:
            case Qt.Key_Enter:
            case Qt.Key_Space:
                if (root.current >= 0 && !event.isAutoRepeat) root.choose(root.current)
                break
            case Qt.Key_Tab:
            case Qt.Key_Backtab:
            case Qt.Key_Escape: root.close(root.fromKeyboard); break
            default: event.accepted = false
            }
        }

        Column {
            id: column
            x: 5
            y: 5
            width: parent.width - 10

            Repeater {
                id: entries
                model: root.footer.menu

                Item {
                    id: entry
                    required property int index
                    required property menuItemRecord modelData
                    readonly property bool divides: modelData.title === ""

                    objectName: divides ? "" : "menu." + modelData.actionName
                    implicitWidth: Math.ceil(words.implicitWidth) + 20
                    width: Math.max(implicitWidth, column.width)
                    height: divides ? 9 : Math.ceil(words.implicitHeight) + 10

                    Accessible.role: divides ? Accessible.Separator : Accessible.MenuItem
                    Accessible.name: modelData.title
                    Accessible.focusable: !divides
                    Accessible.focused: activeFocus
                    Accessible.onPressAction: if (!divides) root.choose(index)

                    RoundedBox {
                        visible: !entry.divides && root.current === entry.index
                        anchors.fill: parent
                        radius: 5
                        color: root.theme.accent
                        borderWidth: root.theme.highContrast ? 1 : 0
                        borderColor: root.theme.edge(1)
                    }
                    Divider {
                        visible: entry.divides
                        theme: root.theme
                        x: 5
                        y: 4
                        width: parent.width - 10
                        strength: 0.6
                    }
                    PanelText {
                        id: words
                        theme: root.theme
                        ink: root.current === entry.index ? root.theme.white : root.theme.primary
                        text: entry.modelData.title
                        visible: !entry.divides
                        anchors.left: parent.left
                        anchors.leftMargin: 10
                        y: 5
                        wrapMode: Text.NoWrap
                        font.pixelSize: theme.callout
                        Accessible.ignored: true
                    }
                    MouseArea {
                        anchors.fill: parent
                        enabled: !entry.divides
                        hoverEnabled: true
                        onEntered: root.current = entry.index
                        onExited: if (root.current === entry.index) root.current = -1
                        onClicked: root.choose(entry.index)
                    }
                }
            }
        }
    }
}
