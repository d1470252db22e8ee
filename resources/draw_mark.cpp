// Draws the product's mark from its vector source: draw_mark SOURCE.svg SIDE TARGET.png
//
// The build draws the pictures of the macOS icon with it. resources/brask.png is drawn by hand, 256
// pixels wide, after the source has changed.

#include "resources/mark_picture.h"

#include <cstdio>

int main(int argc, char** argv) {
    bool isNumber = false;
    const int side = argc == 4 ? QString::fromLocal8Bit(argv[2]).toInt(&isNumber) : 0;
    if (!isNumber || side < 1 || side > 4096) {
        std::fputs("usage: draw_mark SOURCE.svg SIDE TARGET.png\n", stderr);
        return 2;
    }
    const auto picture = kelvane::markPicture(QString::fromLocal8Bit(argv[1]), side);
    if (picture.isNull() || !picture.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "draw_mark: cannot draw %s to %s\n", argv[1], argv[3]);
        return 1;
    }
    return 0;
}
