// What was entered into a list, with a way to take it out again.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property string label
    signal removeAsked

    implicitHeight: Math.max(words.height, remove.height)

    PanelText {
        id: words
        anchors.left: parent.left
        theme: root.theme
        text: root.label
        width: root.width - remove.width - 8
        font.pixelSize: theme.callout
    }
    LinkButton {
        id: remove
        objectName: "remove"
        theme: root.theme
        label: qsTr("Remove")
        spokenName: qsTr("Remove %1").arg(root.label)
        anchors.right: parent.right
        width: implicitWidth
        height: implicitHeight
        onClicked: root.removeAsked()
    }
}
