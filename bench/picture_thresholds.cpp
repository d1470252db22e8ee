// The experiments behind the thresholds of critics/picture.
//
//   picture_thresholds             all of them
//   picture_thresholds contrast    one
//
// Pictures are drawn with the desktop's own text renderer in every family of the installed DejaVu
// and Nimbus fonts, so that what is in them is known: sound ones and ones with a fault of known
// size. Each experiment prints how the measure is spread over both. What is random comes from a
// seeded generator, so that two runs on one machine print the same. docs/thresholds.md quotes the
// results.

#include "critics/ocr/line_reader.h"
#include "critics/picture/glyph_strokes.h"
#include "critics/picture/ink.h"
#include "critics/picture/picture_measures.h"
#include "critics/picture/picture_words.h"
#include "critics/picture/pixels.h"
#include "critics/picture/regions.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace trevix;

constexpr int kWidth = 900;
constexpr int kHeight = 600;

const std::vector<QString> kFamilies{"DejaVu Sans", "DejaVu Serif", "DejaVu Sans Mono",
                                     "Nimbus Sans", "Nimbus Roman", "Nimbus Mono PS"};
const std::vector<QString> kSentences{
    "The quick brown fox jumps over it", "Quarterly results by region",
    "Save as a copy, then close",        "Name, street and house number",
    "Open the settings to change this",  "Figure 12 shows 3,450 of 7,800"};

Picture pictureOf(const QImage& image) {
    Picture picture{image.width(), image.height(), {}};
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            picture.pixels.push_back({static_cast<std::uint8_t>(qRed(pixel)),
                                      static_cast<std::uint8_t>(qGreen(pixel)),
                                      static_cast<std::uint8_t>(qBlue(pixel)), 255});
        }
    }
    return picture;
}

QImage blank(QColor ground = Qt::white, int width = kWidth, int height = kHeight) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(ground);
    return image;
}

QFont fontOf(const QString& family, int pixels) {
    QFont font(family);
    font.setPixelSize(pixels);
    return font;
}

/// Lines of writing one below the other, from x = 40.
QImage written(const QFont& font, QColor ink, QColor ground) {
    QImage image = blank(ground);
    QPainter painter(&image);
    painter.setFont(font);
    painter.setPen(ink);
    const int step = std::max(16, font.pixelSize() * 2);
    int y = 20 + font.pixelSize();
    for (std::size_t i = 0; y < kHeight - step; ++i, y += step)
        painter.drawText(40, y, kSentences[i % kSentences.size()]);
    return image;
}

/// The spread of a measure, as one line.
void print(const std::string& what, std::vector<double> values) {
    if (values.empty()) {
        std::printf("  %-44s none\n", what.c_str());
        return;
    }
    std::ranges::sort(values);
    const auto at = [&](double share) {
        return values[static_cast<std::size_t>(static_cast<double>(values.size() - 1) * share)];
    };
    std::printf("  %-44s n %5zu  min %8.3f  1%% %8.3f  10%% %8.3f  50%% %8.3f  90%% %8.3f  99%% "
                "%8.3f  max %8.3f\n",
                what.c_str(), values.size(), values.front(), at(0.01), at(0.1), at(0.5), at(0.9),
                at(0.99), values.back());
}

void share(const std::string& what, std::size_t part, std::size_t all) {
    std::printf("  %-44s %zu of %zu (%.1f %%)\n", what.c_str(), part, all,
                all == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(all));
}

std::vector<RowShape> rowsIn(const QImage& image) {
    const Picture picture = pictureOf(image);
    return shapesOfRows(picture, findRegions(picture));
}

struct Random {
    std::mt19937 generator{20240229};
    int between(int least, int most) {
        return least + static_cast<int>(generator() % static_cast<unsigned long>(most - least + 1));
    }
    /// Normally distributed, by the sum of twelve.
    double normal(double deviation) {
        double sum = -6;
        for (int i = 0; i < 12; ++i) sum += static_cast<double>(generator()) / 4294967296.0;
        return sum * deviation;
    }
};

// ---- rows of marks: writing and what is none ----------------------------------------------------

