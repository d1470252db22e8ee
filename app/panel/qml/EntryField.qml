// A line to type into, with its name for assistive technology.
import QtQuick
import Kelvane.Panel

FocusScope {
    id: root

    required property Theme theme
    required property string label
    property alias text: input.text
    property string hint
    /// Return was pressed.
    signal entered(string text)

    implicitWidth: 200
    implicitHeight: Math.ceil(input.implicitHeight) + 12

    RoundedBox {
        anchors.fill: parent
        radius: 6
        color: root.theme.raised
        borderWidth: input.activeFocus ? 2 : 1
        borderColor: input.activeFocus ? root.theme.focusRing
                                       : root.theme.edge(0.5)
    }
    TextInput {
        id: input
        objectName: root.objectName + "Input"
        horizontalAlignment: Application.layoutDirection === Qt.RightToLeft ? TextInput.AlignLeft
                                                                           : undefined
        focus: true
        activeFocusOnTab: true
        x: 8
        width: parent.width - 16
        anchors.verticalCenter: parent.verticalCenter
        clip: true
        selectByMouse: true
        color: root.theme.primary
        selectionColor: root.theme.accent
        selectedTextColor: root.theme.white
        font.pixelSize: root.theme.callout
        maximumLength: 256
        Accessible.role: Accessible.EditableText
        Accessible.name: root.label
        Accessible.description: root.hint
        onAccepted: root.entered(text)
    }
    PanelText {
        theme: root.theme
        ink: theme.secondary
        text: root.hint
        visible: input.text === "" && !input.activeFocus
        x: 8
        width: parent.width - 16
        anchors.verticalCenter: parent.verticalCenter
        wrapMode: Text.NoWrap
        font.pixelSize: theme.callout
        Accessible.ignored: true
    }
}
