// The panel. It draws what the bridge says and tells it what was pressed.
import QtQuick
import Kelvane.Panel

FocusScope {
    id: root

    required property PanelBridge bridge
    /// Above 0: a window of its own, with a hairline along its edge.
    property real cornerRadius: 0
    /// Whether nothing is drawn outside those corners; else the ground fills them.
    property bool groundIsRounded: false
    /// Above 0: no higher than this; the middle scrolls then, between its head and its foot.
    property real maximumHeight: 0
    readonly property bool previews: bridge.preview.shown
    readonly property real naturalHeight: head.implicitHeight
        + (previews ? preview.implicitHeight : body.implicitHeight + 32 + foot.implicitHeight)

    /// Escape was pressed and there was nothing in the panel for it to end.
    signal dismissed

    function reset() {
        menu.close(false)
        bridge.flawsOpen = false
        tip.hide()
        scroll.contentY = 0
        rest.forceActiveFocus()
    }

    readonly property Theme theme: Theme {
        dark: root.bridge.dark
        highContrast: root.bridge.highContrast
        textSize: root.bridge.textSize
        grown: root.bridge.grown
    }

    // As the language's writing runs.
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    width: implicitWidth
    implicitWidth: Math.round(360 * theme.grown)
    implicitHeight: maximumHeight > 0 ? Math.min(naturalHeight, maximumHeight) : naturalHeight
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: bridge.header.product

    Keys.onPressed: event => {
        const page = scroll.height - 2 * theme.body
        if (event.key === Qt.Key_H && event.modifiers === Qt.ControlModifier) {
            bridge.showHistory()
            event.accepted = true
            return
        }
        switch (event.key) {
        case Qt.Key_Escape:
            if (root.previews) {
                root.bridge.dropPreviewed()
                return
            }
            // The list of all flaws ends first.
            if (!bridge.flawsOpen) {
                root.dismissed()
                return
            }
            bridge.flawsOpen = false
            rest.forceActiveFocus()
            break
        case Qt.Key_Down: scroll.moveBy(3 * theme.body); break
        case Qt.Key_Up: scroll.moveBy(-3 * theme.body); break
        case Qt.Key_PageDown: scroll.moveBy(page); break
        case Qt.Key_PageUp: scroll.moveBy(-page); break
        default: return
        }
        event.accepted = true
    }

    Rectangle {
        visible: !root.groundIsRounded
        anchors.fill: parent
        color: root.theme.background
    }
    RoundedBox {
        visible: root.groundIsRounded
        anchors.fill: parent
        radius: root.cornerRadius
        color: root.theme.background
    }
    // Has the keyboard while no control does: Tab goes from here to the first one. Whoever hears the
    // panel hears then where he is.
    Item {
        id: rest
        objectName: "rest"
        width: 1
        height: 1
        focus: true
        Accessible.role: Accessible.Pane
        Accessible.name: root.previews ? root.bridge.preview.headline : root.bridge.header.toolTip
        Accessible.description: root.previews ? root.bridge.preview.detail : root.bridge.now.headline
        Accessible.focusable: true
        Accessible.focused: activeFocus
    }
    // All that comes by itself, a verdict above all.
    Announcement {
        objectName: "announcement"
        text: root.previews
            ? root.bridge.preview.headline + ". " + root.bridge.preview.detail
            : root.bridge.verdict.spoken !== "" ? root.bridge.verdict.spoken : root.bridge.verdict.progress
    }

    Column {
        id: head
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
    }
    Flickable {
        id: scroll
        objectName: "scroll"

        function moveBy(distance: real) {
            contentY = Math.max(0, Math.min(contentHeight - height, contentY + distance))
        }
        /// Brings what has the keyboard into view.
        function follow() {
            const item = root.Window.activeFocusItem
            if (!item || !interactive) return
            let inside = item
            while (inside && inside !== contentItem) inside = inside.parent
            if (!inside) return
            const top = item.mapToItem(contentItem, 0, 0).y
            const margin = 12
            if (top - margin < contentY) moveBy(top - margin - contentY)
            else if (top + item.height + margin > contentY + height) {
                moveBy(top + item.height + margin - contentY - height)
            }
        }

        visible: !root.previews
        width: root.width
        anchors.top: head.bottom
        anchors.bottom: foot.top
        contentHeight: body.implicitHeight + 32
        interactive: contentHeight > height + 0.5
        clip: interactive
        boundsBehavior: Flickable.StopAtBounds
        // What is clicked is a control or nothing: dragging with the mouse is for neither.
        onContentHeightChanged: moveBy(0)
        onHeightChanged: moveBy(0)

        Connections {
            target: root.Window.window
            function onActiveFocusItemChanged() { scroll.follow() }
        }

        Column {
            id: body
            x: 16
            y: 16
            width: scroll.width - 32
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
                bridge: root.bridge
                visible: verdict.shown
                width: parent.width
                onReportAsked: root.bridge.openReport()
                onCancelAsked: root.bridge.cancel()
            }
            ActionRow {
                theme: root.theme
                tip: tip
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
    // How much there is, and where: shown while there is more than fits.
    RoundedBox {
        objectName: "scrollMark"
        visible: scroll.interactive && scroll.visible
        width: 4
        radius: 2
        color: root.theme.wash(root.theme.secondary, 0.6)
        anchors.right: parent.right
        anchors.rightMargin: 4
        height: Math.max(24, scroll.height * scroll.height / scroll.contentHeight)
        y: scroll.y + (scroll.height - height) * scroll.contentY
                      / Math.max(1, scroll.contentHeight - scroll.height)
    }
    PreviewPage {
        id: preview
        theme: root.theme
        preview: root.bridge.preview
        visible: root.previews
        width: root.width
        anchors.top: head.bottom
        anchors.bottom: parent.bottom
        // What was pressed for the panel before is no answer to this.
        onVisibleChanged: {
            menu.close(false)
            tip.hide()
            rest.forceActiveFocus()
        }
        onSendAsked: always => root.bridge.sendPreviewed(always)
        onCancelAsked: root.bridge.dropPreviewed()
    }
    Column {
        id: foot
        visible: !root.previews
        width: root.width
        anchors.bottom: parent.bottom

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
        onClosed: rest.forceActiveFocus()
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
