// The hairline along the panel's edge. It lies above everything else and takes no input.
import Kelvane.Panel

RoundedBox {
    required property Theme theme

    objectName: "edge"
    color: "transparent"
    borderWidth: 1
    borderColor: theme.hairline
}
