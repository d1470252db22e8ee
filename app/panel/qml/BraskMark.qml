// The product's mark. Where its picture is missing, a letter on a tile stands for it.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property string source
    required property string letter

    width: 20
    height: 20
    Accessible.role: Accessible.Graphic
    Accessible.ignored: true

    Image {
        id: picture
        anchors.fill: parent
        source: root.source
        sourceSize.width: 20
        sourceSize.height: 20
    }
    RoundedBox {
        visible: picture.status !== Image.Ready
        anchors.fill: parent
        radius: 5
        color: "#0f7f80"

        Text {
            anchors.centerIn: parent
            text: root.letter
            color: "#ffffff"
            font.pixelSize: 13
            font.weight: Font.Bold
            textFormat: Text.PlainText
            Accessible.ignored: true
        }
    }
}
