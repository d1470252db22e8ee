import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property footerRecord footer
    readonly property LinkButton menuButton: settings
    signal wireAsked
    signal menuAsked

    implicitHeight: wire.height + 20

    LinkButton {
        id: wire
        objectName: "wireLink"
        theme: root.theme
        label: root.footer.wire.label
        anchors.left: parent.left
        anchors.leftMargin: 16
        y: 10
        width: implicitWidth
        height: implicitHeight
        onClicked: root.wireAsked()
    }
    LinkButton {
        id: settings
        objectName: "settingsButton"
        theme: root.theme
        quiet: true
        label: root.footer.menuTitle
        trailingSymbol: "chevron.down"
        trailingTurn: 180 // The menu opens upwards.
        anchors.right: parent.right
        anchors.rightMargin: 16
        y: 10
        width: implicitWidth
        height: implicitHeight
        opensMenu: true
        Keys.onDownPressed: root.menuAsked()
        Keys.onUpPressed: root.menuAsked()
        onClicked: root.menuAsked()
    }
}
