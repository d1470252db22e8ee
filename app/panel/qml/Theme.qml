// The panel's colours and sizes.
import QtQuick
import Kelvane.Panel

QtObject {
    id: root

    property bool dark: false
    property int textSize: 13

    readonly property int body: textSize
    readonly property int callout: textSize - 1
    readonly property int caption: textSize - 2
    readonly property int smallCaption: textSize - 3

    readonly property color background: dark ? "#1c1c1c" : "#f6f6f7"
    readonly property color raised: dark ? "#2b2b2d" : "#ffffff"
    // A full divider is still a soft line.
    readonly property color hairline: dark ? Qt.rgba(1, 1, 1, 0.22) : Qt.rgba(0, 0, 0, 0.2)
    readonly property color accent: dark ? "#1b66d8" : "#0b63d6"
    readonly property color focusRing: dark ? "#7db4ff" : "#0b63d6"

    // Writing on the panel: every one of these is at least 4.5:1 against what it stands on, as
    // WCAG 2.1 asks of small text.
    readonly property color primary: dark ? "#f4f4f5" : "#1d1d1f"
    readonly property color secondary: dark ? "#a8a8ae" : "#5c5c61"
    readonly property color blue: dark ? "#74b3ff" : "#0a59c2"
    readonly property color green: dark ? "#5fd07a" : "#1b7535"
    readonly property color orange: dark ? "#ffab4a" : "#944800"
    readonly property color red: dark ? "#ff8278" : "#b3261e"
    readonly property color white: "#ffffff"
    readonly property color black: "#000000"

    /// A tint as the colour of text.
    function ink(tint: int): color {
        switch (tint) {
        case Tint.Secondary: return secondary
        case Tint.Blue: return blue
        case Tint.Green: return green
        case Tint.Orange: return orange
        case Tint.Red: return red
        case Tint.White: return white
        case Tint.Black: return black
        default: return primary
        }
    }

    /// As the colour of an area that white, or on yellow black, is written on.
    function fill(tint: int): color {
        switch (tint) {
        case Tint.Green: return "#1d7a38"
        case Tint.Yellow: return "#ffcc00"
        case Tint.Orange: return "#c84b00"
        case Tint.Red: return "#c62a22"
        default: return "#66666b"
        }
    }

    /// As the colour of a status dot.
    function dot(tint: int): color {
        switch (tint) {
        case Tint.Green: return dark ? "#32d158" : "#28a745"
        case Tint.Orange: return dark ? "#ff9f0a" : "#f08c00"
        case Tint.Secondary: return "#8a8a90"
        default: return "transparent"
        }
    }

    function wash(ink: color, opacity: real): color {
        return Qt.rgba(ink.r, ink.g, ink.b, opacity)
    }
}
