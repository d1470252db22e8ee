// The panel's colours and sizes. Colours have the names that the record uses.
import QtQuick

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

    // Writing on the panel: every one of these is at least 4.5:1 against what it stands on.
    readonly property var inks: dark
        ? ({ primary: "#f4f4f5", secondary: "#a8a8ae", blue: "#74b3ff", green: "#5fd07a",
             orange: "#ffab4a", red: "#ff8278", white: "#ffffff", black: "#000000" })
        : ({ primary: "#1d1d1f", secondary: "#5c5c61", blue: "#0a59c2", green: "#1b7535",
             orange: "#944800", red: "#b3261e", white: "#ffffff", black: "#000000" })

    // Areas that white, or on yellow black, is written on.
    readonly property var fills: ({ green: "#1d7a38", yellow: "#ffcc00", orange: "#b04f00",
                                    red: "#c62a22", gray: "#66666b" })

    // Lamps.
    readonly property var lights: dark
        ? ({ green: "#32d158", orange: "#ff9f0a", secondary: "#8a8a90", clear: "transparent" })
        : ({ green: "#28a745", orange: "#f08c00", secondary: "#8a8a90", clear: "transparent" })

    function wash(name: string, opacity: real): color {
        const ink = Qt.color(inks[name])
        return Qt.rgba(ink.r, ink.g, ink.b, opacity)
    }
}
