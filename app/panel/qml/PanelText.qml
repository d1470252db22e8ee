// Text as the panel writes it: plain, wrapped, and cut with an ellipsis where it must be cut.
import QtQuick

Text {
    id: root

    required property Theme theme
    property color ink: theme.primary

    color: ink
    font.pixelSize: theme.body
    textFormat: Text.PlainText
    wrapMode: Text.Wrap
    elide: Text.ElideRight
    // By its own writing, but where all runs from the right: names alone would stand on the other side.
    horizontalAlignment: Application.layoutDirection === Qt.RightToLeft ? Text.AlignLeft : undefined

    Accessible.role: Accessible.StaticText
    Accessible.name: text
    Accessible.focusable: false
    Accessible.ignored: !visible
}
