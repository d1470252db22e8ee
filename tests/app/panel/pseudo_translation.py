#!/usr/bin/env python3
"""A language that nobody speaks, out of one that is there: pseudo_translation.py FROM.ts TO.ts

Every text in letters that are written from the right, longer than the English one by what a language
may need, its placeholders kept. What stands in English in a panel in this language is not translated;
what is cut off has no room. Shipped to nobody.
"""

import re
import sys
import xml.etree.ElementTree as xml

LETTERS = "אבגדהוזחטיכלמנסעפצקרשת"


def pseudo(text):
    pieces = re.split(r"(%[1-9n]|\n)", text)
    for at in range(0, len(pieces), 2):
        pieces[at] = re.sub("[A-Za-z]", lambda match: LETTERS[ord(match.group(0).lower()) % len(LETTERS)],
                            pieces[at])
    words = "".join(pieces)
    # A third of it again, and a whole word for the short ones.
    more = "".join(LETTERS[at % len(LETTERS)] if at % 7 else " " for at in range(1, max(3, len(text) // 3)))
    return words + " " + more.strip()


def main():
    tree = xml.parse(sys.argv[1])
    root = tree.getroot()
    root.set("language", "he")
    for message in root.iter("message"):
        translation = message.find("translation")
        translation.attrib.pop("type", None)
        forms = list(translation)
        for form in forms:
            translation.remove(form)
        source = message.findtext("comment") or message.findtext("source")
        if message.get("numerus") == "yes":
            translation.text = None
            # As many forms as that language has.
            for _ in range(2):
                xml.SubElement(translation, "numerusform").text = pseudo(source)
        else:
            translation.text = pseudo(message.findtext("source"))
    context = xml.SubElement(root, "context")
    xml.SubElement(context, "name").text = "QGuiApplication"
    message = xml.SubElement(context, "message")
    # What tells Qt which way writing runs.
    xml.SubElement(message, "source").text = "QT_LAYOUT_DIRECTION"
    xml.SubElement(message, "translation").text = "RTL"
    tree.write(sys.argv[2], encoding="utf-8", xml_declaration=True)


if __name__ == "__main__":
    main()
