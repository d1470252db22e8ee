// One of the panel's own symbols, in one colour, sharp at every scale.
import QtQuick

Image {
    id: root

    required property string symbol
    required property color ink
    property real size: 16

    width: size
    height: size
    sourceSize.width: size
    sourceSize.height: size
    source: symbol === "" ? "" : "image://symbol/" + symbol + "/" + String(ink).slice(-6)
    Accessible.ignored: true
}