/// Rows of things that screens show and that are no writing.
std::vector<QImage> rowsWithoutWriting() {
    std::vector<QImage> images;
    Random random;
    const auto draw = [&](const std::function<void(QPainter&, int y)>& row) {
        QImage image = blank();
        QPainter painter(&image);
        for (int y = 20; y < kHeight - 60; y += 60) row(painter, y);
        painter.end();
        images.push_back(image);
    };
    for (int distance = 4; distance <= 12; distance += 2) {
        draw([&](QPainter& p, int y) { // A ruler.
            for (int x = 40; x < 700; x += distance) p.fillRect(x, y, 1, 8, Qt::black);
        });
        draw([&](QPainter& p, int y) { // A dotted line.
            for (int x = 40; x < 700; x += distance) p.fillRect(x, y, 3, 3, Qt::black);
        });
    }
    for (int size = 12; size <= 40; size += 4) {
        draw([&](QPainter& p, int y) { // Icons: discs, frames and bars in boxes.
            for (int x = 40; x < 500; x += size + random.between(4, 12)) {
                const int kind = random.between(0, 3);
                p.setBrush(QColor(60, 60, 60));
                p.setPen(Qt::NoPen);
                if (kind == 0) p.drawEllipse(x, y, size, size);
                if (kind == 1) p.drawRect(x, y + size / 4, size, size / 2);
                if (kind == 2) p.drawRoundedRect(x, y, size, size, 4, 4);
                if (kind == 3) {
                    QPainterPath path;
                    const int middle = x + size / 2;
                    path.moveTo(x, y + size);
                    path.lineTo(middle, y);
                    path.lineTo(x + size, y + size);
                    p.drawPath(path);
                }
            }
        });
        draw([&](QPainter& p, int y) { // A bar chart.
            for (int x = 40; x < 600; x += size)
                p.fillRect(x, y + random.between(0, 20), size * 2 / 3, 40, QColor(0, 90, 160));
        });
        draw([&](QPainter& p, int y) { // A curve.
            QPainterPath path;
            path.moveTo(40, y + 20);
            for (int x = 40; x < 700; x += size) path.lineTo(x, y + random.between(0, 40));
            p.setPen(QPen(QColor(180, 40, 40), 2));
            p.setBrush(Qt::NoBrush);
            p.drawPath(path);
        });
        draw([&](QPainter& p, int y) { // Avatars and switches of several widths.
            for (int x = 40; x < 600;) {
                const int width = random.between(size, size * 2);
                p.fillRect(x, y, width, size, QColor(120, 120, 120));
                x += width + random.between(6, 14);
            }
        });
    }
    return images;
}

void printShapes(const std::string& name, const std::vector<RowShape>& shapes) {
    const auto column = [&](const char* what, const std::function<double(const RowShape&)>& of) {
        std::vector<double> values;
        for (const RowShape& shape : shapes) values.push_back(of(shape));
        print(name + ": " + what, values);
    };
    column("height in px", [](const RowShape& s) { return s.line.box.height; });
    column("squares", [](const RowShape& s) { return s.squares; });
    column("strokes", [](const RowShape& s) { return s.line.strokes; });
    column("strokes per square", [](const RowShape& s) { return s.line.strokes / s.squares; });
    column("coverage", [](const RowShape& s) { return s.coverage; });
    column("widths of strokes", [](const RowShape& s) { return static_cast<double>(s.runWidths); });
    column("widths of gaps", [](const RowShape& s) { return static_cast<double>(s.gapWidths); });
    share(name + ": taken for writing",
          static_cast<std::size_t>(std::ranges::count_if(shapes, isWriting)), shapes.size());
}

void rows() {
    std::vector<RowShape> writing;
    std::size_t drawn = 0;
    std::size_t whole = 0;
    for (const QString& family : kFamilies) {
        for (const int size : {8, 9, 10, 11, 12, 13, 14, 16, 18, 20, 24, 28, 32, 40, 48, 64}) {
            const QFont font = fontOf(family, size);
            const int step = std::max(16, size * 2);
            for (int y = 20 + size; y < kHeight - step; y += step) ++drawn;
            const auto rows = rowsIn(written(font, Qt::black, Qt::white));
            for (const RowShape& row : rows) whole += row.line.box.x <= 44 && isWriting(row);
            writing.insert(writing.end(), rows.begin(), rows.end());
        }
    }
    printShapes("writing", writing);
    share("writing: lines found from their first letter", whole, drawn);
    std::vector<RowShape> other;
    for (const QImage& image : rowsWithoutWriting()) {
        const auto rows = rowsIn(image);
        other.insert(other.end(), rows.begin(), rows.end());
    }
    printShapes("other", other);
}

