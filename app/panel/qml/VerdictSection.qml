import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property PanelToolTip tip
    required property verdictRecord verdict
    required property actionsRecord actions
    required property PanelBridge bridge
    signal reportAsked
    signal cancelAsked

    spacing: 8

    Row {
        objectName: "progress"
        visible: root.verdict.progress !== ""
        width: root.width
        spacing: 8

        Spinner {
            id: spinner
            objectName: "spinner"
            theme: root.theme
            anchors.verticalCenter: parent.verticalCenter
        }
        PanelText {
            theme: root.theme
            ink: theme.secondary
            text: root.verdict.progress
            width: parent.width - spinner.width - cancel.width - 2 * parent.spacing
            anchors.verticalCenter: parent.verticalCenter
            font.pixelSize: theme.callout
        }
        LinkButton {
            id: cancel
            objectName: "cancelLink"
            theme: root.theme
            label: root.actions.cancel
            width: implicitWidth
            height: implicitHeight
            anchors.verticalCenter: parent.verticalCenter
            spokenName: root.actions.cancelName
            onClicked: root.cancelAsked()
        }
    }

    Item {
        visible: root.verdict.graded
        width: root.width
        implicitHeight: Math.max(pill.height, report.height)

        BandPill {
            id: pill
            anchors.left: parent.left
            objectName: "bandPill"
            theme: root.theme
            tip: root.tip
            label: root.verdict.band
            tint: root.verdict.bandTint
            labelTint: root.verdict.bandLabelTint
            toolTip: root.verdict.bandToolTip
            width: implicitWidth
            height: implicitHeight
            anchors.verticalCenter: parent.verticalCenter
        }
        PanelText {
            theme: root.theme
            text: root.verdict.score
            anchors.left: pill.right
            anchors.leftMargin: 8
            width: Math.min(Math.ceil(implicitWidth),
                            parent.width - pill.width - 8 - (report.visible ? report.width + 8 : 0))
            visible: text !== ""
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.NoWrap
            font.pixelSize: theme.caption
        }
        LinkButton {
            id: report
            objectName: "reportLink"
            theme: root.theme
            label: root.verdict.report
            visible: label !== ""
            width: implicitWidth
            height: implicitHeight
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            onClicked: root.reportAsked()
        }
    }
    PanelText {
        theme: root.theme
        ink: theme.secondary
        text: root.verdict.error
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }

    FlawList {
        id: flawList
        objectName: "flawList"
        theme: root.theme
        bridge: root.bridge
        visible: root.bridge.flawsOpen
        width: root.width
        onFolded: byKeyboard => {
            if (byKeyboard && firstFlaws.visible) opener.forceActiveFocus()
        }
    }
    Item {
        id: firstFlaws
        visible: rows.count > 0 && !root.bridge.flawsOpen
        width: root.width
        implicitHeight: flaws.implicitHeight

        Column {
            id: flaws
            property real severityWidth: 0

            width: parent.width
            spacing: 6

            Repeater {
                id: rows
                model: root.verdict.flaws
                onItemAdded: (index, item) => flaws.severityWidth =
                    Math.max(index === 0 ? 0 : flaws.severityWidth, item.naturalSeverityWidth)

                FlawLine {
                    required property flawRecord modelData

                    theme: root.theme
                    flaw: modelData
                    severityWidth: flaws.severityWidth
                    width: flaws.width
                    height: implicitHeight
                }
            }
            PanelText {
                theme: root.theme
                ink: opener.hovered ? theme.primary : theme.secondary
                text: root.verdict.more
                visible: text !== ""
                width: parent.width
                font.pixelSize: theme.caption
            }
        }
        // All over them, and drawn by nothing but its ring: a press lists all flaws in their place.
        Pressable {
            id: opener
            objectName: "flawsButton"
            theme: root.theme
            label: qsTr("Show all flaws")
            anchors.fill: parent
            onClicked: {
                const byKeyboard = activeFocus
                root.bridge.flawsOpen = true
                if (byKeyboard) flawList.takeKeyboard(0)
            }
        }
    }
    PanelText {
        theme: root.theme
        text: root.verdict.summary
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
    PanelText {
        objectName: "note"
        theme: root.theme
        ink: theme.secondary
        text: root.verdict.note
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
    PanelText {
        objectName: "noteHint"
        theme: root.theme
        ink: theme.secondary
        text: root.verdict.hint
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
}
