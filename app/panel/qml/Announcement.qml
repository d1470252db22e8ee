// What a screen reader reads out when it comes, wherever the keyboard is: shown anew for each text.
import QtQuick

Item {
    id: root

    property string text

    width: 1
    height: 1
    visible: false
    Accessible.role: Accessible.Notification
    Accessible.name: text
    Accessible.onNameChanged: {
        visible = false
        visible = text !== ""
    }
}