// ---- the height of letters ----------------------------------------------------------------------

void heights() {
    for (const int size : {8, 10, 12, 13, 14, 16, 20, 24, 32, 48}) {
        std::vector<double> errors;
        std::vector<double> measured;
        for (const QString& family : kFamilies) {
            const QFont font = fontOf(family, size);
            for (const RowShape& row : rowsIn(written(font, Qt::black, Qt::white))) {
                if (!isWriting(row)) continue;
                errors.push_back(row.line.xHeight - QFontMetricsF(font).xHeight());
                measured.push_back(row.line.xHeight);
            }
        }
        print("type of " + std::to_string(size) + " px: x-height", measured);
        print("  less the font's own", errors);
    }
}

// ---- contrast -----------------------------------------------------------------------------------

/// The gray whose contrast with the ground is nearest to `ratio`, on the side that has room.
Colour grayWith(double ratio, const Colour& ground) {
    Colour best = ground;
    double least = 100;
    for (int level = 0; level < 256; ++level) {
        const auto value = static_cast<std::uint8_t>(level);
        const Colour gray{value, value, value, 255};
        const double off = std::abs(contrastRatio(gray, ground) - ratio);
        if (off < least) {
            least = off;
            best = gray;
        }
    }
    return best;
}

QColor qtOf(const Colour& colour) {
    return {colour.red, colour.green, colour.blue};
}

/// What antialiasing takes from the contrast of letters, by their height.
void contrast() {
    for (const double ratio : {2.0, 2.5, 3.0, 3.5, 4.0, 4.5, 5.5, 7.0}) {
        std::map<std::string, std::vector<double>> measured;
        for (const int level : {255, 235, 30}) {
            const auto value = static_cast<std::uint8_t>(level);
            const Colour ground{value, value, value, 255};
            const Colour ink = grayWith(ratio, ground);
            for (const QString& family : kFamilies) {
                for (const int size : {9, 10, 11, 12, 13, 14, 15, 16, 20, 24, 28, 32, 40}) {
                    for (const RowShape& row :
                         rowsIn(written(fontOf(family, size), qtOf(ink), qtOf(ground)))) {
                        if (!isWriting(row)) continue;
                        const int height = row.line.xHeight;
                        const char* group = height >= 13  ? "c: 13 px and more"
                                            : height >= 8 ? "b: 8 to 12 px"
                                                          : "a: below 8 px";
                        measured[group].push_back(row.line.contrast);
                    }
                }
            }
        }
        for (const auto& [group, values] : measured) {
            char name[80];
            std::snprintf(name, sizeof name, "drawn at %.1f:1, %s", ratio, group.c_str());
            print(name, values);
            std::printf("    below");
            for (const double limit : {2.5, 2.7, 2.9, 3.0, 3.3, 3.6, 4.0, 4.2}) {
                const auto below =
                    std::ranges::count_if(values, [limit](double value) { return value < limit; });
                std::printf("  %.1f: %.1f %%", limit,
                            100.0 * static_cast<double>(below) /
                                static_cast<double>(values.size()));
            }
            std::printf("\n");
        }
    }
}

