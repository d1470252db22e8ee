// The window of the history: verdicts by application and day on the left, the chosen one or a
// comparison on the right.
import QtQuick
import Kelvane.Panel

FocusScope {
    id: root

    required property HistoryBridge bridge
    /// Escape was pressed and there was nothing in the window for it to end.
    signal dismissed

    readonly property Theme theme: Theme {
        dark: root.bridge.dark
        highContrast: root.bridge.highContrast
        textSize: root.bridge.textSize
        grown: root.bridge.grown
    }

    // As the language's writing runs.
    LayoutMirroring.enabled: Application.layoutDirection === Qt.RightToLeft
    LayoutMirroring.childrenInherit: true
    focus: true
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("History of verdicts")

    /// Of something that was pressed and may be gone by what it does: then the keyboard is where what it
    /// did can be read.
    function press(control: Item, act: var) {
        const hadKeyboard = control.activeFocus
        act()
        if (hadKeyboard && !control.visible) details.enter()
    }

    Keys.onPressed: event => {
        if (event.key === Qt.Key_F && event.modifiers === Qt.ControlModifier) {
            search.forceActiveFocus()
            search.selectAll()
        } else if (event.key === Qt.Key_Escape) {
            if (sure.visible) sure.end()
            else if (root.bridge.compares) root.press(flawsLink, () => root.bridge.showFlaws())
            else if (root.bridge.words !== "") search.clear()
            else root.dismissed()
        } else {
            return
        }
        event.accepted = true
    }

    Rectangle {
        anchors.fill: parent
        color: root.theme.background
    }
    Announcement {
        id: news
        objectName: "news"

        Connections {
            target: root.bridge
            // The same may be said twice.
            function onSaid(what: string) {
                news.text = ""
                news.text = what
            }
        }
    }

    // ---- the list
    Item {
        id: left
        anchors.left: parent.left
        width: Math.max(260, Math.min(360, root.width * 0.42 / root.theme.grown)) * root.theme.grown
        anchors.top: parent.top
        anchors.bottom: parent.bottom

        RoundedBox {
            id: field
            x: 12
            y: 12
            width: parent.width - 24
            height: root.theme.body + 15
            radius: 7
            color: root.theme.raised
            borderWidth: search.activeFocus ? 2 : 1
            borderColor: search.activeFocus ? root.theme.focusRing
                                            : root.theme.edge(0.35)

            PanelText {
                theme: root.theme
                ink: theme.secondary
                text: qsTr("Search verdicts")
                visible: search.text === ""
                anchors.left: parent.left
                anchors.leftMargin: 10
                anchors.verticalCenter: parent.verticalCenter
                Accessible.ignored: true
            }
            TextInput {
                id: search
                objectName: "searchField"
                horizontalAlignment: Application.layoutDirection === Qt.RightToLeft ? TextInput.AlignLeft
                                                                                   : undefined
                x: 10
                width: parent.width - 20
                anchors.verticalCenter: parent.verticalCenter
                color: root.theme.primary
                selectionColor: root.theme.accent
                selectedTextColor: root.theme.white
                font.pixelSize: root.theme.body
                maximumLength: 200
                selectByMouse: true
                clip: true
                activeFocusOnTab: true
                focus: true
                onTextChanged: root.bridge.words = text
                Keys.onDownPressed: list.enter()
                Accessible.role: Accessible.EditableText
                Accessible.name: qsTr("Search verdicts")
            }
        }
        ListView {
            id: list
            objectName: "historyList"

            /// The keyboard goes into the list, to the first verdict of it if to none yet.
            function enter() {
                if (count === 0) return
                const current = root.bridge.lines[currentIndex]
                if (!current || current.id === "") currentIndex = step(-1, 1)
                forceActiveFocus()
                chooseCurrent()
            }
            function step(from: int, by: int): int {
                const lines = root.bridge.lines
                for (let next = from + by; next >= 0 && next < lines.length; next += by) {
                    if (lines[next].id !== "") return next
                }
                return from
            }
            function placeOfChosen(): int {
                const lines = root.bridge.lines
                for (let i = 0; i < lines.length; ++i) {
                    if (lines[i].id !== "" && lines[i].id === root.bridge.chosen) return i
                }
                return -1
            }
            function move(by: int) {
                currentIndex = step(currentIndex, by)
                chooseCurrent()
            }
            function chooseCurrent() {
                if (currentIndex >= 0) root.bridge.choose(root.bridge.lines[currentIndex].id)
            }
            /// Whoever does it by keyboard goes on with the verdict that stands there then.
            function eraseChosen() {
                const hadKeyboard = activeFocus || eraseLink.activeFocus
                const place = placeOfChosen()
                root.bridge.eraseChosen()
                if (!hadKeyboard || place < 0) return
                if (count === 0) return search.forceActiveFocus()
                const next = step(place - 1, 1)
                currentIndex = next >= place ? next : step(Math.min(place, count), -1)
                enter()
            }

            x: 6
            width: parent.width - 12
            anchors.top: field.bottom
            anchors.topMargin: 8
            anchors.bottom: eraseAll.top
            anchors.bottomMargin: 8
            clip: true
            activeFocusOnTab: count > 0 || activeFocus
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: false
            highlightMoveDuration: 0
            currentIndex: -1
            model: root.bridge.lines
            // A list that was made anew begins at its first line.
            onModelChanged: currentIndex = placeOfChosen()
            onActiveFocusChanged: if (activeFocus && root.bridge.chosen === "") enter()
            Accessible.role: Accessible.List
            Accessible.name: qsTr("Verdicts")
            Keys.onPressed: event => {
                switch (event.key) {
                case Qt.Key_Down: move(1); break
                case Qt.Key_Up: move(-1); break
                case Qt.Key_Home: currentIndex = -1; move(1); break
                case Qt.Key_End: currentIndex = count; move(-1); break
                // One press, one verdict: there is no undo.
                case Qt.Key_Delete: if (!event.isAutoRepeat) eraseChosen(); break
                case Qt.Key_Return:
                case Qt.Key_Enter: root.bridge.openReport(); break
                default: return
                }
                event.accepted = true
            }

            delegate: Item {
                id: entry

                required property int index
                required property historyLineRecord modelData
                readonly property bool isVerdict: modelData.id !== ""
                readonly property bool isChosen: isVerdict && root.bridge.chosen === modelData.id

                width: list.width
                height: words.implicitHeight + (modelData.isApp ? 18 : modelData.isDay ? 8 : 12)
                objectName: isVerdict ? "verdict." + modelData.id : ""
                Accessible.role: isVerdict ? Accessible.ListItem : Accessible.Heading
                Accessible.name: modelData.spoken
                Accessible.focusable: isVerdict
                Accessible.focused: isChosen && list.activeFocus
                Accessible.selected: isChosen
                Accessible.onPressAction: if (isVerdict) root.bridge.choose(modelData.id)

                RoundedBox {
                    visible: entry.isChosen || (mouse.containsMouse && entry.isVerdict)
                    anchors.fill: parent
                    radius: 6
                    color: root.theme.wash(root.theme.secondary, entry.isChosen ? 0.2 : 0.08)
                    borderWidth: !entry.isChosen ? 0 : list.activeFocus ? 2
                                                     : root.theme.highContrast ? 1 : 0
                    borderColor: list.activeFocus ? root.theme.focusRing : root.theme.edge(1)
                }
                PanelText {
                    id: words
                    theme: root.theme
                    ink: entry.modelData.isDay ? theme.secondary : theme.primary
                    text: entry.modelData.text
                    anchors.left: parent.left
                    anchors.leftMargin: 8
                    width: parent.width - 8 - (entry.isVerdict ? pill.width + 16 : 8)
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: entry.modelData.isDay ? 3 : 6
                    wrapMode: Text.NoWrap
                    font.pixelSize: entry.modelData.isApp ? theme.body : theme.caption
                    font.weight: entry.modelData.isApp ? Font.DemiBold : Font.Normal
                    Accessible.ignored: true
                }
                RoundedBox {
                    id: pill
                    visible: entry.isVerdict
                    width: Math.ceil(band.implicitWidth) + 12
                    height: Math.ceil(band.implicitHeight) + 4
                    radius: 5
                    anchors.right: parent.right
                    anchors.rightMargin: 8
                    anchors.verticalCenter: parent.verticalCenter
                    color: root.theme.fill(entry.modelData.bandTint)

                    PanelText {
                        id: band
                        theme: root.theme
                        ink: theme.ink(entry.modelData.bandLabelTint)
                        text: entry.modelData.score === "" ? entry.modelData.band
                              : entry.modelData.band + " " + entry.modelData.score
                        anchors.centerIn: parent
                        wrapMode: Text.NoWrap
                        font.pixelSize: theme.smallCaption
                        font.weight: Font.Bold
                        Accessible.ignored: true
                    }
                }
                MouseArea {
                    id: mouse
                    anchors.fill: parent
                    hoverEnabled: true
                    onClicked: {
                        if (!entry.isVerdict) return
                        list.currentIndex = entry.index
                        list.forceActiveFocus()
                        root.bridge.choose(entry.modelData.id)
                    }
                    onDoubleClicked: root.bridge.openReport()
                }
            }
        }
        PanelText {
            objectName: "emptyText"
            theme: root.theme
            ink: theme.secondary
            text: root.bridge.empty
            visible: text !== ""
            anchors.centerIn: list
            width: list.width - 24
            horizontalAlignment: Text.AlignHCenter
        }
        LinkButton {
            id: eraseAll
            objectName: "eraseAllLink"
            theme: root.theme
            quiet: true
            label: qsTr("Delete all…")
            usable: list.count > 0
            // The question stands in its place.
            visible: !sure.visible
            anchors.left: parent.left
            anchors.leftMargin: 14
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 12
            width: implicitWidth
            height: implicitHeight
            onClicked: sure.visible = true
        }
        // Asked in the same place: there is no undo.
        RoundedBox {
            id: sure
            objectName: "sure"

            /// Where the keyboard was in the question it goes back to what has asked it.
            function end() {
                const hadKeyboard = keep.activeFocus || erase.activeFocus
                visible = false
                if (hadKeyboard) (list.count > 0 ? eraseAll : search).forceActiveFocus()
            }

            visible: false
            Accessible.role: Accessible.Dialog
            Accessible.name: asked.text
            x: 8
            width: parent.width - 16
            height: question.height + 24
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 8
            radius: 8
            color: root.theme.raised
            borderWidth: 1
            borderColor: root.theme.edge(0.35)
            onVisibleChanged: if (visible) keep.forceActiveFocus()

            Column {
                id: question
                x: 12
                y: 12
                width: parent.width - 24
                spacing: 10

                PanelText {
                    id: asked
                    theme: root.theme
                    text: qsTr("Delete all verdicts? This cannot be undone.")
                    width: parent.width
                }
                Row {
                    anchors.left: parent.left
                    spacing: 8
                    PushButton {
                        id: keep
                        objectName: "keepButton"
                        theme: root.theme
                        label: qsTr("Keep")
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: sure.end()
                    }
                    PushButton {
                        id: erase
                        objectName: "eraseAllButton"
                        theme: root.theme
                        label: qsTr("Delete all")
                        width: implicitWidth
                        height: implicitHeight
                        onClicked: {
                            root.bridge.eraseAll()
                            sure.end()
                        }
                    }
                }
            }
        }
    }
    Rectangle {
        id: edge
        width: 1
        anchors.left: left.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom
        color: root.theme.hairline
    }

    // ---- the chosen verdict
    Item {
        anchors.left: edge.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: parent.bottom

        PanelText {
            theme: root.theme
            ink: theme.secondary
            text: qsTr("Choose a verdict to see its flaws.")
            visible: root.bridge.title === "" && root.bridge.empty === ""
            anchors.centerIn: parent
        }
        Column {
            id: head
            x: 16
            y: 14
            width: parent.width - 32
            spacing: 10
            visible: root.bridge.title !== ""

            PanelText {
                objectName: "detailTitle"
                theme: root.theme
                text: root.bridge.title
                width: parent.width
                font.pixelSize: theme.body + 1
                font.weight: Font.DemiBold
                Accessible.role: Accessible.Heading
            }
            Flow {
                width: parent.width
                spacing: 14

                LinkButton {
                    objectName: "reportLink"
                    theme: root.theme
                    label: qsTr("Full report")
                    visible: root.bridge.hasReport
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.openReport()
                }
                LinkButton {
                    id: compareLink
                    objectName: "compareLink"
                    theme: root.theme
                    label: qsTr("Compare with the version before")
                    visible: root.bridge.hasVersionBefore && !root.bridge.compares
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.press(compareLink, () => root.bridge.compareWithBefore())
                }
                LinkButton {
                    id: compareMarkedLink
                    objectName: "compareMarkedLink"
                    theme: root.theme
                    label: qsTr("Compare with the marked one")
                    visible: root.bridge.marked !== "" && root.bridge.marked !== root.bridge.chosen
                             && !root.bridge.compares
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.press(compareMarkedLink, () => root.bridge.compareWithMarked())
                }
                LinkButton {
                    objectName: "markLink"
                    theme: root.theme
                    label: root.bridge.marked === root.bridge.chosen ? qsTr("Take the mark away")
                                                                    : qsTr("Mark to compare")
                    visible: !root.bridge.compares
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.mark()
                }
                LinkButton {
                    id: flawsLink
                    objectName: "flawsLink"
                    theme: root.theme
                    label: qsTr("Back to its flaws")
                    visible: root.bridge.compares
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.press(flawsLink, () => root.bridge.showFlaws())
                }
                LinkButton {
                    objectName: "copyLink"
                    theme: root.theme
                    label: qsTr("Copy")
                    spokenName: qsTr("Copy all of this as text")
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: root.bridge.copyDetails()
                }
                LinkButton {
                    id: eraseLink
                    objectName: "eraseLink"
                    theme: root.theme
                    quiet: true
                    label: qsTr("Delete")
                    spokenName: qsTr("Delete this verdict")
                    width: implicitWidth
                    height: implicitHeight
                    onClicked: list.eraseChosen()
                }
            }
        }
        ListView {
            id: details
            objectName: "details"

            /// The keyboard goes into the list, to the line that had it or the first.
            function enter() {
                if (count === 0) return
                if (currentIndex < 0) currentIndex = 0
                forceActiveFocus()
            }
            function scroll(distance: real) {
                contentY = Math.max(originY, Math.min(originY + contentHeight - height,
                                                      contentY + distance))
            }
            /// To the line so many further on, which comes into sight: a line at a time is read out.
            /// Of one that is higher than the list the rest comes first.
            function move(by: int) {
                const hidden = currentItem === null ? 0
                    : by > 0 ? currentItem.y + currentItem.height - contentY - height
                             : contentY - currentItem.y
                if (Math.abs(by) === 1 && hidden > 1) {
                    scroll(by * Math.min(hidden, 3 * root.theme.body))
                    return
                }
                currentIndex = Math.max(0, Math.min(count - 1, currentIndex + by))
                positionViewAtIndex(currentIndex, ListView.Contain)
            }
            function page(by: int) {
                scroll(by * (height - 2 * root.theme.body))
                const seen = indexAt(0, contentY + (by < 0 ? 1 : height - 1))
                currentIndex = seen >= 0 ? seen : by < 0 ? 0 : count - 1
            }

            x: 16
            width: parent.width - 32
            anchors.top: head.bottom
            anchors.topMargin: 6
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 12
            visible: head.visible
            clip: true
            activeFocusOnTab: count > 0 || activeFocus
            boundsBehavior: Flickable.StopAtBounds
            keyNavigationEnabled: false
            highlightFollowsCurrentItem: false
            currentIndex: -1
            model: root.bridge.details
            onModelChanged: currentIndex = activeFocus && count > 0 ? 0 : -1
            onActiveFocusChanged: if (activeFocus) enter()
            Accessible.role: Accessible.List
            Accessible.name: root.bridge.compares ? qsTr("Differences") : qsTr("Flaws")
            Keys.onPressed: event => {
                switch (event.key) {
                case Qt.Key_Down: move(1); break
                case Qt.Key_Up: move(-1); break
                case Qt.Key_PageDown: page(1); break
                case Qt.Key_PageUp: page(-1); break
                case Qt.Key_Home: move(-count); break
                case Qt.Key_End: move(count); break
                default: return
                }
                event.accepted = true
            }

            delegate: Item {
                id: detail

                required property historyDetailRecord modelData
                readonly property bool isText: modelData.sign !== ""
                readonly property string said: modelData.flaw.text

                Accessible.role: modelData.isHeading ? Accessible.Heading : Accessible.ListItem
                Accessible.name: modelData.isFlaw ? modelData.flaw.severity + ": " + said
                               : modelData.sign === "+" ? qsTr("Added: %1").arg(said)
                               : modelData.sign === "−" ? qsTr("Removed: %1").arg(said) : said
                Accessible.focusable: true
                Accessible.focused: activeFocus

                width: details.width
                height: isText ? Math.ceil(lineText.implicitHeight) + 2
                        : modelData.isFlaw ? flawLine.implicitHeight + 6
                        : Math.ceil(noteText.implicitHeight) + (modelData.isHeading ? 14 : 6)

                RoundedBox {
                    visible: detail.isText && detail.modelData.sign !== " "
                    anchors.fill: parent
                    radius: 2
                    color: root.theme.wash(root.theme.ink(detail.modelData.flaw.tint), 0.1)
                }
                PanelText {
                    theme: root.theme
                    ink: theme.ink(detail.modelData.flaw.tint)
                    text: detail.modelData.sign
                    visible: detail.isText
                    anchors.left: parent.left
                    anchors.leftMargin: 4
                    y: 1
                    width: 12
                    font.pixelSize: theme.caption
                    font.family: "monospace"
                    Accessible.ignored: true
                }
                PanelText {
                    id: lineText
                    theme: root.theme
                    text: detail.modelData.flaw.text
                    visible: detail.isText
                    horizontalAlignment: undefined
                    anchors.left: parent.left
                    anchors.leftMargin: 20
                    y: 1
                    width: parent.width - 24
                    font.pixelSize: theme.caption
                    font.family: "monospace"
                    Accessible.ignored: true
                }
                FlawLine {
                    id: flawLine
                    theme: root.theme
                    flaw: detail.modelData.flaw
                    severityWidth: Math.round(64 * root.theme.grown)
                    speaks: false
                    visible: detail.modelData.isFlaw
                    y: 3
                    width: parent.width
                    height: implicitHeight
                }
                PanelText {
                    id: noteText
                    theme: root.theme
                    ink: detail.modelData.isHeading ? theme.primary : theme.secondary
                    text: detail.modelData.flaw.text
                    visible: !detail.isText && !detail.modelData.isFlaw
                    width: parent.width
                    anchors.bottom: parent.bottom
                    anchors.bottomMargin: 3
                    font.pixelSize: theme.caption
                    font.weight: detail.modelData.isHeading ? Font.DemiBold : Font.Normal
                    Accessible.ignored: true
                }
                RoundedBox {
                    visible: detail.activeFocus
                    anchors.fill: parent
                    radius: 3
                    color: "transparent"
                    borderWidth: 2
                    borderColor: root.theme.focusRing
                }
            }
        }
    }
}
