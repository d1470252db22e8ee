import QtQuick

Rectangle {
    required property Theme theme
    property real strength: 1

    height: 1
    color: theme.hairline
    opacity: strength
}