/// How near the colour taken for the ink's is to it, by the share of pixels that have it; and the
/// strokes of bold and regular type.
void ink() {
    std::map<std::string, std::vector<double>> shares;
    std::map<std::string, std::vector<double>> strokes;
    const auto group = [](const Ink& found) {
        if (found.full < 0.08) return "a: below 8 %";
        if (found.full < 0.1) return "b: 8 to 10 %";
        if (found.full < 0.12) return "c: 10 to 12 %";
        if (found.full < 0.2) return "d: 12 to 20 %";
        return found.full < 0.35 ? "e: 20 to 35 %" : "f: 35 % and more";
    };
    const auto drawn = [&](const QFont& font, bool bold, const Colour& pen, const Colour& ground) {
        const Picture picture = pictureOf(written(font, qtOf(pen), qtOf(ground)));
        const double right = contrastRatio(pen, ground);
        for (const TextLine& line : findTextLines(picture, findRegions(picture))) {
            const Ink whole = inkIn(picture, line.box, line.ground);
            shares[std::string("lines, full ink ") + group(whole)].push_back(whole.contrast /
                                                                             right);
            strokes[std::string(bold ? "bold, " : "regular, ") +
                    (line.xHeight >= 10 ? "10 px and more" : "below 10 px")]
                .push_back(whole.stroke / line.xHeight);
            for (const int heights : {2, 4, 8}) { // About as many letters.
                Rect part = line.box;
                part.width = std::min(part.width, heights * line.xHeight);
                const Ink found = inkIn(picture, part, line.ground);
                shares[std::to_string(heights) + " heights, full ink " + group(found)].push_back(
                    found.contrast / right);
            }
        }
    };
    for (const int level : {255, 30}) {
        const auto value = static_cast<std::uint8_t>(level);
        const Colour ground{value, value, value, 255};
        for (const QString& family : kFamilies) {
            for (const int size : {9, 10, 11, 12, 13, 14, 15, 16, 18, 20, 24}) {
                for (const auto hinting : {QFont::PreferNoHinting, QFont::PreferVerticalHinting,
                                           QFont::PreferFullHinting}) {
                    for (const bool bold : {false, true}) {
                        QFont font = fontOf(family, size);
                        font.setHintingPreference(hinting);
                        font.setBold(bold);
                        drawn(font, bold, grayWith(4.5, ground), ground);
                    }
                }
            }
        }
    }
    for (const auto& [name, values] : shares) print(name + ": contrast by drawn", values);
    for (const auto& [name, values] : strokes) print("stroke by x-height, " + name, values);
}

/// How many words are read wrongly, by how surely they were read and by the size of the type.
void words() {
    const auto opened = LineReader::open(languageFolders(""));
    if (const auto* absence = std::get_if<ReaderAbsence>(&opened)) {
        std::printf("  %s\n", absence->why.c_str());
        return;
    }
    LineReader& reader = *std::get<std::unique_ptr<LineReader>>(opened);
    std::map<std::string, std::pair<std::size_t, std::size_t>> wrong; // Of all.
    for (const auto& [ink, ground] : {std::pair(QColor(Qt::black), QColor(Qt::white)),
                                      std::pair(QColor(150, 150, 150), QColor(Qt::white)),
                                      std::pair(QColor(220, 220, 220), QColor(30, 31, 34))}) {
        for (const QString& family : kFamilies) {
            for (const int size : {9, 10, 11, 12, 13, 15, 18, 24}) {
                const Picture picture = pictureOf(written(fontOf(family, size), ink, ground));
                auto lines = findTextLines(picture, findRegions(picture));
                if (lines.size() > kSentences.size()) lines.resize(kSentences.size());
                const WordsRead read = readWords(picture, lines, reader, std::chrono::hours(1));
                std::vector<std::string> expected;
                for (const QString& sentence : kSentences) {
                    for (const QString& word : sentence.split(' '))
                        expected.push_back(word.toStdString());
                }
                for (const PictureWord& word : read.words) {
                    const bool right = std::ranges::find(expected, word.text) != expected.end();
                    const char* sure = word.confidence >= 94   ? "94 and more"
                                       : word.confidence >= 90 ? "90 to 93"
                                       : word.confidence >= 80 ? "80 to 89"
                                                               : "below 80";
                    const std::string height =
                        size < 11 ? "type below 11 px" : "type from 11 px on";
                    for (const std::string& group :
                         {height + ", read with " + sure, height + ", all"}) {
                        wrong[group].first += right ? 0 : 1;
                        ++wrong[group].second;
                    }
                }
            }
        }
    }
    for (const auto& [group, counts] : wrong)
        share("wrong words, " + group, counts.first, counts.second);
}

// ---- surfaces and outlines ----------------------------------------------------------------------

void surfaces() {
    std::vector<double> letterFill;
    std::vector<double> outlineInk;
    std::vector<double> letterInk;
    for (const QString& family : kFamilies) {
        for (const int size : {48, 96, 160, 220}) {
            QImage image = blank();
            QPainter painter(&image);
            painter.setFont(fontOf(family, size));
            painter.drawText(20, 250, "Mount");
            painter.drawText(20, 520, "LIVE");
            painter.end();
            const Picture picture = pictureOf(image);
            for (const Mark& mark : findRegions(picture).marks)
                letterFill.push_back(mark.pixels / static_cast<double>(mark.box.area()));
        }
        for (const int size : {12, 16, 24, 32}) {
            const Picture picture = pictureOf(written(fontOf(family, size), Qt::black, Qt::white));
            for (const Mark& mark : findRegions(picture).marks) {
                if (mark.box.width < 24 || mark.box.height < 14) continue;
                letterInk.push_back(100.0 * mark.pixels / static_cast<double>(mark.box.area()));
            }
        }
    }
    for (int width = 24; width <= 240; width += 24) {
        for (const int height : {20, 24, 32, 40})
            outlineInk.push_back(100.0 * (2 * width + 2 * (height - 2)) / (width * height));
    }
    print("share of the box that large letters fill", letterFill);
    print("percent of ink of letters, 24 x 14 and more", letterInk);
    print("percent of ink of outlines of one pixel", outlineInk);
}

