import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property workflowRecord workflow

    spacing: 6

    Row {
        width: root.width
        spacing: 8

        SectionCaption {
            theme: root.theme
            text: root.workflow.caption
            anchors.verticalCenter: parent.verticalCenter
        }
        Tag {
            theme: root.theme
            ink: theme.blue
            text: root.workflow.tag
            visible: text !== ""
            horizontalPadding: 5
            verticalPadding: 1
            width: implicitWidth
            height: implicitHeight
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    PanelText {
        theme: root.theme
        text: root.workflow.pipeline
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
}
