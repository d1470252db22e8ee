// All flaws of the verdict, opened in the place of the first three. One of them at a time shows what
// can be done about it.
import QtQuick
import Kelvane.Panel

Column {
    id: root

    required property Theme theme
    required property PanelBridge bridge
    readonly property flawListRecord list: bridge.flawList
    /// The flaw that the keyboard was on when the list changed under it.
    property int keyboardAt: -1
    signal folded(bool byKeyboard)
    property real severityWidth: 0

    function choose(index: int) {
        bridge.chosenFlaw = bridge.chosenFlaw === index ? -1 : index
    }

    /// The keyboard goes to a flaw, or to the link that ends the list when there is none.
    function takeKeyboard(index: int) {
        const entry = entries.itemAt(Math.min(index, entries.count - 1))
        if (entry) entry.forceActiveFocus()
        else fold.forceActiveFocus()
    }

    spacing: 6
    onListChanged: if (keyboardAt >= 0) restored.restart()

    Timer {
        id: restored
        interval: 0 // When the new list is made.
        onTriggered: {
            root.takeKeyboard(root.keyboardAt)
            root.keyboardAt = -1
        }
    }

    Item {
        width: root.width
        implicitHeight: fold.height

        PanelText {
            theme: root.theme
            text: root.list.title
            anchors.left: parent.left
            width: parent.width - links.width - 8
            anchors.verticalCenter: parent.verticalCenter
            wrapMode: Text.NoWrap
            font.pixelSize: theme.caption
            font.weight: Font.DemiBold
        }
        Row {
            id: links
            anchors.right: parent.right
            spacing: 12

            LinkButton {
                objectName: "historyLink"
                theme: root.theme
                label: qsTr("History…")
                width: implicitWidth
                height: implicitHeight
                onClicked: root.bridge.showHistory()
            }
            LinkButton {
                objectName: "copyFlawsLink"
                theme: root.theme
                label: qsTr("Copy all")
                spokenName: qsTr("Copy all flaws as text")
                visible: root.list.items.length > 0
                width: implicitWidth
                height: implicitHeight
                onClicked: root.bridge.copyFlaws()
            }
            LinkButton {
                id: fold
                objectName: "foldFlawsLink"
                theme: root.theme
                label: qsTr("Less")
                spokenName: qsTr("Show the first flaws only")
                width: implicitWidth
                height: implicitHeight
                onClicked: {
                    const byKeyboard = activeFocus
                    root.bridge.flawsOpen = false
                    root.folded(byKeyboard)
                }
            }
        }
    }
    Row {
        visible: root.bridge.flawNote !== ""
        width: root.width
        spacing: 8

        PanelText {
            objectName: "flawNote"
            theme: root.theme
            ink: theme.secondary
            text: root.bridge.flawNote
            width: parent.width - (undo.visible ? undo.width + parent.spacing : 0)
            font.pixelSize: theme.caption
            Accessible.role: Accessible.Notification
        }
        LinkButton {
            id: undo
            objectName: "undoLink"
            theme: root.theme
            label: qsTr("Undo")
            visible: root.bridge.mayUndo
            width: implicitWidth
            height: implicitHeight
            onClicked: root.bridge.undoLastWord()
        }
    }
    Repeater {
        id: entries
        model: root.list.items
        onItemAdded: (index, item) => root.severityWidth =
            Math.max(index === 0 ? 0 : root.severityWidth, item.naturalSeverityWidth)

        FocusScope {
            id: entry

            required property int index
            required property flawItemRecord modelData
            readonly property real naturalSeverityWidth: line.naturalSeverityWidth
            readonly property bool isChosen: root.bridge.chosenFlaw === index

            width: root.width
            implicitHeight: words.implicitHeight
            height: implicitHeight

            RoundedBox {
                visible: entry.isChosen || press.hovered
                anchors.fill: parent
                anchors.margins: -4
                radius: 6
                color: root.theme.wash(root.theme.secondary, entry.isChosen ? 0.12 : 0.06)
                borderWidth: root.theme.highContrast && entry.isChosen ? 1 : 0
                borderColor: root.theme.edge(1)
            }
            Pressable {
                id: press
                focus: true
                objectName: "flaw." + entry.index
                theme: root.theme
                label: entry.modelData.spoken
                width: parent.width
                // The links, which come after it, stay free.
                height: line.height
                onClicked: root.choose(entry.index)
            }
            Column {
                id: words
                width: parent.width
                spacing: 3

                FlawLine {
                    id: line
                    theme: root.theme
                    flaw: entry.modelData.flaw
                    severityWidth: root.severityWidth
                    speaks: false
                    width: parent.width
                    height: implicitHeight
                }
                PanelText {
                    theme: root.theme
                    ink: theme.secondary
                    text: entry.modelData.place
                          + (entry.modelData.place === "" || entry.modelData.evidence === "" ? "" : " · ")
                          + entry.modelData.evidence
                    visible: text !== ""
                    anchors.left: parent.left
                    anchors.leftMargin: root.severityWidth + 8
                    width: parent.width - root.severityWidth - 8
                    maximumLineCount: entry.isChosen ? 20 : 2
                    font.pixelSize: theme.smallCaption
                    // The place has been said with the flaw.
                    Accessible.name: entry.modelData.evidence
                    Accessible.ignored: !visible || entry.modelData.evidence === ""
                }
                Flow {
                    visible: entry.isChosen
                    anchors.left: parent.left
                    anchors.leftMargin: root.severityWidth + 8
                    width: parent.width - root.severityWidth - 8
                    spacing: 12
                    topPadding: 2

                    LinkButton {
                        objectName: "goToLink"
                        theme: root.theme
                        label: qsTr("Go to line")
                        visible: entry.modelData.mayGoTo
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: root.bridge.goToFlaw(entry.index)
                    }
                    LinkButton {
                        objectName: "dismissLink"
                        theme: root.theme
                        label: qsTr("Not a flaw")
                        visible: entry.modelData.mayDismiss
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: {
                            root.keyboardAt = activeFocus ? entry.index : -1
                            root.bridge.dismissFlaw(entry.index)
                        }
                    }
                    LinkButton {
                        objectName: "addWordLink"
                        theme: root.theme
                        label: qsTr("Add to dictionary")
                        visible: entry.modelData.mayAddWord
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: {
                            root.keyboardAt = activeFocus ? entry.index : -1
                            root.bridge.addFlawsWord(entry.index)
                        }
                    }
                    LinkButton {
                        objectName: "copyFlawLink"
                        theme: root.theme
                        label: qsTr("Copy")
                        spokenName: qsTr("Copy the flaw as text")
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: root.bridge.copyFlaw(entry.index)
                    }
                }
            }
        }
    }
    PanelText {
        theme: root.theme
        ink: theme.secondary
        text: root.list.more
        visible: text !== ""
        width: root.width
        font.pixelSize: theme.caption
    }
}
