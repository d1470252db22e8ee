#include "app/panel/panel_picture.h"

#include "app/panel/app_icon_provider.h"
#include "resources/mark_picture.h"
#include "tests/app/panel/panel_states.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <QColor>

#include <cmath>
#include <cstdlib>
#include <set>

namespace kelvane {
namespace {

QString sourceFile(const char* name) {
    return QString::fromStdString(inSourceTree(name));
}

/// How many pixels of `area` differ from the one at its corner.
int inkIn(const QImage& picture, const QRect& area) {
    int ink = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (picture.pixel(x, y) != picture.pixel(area.topLeft())) ++ink;
        }
    }
    return ink;
}

TEST(PanelPicture, IsTwiceAsWideAsThePanelOnGrey) {
    PanelFixture panel;
    panel.model.seedDemo();
    const auto picture = renderPanel(panel.model, panel.images);
    EXPECT_EQ(picture.width(), 720);
    EXPECT_GT(picture.height(), 700);
    for (const QPoint corner : {QPoint(0, 0), QPoint(719, 0), QPoint(0, picture.height() - 1),
                                QPoint(719, picture.height() - 1)}) {
        EXPECT_EQ(picture.pixelColor(corner), QColor(28, 28, 28));
    }
}

TEST(PanelPicture, HasRealTextInIt) {
    PanelFixture panel;
    panel.model.seedDemo();
    const auto picture = renderPanel(panel.model, panel.images);
    // The product's name, right of the mark.
    EXPECT_GT(inkIn(picture, QRect(88, 20, 150, 50)), 300);
}

TEST(PanelPicture, HeightFollowsTheScale) {
    PanelFixture panel;
    panel.model.seedDemo();
    const int height = renderPanel(panel.model, panel.images, kPanelWidth, 1).height();
    for (const double scale : {1.5, 2.0, 3.0}) {
        const auto picture = renderPanel(panel.model, panel.images, kPanelWidth, scale);
        EXPECT_EQ(picture.width(), std::ceil(kPanelWidth * scale));
        EXPECT_EQ(picture.height(), std::ceil(height * scale));
    }
}

/// How far two pictures of one size are from each other, as the mean over all colours of all
/// pixels, of 255.
double difference(const QImage& one, const QImage& other) {
    double sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QColor a = one.pixelColor(x, y);
            const QColor b = other.pixelColor(x, y);
            sum += std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
                   std::abs(a.blue() - b.blue());
        }
    }
    return sum / (3.0 * one.width() * one.height());
}

// panel_gallery makes them anew: CONTRIBUTING.md.
TEST(PanelPicture, ThoseInTheDocumentsAreOfThisPanel) {
    for (const bool dark : {false, true}) {
        PanelFixture panel;
        panel.model.seedDemo();
        PanelBridge bridge(panel.model, panel.images);
        bridge.setDark(dark);
        const auto drawn = renderPanel(bridge, Qt::gray, kPanelWidth, 1.5);
        const char* name = dark ? "docs/images/panel-dark.png" : "docs/images/panel-light.png";
        const QImage kept(sourceFile(name));
        ASSERT_FALSE(kept.isNull()) << name;
        ASSERT_EQ(kept.size(), drawn.size()) << name;
        // Measured: a line of text that is gone makes 0.9, one pixel to the side 5.6, dark for
        // light 200. Another version of the font may move the edge of a letter by a shade.
        EXPECT_LT(difference(kept, drawn), 0.5) << name;
    }
}

TEST(PanelPicture, OfNoWidthOrScaleIsNull) {
    PanelFixture panel;
    EXPECT_TRUE(renderPanel(panel.model, panel.images, 0, 2).isNull());
    EXPECT_TRUE(renderPanel(panel.model, panel.images, 360, 0).isNull());
    EXPECT_TRUE(renderPanel(panel.model, panel.images, 360, std::nan("")).isNull());
}