// ---- photographs, noise, blur -------------------------------------------------------------------

/// Where a pixel stands in rows that are `width` long.
std::size_t at(int x, int y, int width) {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
           static_cast<std::size_t>(x);
}

/// Light and shade with texture of several sizes, as photographs have, and sharp outlines.
std::vector<double> scene(Random& random, int width, int height, double texture) {
    std::vector<double> light(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    struct Wave {
        double x, y, phase, height;
    };
    std::vector<Wave> waves;
    for (int i = 0; i < 40; ++i) {
        const double length = 6 * std::pow(1.14, i);
        const double angle = random.between(0, 628) / 100.0;
        waves.push_back({std::cos(angle) * 6.28 / length, std::sin(angle) * 6.28 / length,
                         random.between(0, 628) / 100.0, texture * std::sqrt(length / 30)});
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            double value = 120;
            for (const Wave& w : waves) value += w.height * std::sin(w.x * x + w.y * y + w.phase);
            const bool thing = (x / 130 + y / 110) % 3 == 0; // With a sharp outline.
            light[at(x, y, width)] = value + (thing ? 70 : 0);
        }
    }
    return light;
}

void blur(std::vector<double>& light, int width, int height, double deviation) {
    if (deviation <= 0) return;
    const int reach = static_cast<int>(std::ceil(3 * deviation));
    std::vector<double> weights;
    double sum = 0;
    for (int i = -reach; i <= reach; ++i) {
        weights.push_back(std::exp(-i * i / (2 * deviation * deviation)));
        sum += weights.back();
    }
    const auto pass = [&](int stepX, int stepY) {
        std::vector<double> result(light.size());
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                double value = 0;
                auto weight = weights.begin();
                for (int i = -reach; i <= reach; ++i, ++weight) {
                    const int atX = std::clamp(x + i * stepX, 0, width - 1);
                    const int atY = std::clamp(y + i * stepY, 0, height - 1);
                    value += *weight * light[at(atX, atY, width)];
                }
                result[at(x, y, width)] = value / sum;
            }
        }
        light.swap(result);
    };
    pass(1, 0);
    pass(0, 1);
}

Picture grayPicture(const std::vector<double>& light, int width, int height) {
    Picture picture{width, height, {}};
    for (const double value : light) {
        const auto level = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
        picture.pixels.push_back({level, level, level, 255});
    }
    return picture;
}

void noise() {
    Random random;
    for (const double deviation : {0.0, 1.0, 2.0, 4.0, 6.0, 8.0, 12.0, 16.0, 24.0}) {
        std::vector<double> sigmas;
        std::vector<double> shares;
        for (int round = 0; round < 6; ++round) {
            auto light = scene(random, 640, 480, 1.0 + round);
            for (double& value : light) value += random.normal(deviation);
            const PictureMeasures m = measure(grayPicture(light, 640, 480));
            sigmas.push_back(m.noiseSigma);
            shares.push_back(m.photoBlocks == 0 ? 0 : 1.0 * m.noisyBlocks / m.photoBlocks);
        }
        char name[80];
        std::snprintf(name, sizeof name, "noise of %.0f levels: measured", deviation);
        print(name, sigmas);
        print("  share of photo blocks that are noisy", shares);
    }
}

