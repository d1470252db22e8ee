// The icon of an application, or the place of one that has none.
import QtQuick
import Kelvane.Panel

Item {
    id: root

    required property Theme theme
    required property string source

    width: 32
    height: 32
    Accessible.role: Accessible.Graphic
    Accessible.ignored: true

    Image {
        id: picture
        anchors.fill: parent
        source: root.source
        sourceSize.width: 32
        sourceSize.height: 32
        fillMode: Image.PreserveAspectFit
    }
    RoundedBox {
        visible: picture.status !== Image.Ready
        anchors.fill: parent
        radius: 7
        color: root.theme.wash(root.theme.secondary, 0.18)
    }
}
