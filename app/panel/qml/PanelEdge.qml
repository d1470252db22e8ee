// The hairline along the panel's edge, above everything in it and in nobody's way.
import Kelvane.Drawing

RoundedBox {
    required property Theme theme

    objectName: "edge"
    color: "transparent"
    borderWidth: 1
    borderColor: theme.hairline
}
