// The panel. It draws what the bridge says and tells it what was pressed.
import QtQuick
import Kelvane.Panel

FocusScope {
    id: root

    required property PanelBridge bridge
    /// Above 0: a window of its own, with a hairline along its edge.
    property real cornerRadius: 0

    /// Escape was pressed and there was nothing in the panel for it to end.
    signal dismissed

    function reset() {
        menu.close(false)
        tip.hide()
        root.forceActiveFocus()
    }

    readonly property Theme theme: Theme {
        dark: root.bridge.dark
        textSize: root.bridge.textSize
    }

    width: 360
    implicitWidth: 360
    implicitHeight: column.implicitHeight
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: bridge.header.product

    Keys.onEscapePressed: event => {
        event.accepted = false
        root.dismissed()
    }

    Rectangle {
        anchors.fill: parent
        color: root.theme.background
    }

    Column {
        id: column
        width: root.width

        HeaderRow {
            theme: root.theme
            tip: tip
            header: root.bridge.header
            width: parent.width
            height: implicitHeight
        }
        Divider {
            theme: root.theme
            width: parent.width
            strength: 0.4
        }
        Item {
            width: parent.width
            height: body.implicitHeight + 32

            Column {
                id: body
                x: 16
                y: 16
                width: parent.width - 32
                spacing: 14

                NowSection {
                    theme: root.theme
                    now: root.bridge.now
                    width: parent.width
                }
                VerdictSection {
                    theme: root.theme
                    tip: tip
                    verdict: root.bridge.verdict
                    actions: root.bridge.actions
                    visible: verdict.shown
                    width: parent.width
                    onReportAsked: root.bridge.openReport()
                    onCancelAsked: root.bridge.cancel()
                }
                ActionRow {
                    theme: root.theme
                    actions: root.bridge.actions
                    width: parent.width
                    onGradeAsked: root.bridge.grade()
                    onIterateAsked: root.bridge.iterate()
                    onKeyAsked: root.bridge.getKey()
                }
                Divider {
                    theme: root.theme
                    width: parent.width
                    strength: 0.3
                }
                AgentsSection {
                    theme: root.theme
                    tip: tip
                    agents: root.bridge.agents
                    width: parent.width
                }
                WorkflowSection {
                    theme: root.theme
                    workflow: root.bridge.workflow
                    width: parent.width
                }
            }
        }
        Divider {
            theme: root.theme
            width: parent.width
        }
        FooterRow {
            id: footer
            theme: root.theme
            footer: root.bridge.footer
            width: parent.width
            height: implicitHeight
            onWireAsked: root.bridge.wire()
            onMenuAsked: menu.open(footer.menuButton.activeFocus)
        }
    }

    PanelMenu {
        id: menu
        theme: root.theme
        footer: root.bridge.footer
        button: footer.menuButton
        onChosen: action => root.bridge.choose(action)
    }
    PanelToolTip {
        id: tip
        theme: root.theme
    }
    PanelEdge {
        theme: root.theme
        radius: root.cornerRadius
        visible: radius > 0
        anchors.fill: parent
    }
}
