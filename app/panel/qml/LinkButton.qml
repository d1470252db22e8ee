// A plain button: words alone.
import QtQuick

Pressable {
    id: root

    /// Less of a link: for what stands beside one.
    property bool quiet: false
    property string trailingSymbol
    property real trailingTurn: 0

    implicitWidth: Math.ceil(words.implicitWidth) + (trailingSymbol === "" ? 0 : trailing.width + 4)
    implicitHeight: Math.ceil(words.implicitHeight)
    ringRadius: 3
    opacity: pressed ? 0.7 : 1

    PanelText {
        id: words
        anchors.left: parent.left
        theme: root.theme
        ink: !root.quiet ? root.theme.blue
             : root.hovered ? root.theme.primary : root.theme.secondary
        text: root.label
        width: Math.min(implicitWidth, root.width)
        wrapMode: Text.NoWrap
        font.pixelSize: theme.caption
        font.underline: root.hovered && !root.quiet
        Accessible.ignored: true
    }
    SymbolImage {
        id: trailing
        visible: symbol !== ""
        anchors.left: words.right
        anchors.leftMargin: 4
        anchors.verticalCenter: words.verticalCenter
        symbol: root.trailingSymbol
        ink: words.color
        rotation: root.trailingTurn
        size: root.theme.smallCaption
    }
}
