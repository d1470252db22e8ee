// The panel's colours and sizes.
import QtQuick
import Kelvane.Panel

QtObject {
    id: root

    property bool dark: false
    /// Writing is 7:1 at least against what it stands on, and every edge is a full line.
    property bool highContrast: false
    property int textSize: 13
    /// How much wider than usual what holds texts is, so that they fit as they do at the largest
    /// size of the usual width.
    property real grown: 1

    readonly property int body: textSize
    readonly property int callout: Math.floor(textSize - grown)
    readonly property int caption: Math.floor(textSize - 2 * grown)
    readonly property int smallCaption: Math.floor(textSize - 3 * grown)

    readonly property color background: highContrast ? ground : dark ? "#1c1c1c" : "#f6f6f7"
    readonly property color raised: highContrast ? ground : dark ? "#2b2b2d" : "#ffffff"
    // A full divider is still a soft line.
    readonly property color hairline: highContrast ? primary
                                      : dark ? Qt.rgba(1, 1, 1, 0.22) : Qt.rgba(0, 0, 0, 0.2)
    // White is written on it.
    readonly property color accent: highContrast ? "#0a459b" : dark ? "#1b66d8" : "#0b63d6"
    readonly property color focusRing: highContrast ? blue : dark ? "#7db4ff" : "#0b63d6"

    // Writing on the panel: every one of these is at least 4.5:1 against what it stands on, as
    // WCAG 2.1 asks of small text at level AA; in high contrast 7:1, as at level AAA.
    readonly property color primary: highContrast ? (dark ? white : black) : dark ? "#f4f4f5" : "#1d1d1f"
    readonly property color secondary: highContrast ? (dark ? "#e8e8ec" : "#2c2c30")
                                                    : dark ? "#a8a8ae" : "#5c5c61"
    readonly property color blue: highContrast ? (dark ? "#9cc9ff" : "#063c8a") : dark ? "#74b3ff" : "#0a59c2"
    readonly property color green: highContrast ? (dark ? "#8af0a4" : "#0c4a1f") : dark ? "#5fd07a" : "#1b7535"
    readonly property color orange: highContrast ? (dark ? "#ffc98a" : "#663000") : dark ? "#ffab4a" : "#944800"
    readonly property color red: highContrast ? (dark ? "#ffb8b2" : "#82110b") : dark ? "#ff8278" : "#b3261e"
    readonly property color white: "#ffffff"
    readonly property color black: "#000000"
    readonly property color ground: dark ? black : white

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
        case Tint.Green: return highContrast ? "#0d5424" : "#1d7a38"
        case Tint.Yellow: return "#ffcc00"
        case Tint.Orange: return highContrast ? "#8a3200" : "#c84b00"
        case Tint.Red: return highContrast ? "#93150f" : "#c62a22"
        default: return highContrast ? "#46464a" : "#66666b"
        }
    }

    /// As the colour of a status dot.
    function dot(tint: int): color {
        switch (tint) {
        case Tint.Green: return highContrast ? green : dark ? "#32d158" : "#28a745"
        case Tint.Orange: return highContrast ? orange : dark ? "#ff9f0a" : "#f08c00"
        case Tint.Secondary: return highContrast ? secondary : "#8a8a90"
        default: return "transparent"
        }
    }

    /// The line around something, as soft as `strength` says where contrast need not be high.
    function edge(strength: real): color {
        return highContrast ? primary : wash(secondary, strength)
    }

    function wash(ink: color, opacity: real): color {
        return Qt.rgba(ink.r, ink.g, ink.b, opacity)
    }
}
