// What a person can set. Everything applies as it is pressed; there is nothing to confirm.
import QtQuick
import Kelvane.Panel

FocusScope {
    id: root

    required property SettingsBridge bridge
    required property PanelBridge panel
    readonly property settingsRecord shown: bridge.record

    /// Escape was pressed.
    signal dismissed

    readonly property Theme theme: Theme {
        dark: root.panel.dark
        highContrast: root.panel.highContrast
        textSize: root.panel.textSize
        grown: root.panel.grown
    }

    // As the language's writing runs.
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    implicitWidth: Math.round(420 * theme.grown)
    implicitHeight: 620
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("Settings")
    Keys.onEscapePressed: root.dismissed()

    Rectangle {
        anchors.fill: parent
        color: root.theme.background
    }
    Item {
        id: rest
        objectName: "settingsRest"
        width: 1
        height: 1
        focus: true
        Accessible.role: Accessible.Pane
        Accessible.name: root.Accessible.name
        Accessible.focusable: true
        Accessible.focused: activeFocus
    }
    Flickable {
        id: scroll
        objectName: "settingsScroll"

        /// Brings what has the keyboard into view.
        function follow() {
            const item = root.Window.activeFocusItem
            let inside = item
            while (inside && inside !== contentItem) inside = inside.parent
            if (!inside) return
            const top = item.mapToItem(contentItem, 0, 0).y
            if (top - 16 < contentY) contentY = Math.max(0, top - 16)
            else if (top + item.height + 16 > contentY + height)
                contentY = Math.min(contentHeight - height, top + item.height + 16 - height)
        }

        anchors.fill: parent
        contentHeight: all.implicitHeight + 32
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        Connections {
            target: root.Window.window
            function onActiveFocusItemChanged() { scroll.follow() }
        }

        Column {
            id: all
            x: 20
            y: 16
            width: scroll.width - 40
            spacing: 18

            Column {
                visible: root.shown.problems.length > 0
                width: parent.width
                spacing: 6
                Repeater {
                    model: root.shown.problems
                    PanelText {
                        required property string modelData
                        objectName: "problem"
                        theme: root.theme
                        ink: theme.red
                        text: modelData
                        width: all.width
                        font.pixelSize: theme.callout
                        Accessible.role: Accessible.AlertMessage
                    }
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("WHERE TO GRADE"); width: parent.width }
                PanelText {
                    theme: root.theme
                    text: root.shown.place
                    width: parent.width
                    font.pixelSize: theme.callout
                }
                LinkButton {
                    objectName: "askPlace"
                    theme: root.theme
                    label: qsTr("Choose where to grade…")
                    anchors.left: parent.left
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.askPlace()
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("SHOW WORK BEFORE IT IS SENT"); width: parent.width }
                Repeater {
                    model: root.shown.previewChoices
                    CheckRow {
                        required property int index
                        required property string modelData
                        objectName: "preview" + index
                        theme: root.theme
                        oneOfSeveral: true
                        label: modelData
                        checked: root.shown.preview === index
                        anchors.left: parent.left
                        width: Math.min(implicitWidth, all.width)
                        height: implicitHeight
                        onClicked: root.bridge.setPreview(index)
                    }
                }
                Repeater {
                    model: root.shown.previewApps
                    RemovableRow {
                        required property int index
                        required property string modelData
                        theme: root.theme
                        label: modelData
                        width: all.width
                        height: implicitHeight
                        onRemoveAsked: root.bridge.forgetPreviewApp(index)
                    }
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("NEVER CAPTURE"); width: parent.width }
                CheckRow {
                    objectName: "passwordManagers"
                    theme: root.theme
                    label: qsTr("Password managers")
                    checked: root.shown.passwordManagers
                    anchors.left: parent.left
                    width: Math.min(implicitWidth, all.width)
                    height: implicitHeight
                    onClicked: root.bridge.setPasswordManagers(!root.shown.passwordManagers)
                }
                Repeater {
                    model: root.shown.neverCapture
                    RemovableRow {
                        required property int index
                        required property string modelData
                        theme: root.theme
                        label: modelData
                        width: all.width
                        height: implicitHeight
                        onRemoveAsked: root.bridge.include(index)
                    }
                }
                LinkButton {
                    objectName: "excludeFront"
                    theme: root.theme
                    label: root.shown.front
                    visible: label !== ""
                    anchors.left: parent.left
                    width: Math.min(implicitWidth, all.width)
                    height: implicitHeight
                    onClicked: root.bridge.excludeFront()
                }
                EntryField {
                    id: exclusion
                    objectName: "exclusion"
                    theme: root.theme
                    label: qsTr("Identifier of an application that is never captured")
                    hint: qsTr("As org.example.diary or com.example.*")
                    width: parent.width
                    height: implicitHeight
                    onEntered: text => {
                        root.bridge.exclude(text)
                        exclusion.text = ""
                    }
                }
                PushButton {
                    objectName: "pause"
                    theme: root.theme
                    label: root.shown.pause
                    anchors.left: parent.left
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.pauseOrResume()
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("KEYS THAT GRADE WHAT IS IN FRONT"); width: parent.width }
                EntryField {
                    objectName: "shortcut"
                    theme: root.theme
                    label: qsTr("Keys that grade what is in front")
                    hint: qsTr("None. As Ctrl+Alt+G, then Return")
                    text: root.shown.shortcut
                    width: parent.width
                    height: implicitHeight
                    onEntered: text => root.bridge.setShortcut(text)
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("NOTIFICATIONS"); width: parent.width }
                CheckRow {
                    objectName: "notifications"
                    theme: root.theme
                    label: qsTr("Verdicts that come while the panel is closed")
                    checked: root.shown.notifications
                    anchors.left: parent.left
                    width: Math.min(implicitWidth, all.width)
                    height: implicitHeight
                    onClicked: root.bridge.setNotifications(!root.shown.notifications)
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("LANGUAGE"); width: parent.width }
                Repeater {
                    model: root.shown.languageChoices
                    CheckRow {
                        required property int index
                        required property string modelData
                        objectName: "language" + index
                        theme: root.theme
                        oneOfSeveral: true
                        label: modelData
                        checked: root.shown.language === index
                        anchors.left: parent.left
                        width: Math.min(implicitWidth, all.width)
                        height: implicitHeight
                        onClicked: root.bridge.setLanguage(index)
                    }
                }
            }
            Column {
                width: parent.width
                spacing: 6
                SectionCaption { theme: root.theme; text: qsTr("CODING TOOLS"); width: parent.width }
                Repeater {
                    model: root.shown.agents
                    PanelText {
                        required property string modelData
                        theme: root.theme
                        text: modelData
                        width: all.width
                        font.pixelSize: theme.callout
                    }
                }
                LinkButton {
                    objectName: "wire"
                    theme: root.theme
                    label: qsTr("Wire my tools")
                    anchors.left: parent.left
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.wire()
                }
            }
        }
    }
}
