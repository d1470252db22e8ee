// The tool tip: one for the whole panel, drawn above everything and kept inside it.
import QtQuick
import Kelvane.Panel

RoundedBox {
    id: root

    required property Theme theme
    /// How long the pointer rests before it is shown, in milliseconds: about what desktops wait.
    property int delay: 600
    property Item source: null
    property string text

    function offer(area: Item, words: string) {
        source = area
        text = words
        if (!visible) timer.restart()
        else place()
    }
    function withdraw(area: Item) {
        if (source === area) hide()
    }
    function hide() {
        timer.stop()
        visible = false
        if (source) source = null
    }
    function place() {
        const spot = source.mapToItem(parent, 0, 0)
        x = Math.round(Math.max(8, Math.min(parent.width - width - 8,
                                            spot.x + source.width / 2 - width / 2)))
        const below = spot.y + source.height + 6
        y = Math.round(below + height + 8 <= parent.height ? below
                                                          : Math.max(8, spot.y - height - 6))
    }

    onSourceChanged: if (!source) hide()

    objectName: "toolTip"
    visible: false
    width: Math.min(words.implicitWidth, parent.width - 32) + 16
    height: words.height + 10
    radius: 5
    color: theme.dark ? "#3a3a3d" : "#ffffff"
    borderWidth: 1
    borderColor: theme.edge(0.35)
    Accessible.ignored: true

    PanelText {
        id: words
        theme: root.theme
        text: root.text
        x: 8
        y: 5
        width: parent.width - 16
        maximumLineCount: 18
        font.pixelSize: theme.caption
        Accessible.ignored: true
    }
    Timer {
        id: timer
        interval: root.delay
        onTriggered: {
            if (!root.source) return
            root.place()
            root.visible = true
        }
    }
}
