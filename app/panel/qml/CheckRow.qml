// A box to tick, or one choice of several, with its words beside it.
import QtQuick
import Kelvane.Panel

Pressable {
    id: root

    checkable: true
    implicitWidth: mark.width + 8 + Math.ceil(oneLine.implicitWidth)
    implicitHeight: Math.max(mark.height, Math.ceil(words.height)) + 4
    ringRadius: 3

    RoundedBox {
        id: mark
        anchors.left: parent.left
        width: root.theme.body + 1
        height: width
        anchors.verticalCenter: parent.verticalCenter
        radius: root.oneOfSeveral ? width / 2 : 3
        color: root.checked ? root.theme.accent : root.theme.raised
        borderWidth: root.checked && !root.theme.highContrast ? 0 : 1
        borderColor: root.theme.edge(0.8)

        RoundedBox {
            visible: root.checked
            anchors.centerIn: parent
            width: root.oneOfSeveral ? parent.width * 0.4 : parent.width * 0.5
            height: width
            radius: root.oneOfSeveral ? width / 2 : 1
            color: root.theme.white
        }
    }
    // What is drawn cannot tell its natural width: it finds it out while its own width, which follows, is set.
    PanelText {
        id: oneLine
        visible: false
        theme: root.theme
        text: root.label
        wrapMode: Text.NoWrap
        font: words.font
    }
    PanelText {
        id: words
        theme: root.theme
        text: root.label
        anchors.left: mark.right
        anchors.leftMargin: 8
        width: root.width - mark.width - 8
        anchors.verticalCenter: parent.verticalCenter
        font.pixelSize: theme.callout
        Accessible.ignored: true
    }
}
