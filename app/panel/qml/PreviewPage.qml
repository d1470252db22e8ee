// What is going to be sent, and whether it may: in the place of the panel's middle and foot.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property previewRecord preview

    signal sendAsked(bool always)
    signal cancelAsked

    readonly property real contentHeight: Math.round(theme.grown
        * (preview.picture !== "" ? 190 : preview.lines.length > 2 ? 180 : 90))
    implicitHeight: words.implicitHeight + content.naturalHeight + rest.implicitHeight + 16 + 10 + 10 + 16

    Accessible.role: Accessible.Grouping
    Accessible.name: preview.headline

    onVisibleChanged: {
        always.checked = false
        lines.positionViewAtBeginning()
    }

    Column {
        id: words
        x: 16
        y: 16
        width: parent.width - 32
        spacing: 6

        SectionCaption {
            theme: root.theme
            text: root.preview.caption
            width: parent.width
        }
        PanelText {
            objectName: "previewHeadline"
            theme: root.theme
            text: root.preview.headline
            width: parent.width
            font.weight: Font.DemiBold
        }
        PanelText {
            theme: root.theme
            ink: theme.secondary
            text: root.preview.detail
            width: parent.width
            font.pixelSize: theme.caption
        }
    }
    RoundedBox {
        id: content
        readonly property real naturalHeight: root.contentHeight
        x: 16
        width: parent.width - 32
        anchors.top: words.bottom
        anchors.topMargin: 10
        anchors.bottom: rest.top
        anchors.bottomMargin: 10
        radius: 6
        color: root.theme.raised
        borderWidth: lines.activeFocus ? 2 : 1
        borderColor: lines.activeFocus ? root.theme.focusRing
                                       : root.theme.edge(0.3)

        Image {
            objectName: "previewPicture"
            visible: root.preview.picture !== ""
            anchors.fill: parent
            anchors.margins: 6
            source: root.preview.picture
            cache: false
            fillMode: Image.PreserveAspectFit
            sourceSize.width: 2 * width
            Accessible.role: Accessible.Graphic
            Accessible.name: root.preview.contentName
        }
        ListView {
            id: lines
            objectName: "previewLines"
            visible: root.preview.picture === ""
            anchors.fill: parent
            anchors.margins: 6
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            model: root.preview.lines
            activeFocusOnTab: visible && contentHeight > height
            keyNavigationEnabled: false
            Accessible.role: Accessible.List
            Accessible.name: root.preview.contentName
            Keys.onPressed: event => {
                const page = Math.max(20, height - 20)
                const by = event.key === Qt.Key_Down ? 30 : event.key === Qt.Key_Up ? -30
                         : event.key === Qt.Key_PageDown ? page : event.key === Qt.Key_PageUp ? -page : 0
                if (by === 0) return
                event.accepted = true
                contentY = Math.max(originY, Math.min(originY + contentHeight - height, contentY + by))
            }
            // How much there is, and where.
            RoundedBox {
                visible: lines.contentHeight > lines.height
                parent: lines
                width: 4
                radius: 2
                color: root.theme.wash(root.theme.secondary, 0.6)
                anchors.right: parent.right
                height: Math.max(20, lines.height * lines.visibleArea.heightRatio)
                y: lines.height > height ? (lines.height - height) * lines.visibleArea.yPosition
                    / Math.max(0.001, 1 - lines.visibleArea.heightRatio) : 0
            }
            delegate: PanelText {
                required property string modelData
                theme: root.theme
                text: modelData
                x: LayoutMirroring.enabled ? 8 : 0
                width: ListView.view.width - 8
                horizontalAlignment: undefined
                font.pixelSize: theme.callout
            }
        }
    }
    Column {
        id: rest
        x: 16
        width: parent.width - 32
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 16
        spacing: 8

        Repeater {
            model: root.preview.remarks

            PanelText {
                required property string modelData
                theme: root.theme
                ink: theme.secondary
                text: modelData
                width: rest.width
                font.pixelSize: theme.caption
            }
        }
        CheckRow {
            id: always
            objectName: "previewAlways"
            theme: root.theme
            label: root.preview.always
            visible: label !== ""
            anchors.left: parent.left
            width: Math.min(implicitWidth, rest.width)
            height: implicitHeight
            onClicked: checked = !checked
        }
        Row {
            width: parent.width
            spacing: 8

            PushButton {
                id: send
                objectName: "previewSend"
                theme: root.theme
                prominent: true
                label: root.preview.send
                width: (parent.width - parent.spacing) / 2
                height: implicitHeight
                onClicked: root.sendAsked(always.checked)
            }
            PushButton {
                objectName: "previewCancel"
                theme: root.theme
                label: root.preview.cancel
                width: parent.width - send.width - parent.spacing
                height: implicitHeight
                onClicked: root.cancelAsked()
            }
        }
    }
}