TEST(PanelPicture, EveryStateIsDrawnWithoutAComplaint) {
    for (const auto& state : panelStates()) {
        PanelFixture panel;
        state.set(panel);
        PanelBridge bridge(panel.model, panel.images);
        state.open(bridge);
        testing::internal::CaptureStderr();
        const auto picture = renderPanel(bridge, Qt::gray, kPanelWidth, 1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << state.name;
        EXPECT_FALSE(picture.isNull()) << state.name;
    }
}

TEST(PanelPicture, WithoutTheMarkALetterStandsForIt) {
    PanelFixture panel;
    panel.fake.resources.resources.clear();
    testing::internal::CaptureStderr();
    const auto picture = renderPanel(panel.model, panel.images);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_NE(picture.pixelColor(36, 44), QColor(28, 28, 28));
}

TEST(PanelPicture, ShowsTheIconOfTheAppInFront) {
    PanelFixture panel;
    panel.model.seedDemo();
    const auto without = renderPanel(panel.model, panel.images);
    panel.fake.icons.icons["com.figma.Desktop"] = IconFile{inSourceTree("resources/brask.png")};
    EXPECT_NE(renderPanel(panel.model, panel.images), without);
}

TEST(PanelPicture, AnIconThatIsNoPictureLeavesThePlaceholder) {
    PanelFixture panel;
    panel.model.seedDemo();
    const auto without = renderPanel(panel.model, panel.images);
    for (const AppIcon& icon :
         {AppIcon(IconFile{inSourceTree("LICENSE")}), AppIcon(IconFile{"/nowhere.png"}),
          AppIcon(ThemeIcon{"no-such-icon-anywhere"}), AppIcon(IconPng{"not a picture"}),
          AppIcon(IconPng{""})}) {
        panel.fake.icons.icons["com.figma.Desktop"] = icon;
        testing::internal::CaptureStderr();
        EXPECT_EQ(renderPanel(panel.model, panel.images), without);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
}

TEST(SymbolPicture, EverySymbolIsDrawnInTheColourAskedFor) {
    for (const Symbol symbol :
         {Symbol::magnifyingGlass, Symbol::seal, Symbol::iterateArrows, Symbol::shield}) {
        const std::string name(kelvane::name(symbol));
        const auto picture = symbolPicture(QString::fromStdString(name), QColor("#12ab34"), 64);
        ASSERT_EQ(picture.size(), QSize(64, 64)) << name;
        int inked = 0;
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 64; ++x) {
                if (picture.pixelColor(x, y) == QColor("#12ab34")) ++inked;
            }
        }
        EXPECT_GT(inked, 200) << name;
        EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0) << name;
    }
    EXPECT_TRUE(symbolPicture("no-such-symbol", Qt::black, 64).isNull());
    EXPECT_TRUE(symbolPicture("../brask", Qt::black, 64).isNull());
}

TEST(Mark, ThePictureIsWhatItsSourceDraws) {
    const auto drawn = markPicture(sourceFile("resources/brask.svg"), 256);
    const auto shipped =
        QImage(sourceFile("resources/brask.png")).convertToFormat(QImage::Format_ARGB32);
    ASSERT_EQ(shipped.size(), drawn.size());
    int different = 0;
    for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x) {
            if (std::abs(drawn.pixelColor(x, y).lightness() -
                         shipped.pixelColor(x, y).lightness()) > 8) {
                ++different;
            }
        }
    }
    EXPECT_LT(different, 64);
}

TEST(Mark, IsDrawnInAnySizeThatThereIs) {
    const QString source = sourceFile("resources/brask.svg");
    for (const int side : {1, 16, 1024}) {
        EXPECT_EQ(markPicture(source, side).size(), QSize(side, side));
    }
    for (const int side : {0, -1}) EXPECT_TRUE(markPicture(source, side).isNull()) << side;
    EXPECT_TRUE(markPicture(sourceFile("LICENSE"), 16).isNull());
}

TEST(Mark, AtItsTraySizeItIsReadableOnLightAndDarkBars) {
    const auto small = QImage(sourceFile("resources/brask.png"))
                           .scaled(18, 18, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // The tile separates it from either bar, the letter from the tile.
    const auto tile = small.pixelColor(2, 9);
    EXPECT_GT(tile.alpha(), 200);
    EXPECT_GT(std::abs(tile.lightness() - 245), 60);
    EXPECT_GT(std::abs(tile.lightness() - 30), 20);
    EXPECT_GT(small.pixelColor(6, 9).lightness() - tile.lightness(), 80);
}

} // namespace
} // namespace kelvane
