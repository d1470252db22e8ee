// Holds one mistake, for the check of the panel's drawing to find.
import QtQuick
import Kelvane.Panel

Text {
    required property flawRecord flaw

    text: flaw.txet
}
