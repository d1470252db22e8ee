// How well can the writing in a picture be read?

#pragma once

#include <QImage>
#include <QRect>

#include <algorithm>
#include <cmath>
#include <map>

namespace kelvane {

inline double linear(int channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

inline double luminance(QRgb color) {
    return 0.2126 * linear(qRed(color)) + 0.7152 * linear(qGreen(color)) +
           0.0722 * linear(qBlue(color));
}

inline double contrast(QRgb a, QRgb b) {
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

using ColourCounts = std::map<QRgb, int>;

inline ColourCounts coloursIn(const QImage& picture, const QRect& area) {
    ColourCounts counts;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) ++counts[picture.pixel(x, y)];
    }
    return counts;
}

inline QRgb commonest(const ColourCounts& counts) {
    return std::max_element(counts.begin(), counts.end(),
                            [](auto& a, auto& b) { return a.second < b.second; })
        ->first;
}

/// What writing in `area` stands on.
inline QRgb commonestColour(const QImage& picture, const QRect& area) {
    return commonest(coloursIn(picture, area));
}

/// The contrast of the writing in `area`: what differs most from the commonest colour, to that.
inline double measuredContrast(const QImage& picture, const QRect& area) {
    const auto counts = coloursIn(picture, area);
    const auto ground = commonest(counts);
    double most = 1;
    for (const auto& [color, count] : counts) {
        // A stroke, not a stray pixel.
        if (count >= 4) most = std::max(most, contrast(color, ground));
    }
    return most;
}

} // namespace kelvane
