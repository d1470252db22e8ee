// The small widely spaced heading of a section.
import QtQuick

PanelText {
    ink: theme.secondary
    font.pixelSize: theme.caption
    font.letterSpacing: 1.2
    wrapMode: Text.NoWrap
    Accessible.role: Accessible.Heading
}
