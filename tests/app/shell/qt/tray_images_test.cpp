#include "app/shell/qt/qt_status_item.h"

#include "tests/platform/temporary_folder.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QPixmap>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <vector>

namespace kelvane {
namespace {

constexpr int kSide = 18;

QIcon iconOf(const std::filesystem::path& file, std::optional<Tint> badge = std::nullopt) {
    QtTrayImages images;
    const auto image = images.load(file, kSide, badge);
    return image ? dynamic_cast<const QtTrayImage&>(*image).icon : QIcon();
}

std::filesystem::path mark() {
    return inSourceTree("resources/brask.png");
}

/// How different two pictures of one size are: 0 for equal, 255 for opposite, on average.
double difference(const QImage& a, const QImage& b) {
    double sum = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y);
            const QRgb q = b.pixel(x, y);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                   std::abs(qBlue(p) - qBlue(q)) + std::abs(qAlpha(p) - qAlpha(q));
        }
    }
    return sum / (4.0 * a.width() * a.height());
}

TEST(TrayImages, TheMarkIsDrawnForEveryDensityFromTheOriginal) {
    const QIcon icon = iconOf(mark());
    ASSERT_FALSE(icon.isNull());
    EXPECT_FALSE(icon.isMask()) << "it keeps its own colours";
    const QImage original(QString::fromStdString(mark().string()));
    for (const double density : {1.0, 1.25, 1.5, 2.0, 3.0}) {
        const int pixels = static_cast<int>(std::lround(kSide * density));
        const QImage drawn = icon.pixmap(QSize(pixels, pixels), 1.0).toImage();
        ASSERT_LE(std::abs(drawn.width() - pixels), 1) << density;
        const QImage expected =
            original.scaled(drawn.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                .convertToFormat(QImage::Format_ARGB32);
        EXPECT_LT(difference(drawn.convertToFormat(QImage::Format_ARGB32), expected), 2.0)
            << density;
    }
}

TEST(TrayImages, AtTwiceTheDensityItIsNoEnlargedPicture) {
    const QIcon icon = iconOf(mark());
    const QImage twice = icon.pixmap(QSize(36, 36), 1.0).toImage();
    ASSERT_EQ(twice.size(), QSize(36, 36));
    const QImage enlarged = icon.pixmap(QSize(18, 18), 1.0)
                                .toImage()
                                .scaled(36, 36, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                .convertToFormat(QImage::Format_ARGB32);
    EXPECT_GT(difference(twice.convertToFormat(QImage::Format_ARGB32), enlarged), 2.0);
}

TEST(TrayImages, ThePictureIsWholeAndNotEmpty) {
    const QImage drawn = iconOf(mark()).pixmap(QSize(18, 18), 1.0).toImage();
    ASSERT_EQ(drawn.size(), QSize(18, 18));
    int opaque = 0;
    for (int y = 0; y < 18; ++y) {
        for (int x = 0; x < 18; ++x) opaque += qAlpha(drawn.pixel(x, y)) > 200 ? 1 : 0;
    }
    EXPECT_GT(opaque, 60);
    EXPECT_LT(opaque, 18 * 18);
}

/// How far apart two colours are, in steps of 255.
int distance(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

TEST(TrayImages, ADotLeavesMostOfTheMarkAndIsLegibleAtEverySizeOfABar) {
    constexpr Tint kBands[] = {Tint::green, Tint::yellow, Tint::orange, Tint::red};
    const QIcon plain = iconOf(mark());
    // As bars show it; the others are what the item offers.
    for (const int side : {16, 18, 22, 23, 24, 27, 32, 36, 54}) {
        SCOPED_TRACE(side);
        const QImage mark = plain.pixmap(QSize(side, side), 1.0).toImage();
        std::vector<QRgb> dots;
        for (const Tint band : kBands) {
            const QImage drawn =
                iconOf(kelvane::mark(), band).pixmap(QSize(side, side), 1.0).toImage();
            ASSERT_EQ(drawn.size(), mark.size());
            // Upper and left, whatever a bar's scaling mixes, the mark is as it was.
            const int kept = side * 2 / 5;
            EXPECT_EQ(drawn.copy(0, 0, side, kept), mark.copy(0, 0, side, kept));
            EXPECT_EQ(drawn.copy(0, 0, kept, side), mark.copy(0, 0, kept, side));
            const int middle = static_cast<int>(std::lround(side * 0.77));
            const QRgb dot = drawn.pixel(middle, middle);
            EXPECT_EQ(qAlpha(dot), 255);
            dots.push_back(dot);
            // A few pixels of the colour, not one that a scaler could lose.
            int ofThisColour = 0;
            for (int y = 0; y < side; ++y) {
                for (int x = 0; x < side; ++x) {
                    const QRgb here = drawn.pixel(x, y);
                    ofThisColour += qAlpha(here) == 255 && distance(here, dot) < 24 ? 1 : 0;
                }
            }
            EXPECT_GE(ofThisColour, 16);
        }
        for (std::size_t i = 0; i < dots.size(); ++i) {
            for (std::size_t j = i + 1; j < dots.size(); ++j) {
                EXPECT_GT(distance(dots[i], dots[j]), 40) << i << " and " << j;
            }
        }
    }
}

TEST(TrayImages, WhatIsNoPictureIsNone) {
    TemporaryFolder folder;
    std::ofstream(folder / "brask.png") << "no picture";
    QtTrayImages images;
    EXPECT_EQ(images.load(folder / "brask.png", kSide, std::nullopt), nullptr);
    EXPECT_EQ(images.load(folder / "missing.png", kSide, Tint::red), nullptr);
    EXPECT_EQ(images.load(folder.path(), kSide, std::nullopt), nullptr);
}

} // namespace
} // namespace kelvane
