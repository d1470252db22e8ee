import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property PanelToolTip tip
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
            Accessible.description: root.actions.grade.toolTip
            onClicked: root.gradeAsked()

            // Says why it cannot be used; over a button that can, it would be in the way.
            ToolTipArea {
                tip: root.tip
                text: root.actions.grade.toolTip
                visible: text !== "" && !root.actions.grade.enabled
                cursorShape: Qt.ArrowCursor
            }
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
        anchors.left: parent.left
        width: Math.min(implicitWidth, root.width)
        height: implicitHeight
        onClicked: root.keyAsked()
    }
}