void blurred() {
    Random random;
    for (const double deviation : {0.0, 0.5, 0.8, 1.0, 1.5, 2.0, 3.0, 4.0}) {
        std::vector<double> sharpness;
        for (int round = 0; round < 4; ++round) {
            auto light = scene(random, 480, 360, 1.0 + round);
            blur(light, 480, 360, deviation);
            sharpness.push_back(measure(grayPicture(light, 480, 360)).sharpness);
        }
        for (const int size : {13, 24, 48}) {
            const Picture page = pictureOf(
                written(fontOf(kFamilies[static_cast<std::size_t>(size) % kFamilies.size()], size),
                        Qt::black, Qt::white));
            std::vector<double> light;
            for (const Colour& pixel : page.pixels) light.push_back(brightness(pixel));
            blur(light, page.width, page.height, deviation);
            const PictureMeasures m = measure(grayPicture(light, page.width, page.height));
            if (m.edgyBlocks > 0) sharpness.push_back(m.sharpness);
        }
        char name[80];
        std::snprintf(name, sizeof name, "blurred by %.1f px: sharpness", deviation);
        print(name, sharpness);
    }
}

/// How many blocks of windows, drawings and photographs vary throughout.
void blocks() {
    std::vector<double> screens;
    std::vector<double> photographs;
    for (const QString& family : kFamilies) {
        for (const int size : {10, 13, 16, 24, 32}) {
            const PictureMeasures m =
                measure(pictureOf(written(fontOf(family, size), Qt::black, Qt::white)));
            screens.push_back(100.0 * m.photoBlocks / m.blocks);
        }
    }
    Random random;
    for (int round = 0; round < 12; ++round) {
        const auto light = scene(random, 640, 480, 0.5 + 0.5 * round);
        const PictureMeasures m = measure(grayPicture(light, 640, 480));
        photographs.push_back(100.0 * m.photoBlocks / m.blocks);
    }
    print("percent of photo blocks in writing", screens);
    print("percent of photo blocks in scenes", photographs);
}

// ---- gradients ----------------------------------------------------------------------------------

void banding() {
    for (const int span : {40, 80, 160, 255}) {
        for (const int steps : {4, 6, 8, 16, 32, 64, 256}) {
            QImage image = blank();
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    const int band = x * steps / kWidth;
                    const int level = steps == 256 ? x * span / kWidth : band * span / steps;
                    image.setPixel(x, y, qRgb(level, level, level));
                }
            }
            const auto found = findBanding(pictureOf(image));
            std::printf("  a gradient of %3d levels in %3d steps of %5.1f levels, %5.1f px: %s\n",
                        span, steps, 1.0 * span / steps, 1.0 * kWidth / steps,
                        found.empty() ? "smooth" : "banded");
        }
    }
}

// ---- where letters begin ------------------------------------------------------------------------

void bearings() {
    std::vector<double> starts;
    std::vector<double> narrow;
    const QString letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abdefghjkmnopqrsu";
    for (const QString& family : kFamilies) {
        for (const int size : {11, 12, 13, 14, 15, 16, 18}) {
            for (const QChar letter : letters) {
                QImage image = blank(Qt::white, 400, 60);
                QPainter painter(&image);
                painter.setFont(fontOf(family, size));
                painter.drawText(40, 40, QString(letter) + "ettings and more");
                painter.end();
                const Picture picture = pictureOf(image);
                const Regions regions = findRegions(picture);
                const auto lines = findTextLines(picture, regions);
                if (lines.size() != 1) continue;
                const auto first = std::ranges::min_element(
                    regions.marks, {}, [](const Mark& mark) { return mark.box.x; });
                const bool wide = first->box.width * 20 >= lines[0].box.height * 9;
                (wide ? starts : narrow).push_back(lines[0].box.x - 40);
            }
        }
    }
    print("px from the edge to a wide first letter", starts);
    print("px from the edge to a narrow first letter", narrow);
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const std::vector<std::pair<std::string_view, void (*)()>> experiments{
        {"rows", rows},    {"heights", heights},   {"contrast", contrast}, {"ink", ink},
        {"words", words},  {"surfaces", surfaces}, {"blocks", blocks},     {"noise", noise},
        {"blur", blurred}, {"banding", banding},   {"bearings", bearings}};
    for (const QString& family : kFamilies) {
        if (!QFontDatabase::hasFamily(family))
            std::printf("%s is not installed; another family stands in\n", qPrintable(family));
    }
    bool known = argc < 2;
    for (const auto& [name, run] : experiments) {
        if (argc > 1 && name != argv[1]) continue;
        known = true;
        std::printf("%s\n", std::string(name).c_str());
        run();
    }
    if (!known) std::fprintf(stderr, "no experiment %s\n", argv[1]);
    return known ? 0 : 2;
}
