import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property actionsRecord actions
    signal gradeAsked
    signal iterateAsked
    signal keyAsked

    spacing: 8

    Row {
        width: root.width
        spacing: 8

        PushButton {
            objectName: "gradeButton"
            theme: root.theme
            prominent: true
            label: root.actions.grade.label
            symbol: root.actions.grade.symbol
            usable: root.actions.grade.enabled
            width: parent.width - (iterate.visible ? iterate.width + parent.spacing : 0)
            height: implicitHeight
            onClicked: root.gradeAsked()
        }
        PushButton {
            id: iterate
            objectName: "iterateButton"
            theme: root.theme
            label: root.actions.iterate.label
            symbol: root.actions.iterate.symbol
            visible: root.actions.iterate.visible
            usable: root.actions.iterate.enabled
            width: implicitWidth
            height: implicitHeight
            onClicked: root.iterateAsked()
        }
    }
    LinkButton {
        objectName: "getKeyLink"
        theme: root.theme
        label: root.actions.getKey.label
        visible: root.actions.getKey.visible
        width: Math.min(implicitWidth, root.width)
        height: implicitHeight
        onClicked: root.keyAsked()
    }
}
