// Draws the product's mark anew after its source has changed: draw_mark SOURCE.svg TARGET.png

#include "panel/mark_picture.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: draw_mark SOURCE.svg TARGET.png\n", stderr);
        return 2;
    }
    const auto picture = kelvane::markPicture(QString::fromLocal8Bit(argv[1]));
    if (picture.isNull() || !picture.save(QString::fromLocal8Bit(argv[2]), "PNG")) {
        std::fputs("draw_mark: cannot draw the picture\n", stderr);
        return 1;
    }
    return 0;
}
