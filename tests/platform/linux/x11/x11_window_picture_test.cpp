#include "tests/platform/linux/common/png_pixels.h"
#include "tests/platform/linux/x11/x11_desktop_test.h"

#include <signal.h>

#include <atomic>
#include <chrono>
#include <thread>

namespace kelvane {
namespace {

constexpr std::uint32_t kRed = 0xFFC81E28;
constexpr std::uint32_t kGreen = 0xFF1EC828;
constexpr std::uint32_t kBlue = 0xFF281EC8;
constexpr std::uint32_t kBackground = 0xFFE6E6DC;

std::uint32_t pixel(std::uint32_t colour) {
    return colour & 0xFFFFFFU;
}

/// 200 x 100: a red left half, a green upper and a blue lower right quarter.
PaintedWindowOptions flag() {
    PaintedWindowOptions options;
    options.picture = {{{0, 0, 100, 100}, pixel(kRed)},
                       {{100, 0, 100, 50}, pixel(kGreen)},
                       {{100, 50, 100, 50}, pixel(kBlue)}};
    return options;
}

PaintedWindowOptions cover(std::int16_t x, std::int16_t y, std::uint16_t width,
                           std::uint16_t height) {
    PaintedWindowOptions options;
    options.x = x;
    options.y = y;
    options.width = width;
    options.height = height;
    options.picture = {{{0, 0, width, height}, 0x000001}};
    options.managed = false;
    return options;
}

class X11WindowPictureTest : public X11DesktopTest<X11WindowPictureTest> {
protected:
    std::optional<PngPixels> picture(std::int64_t window) {
        const auto png = makeX11WindowPicture(desktop().display())->png(window);
        return png ? decodePng(*png) : std::nullopt;
    }
    void expectFlag(const std::optional<PngPixels>& png) {
        ASSERT_TRUE(png);
        EXPECT_EQ(png->width, 200U);
        EXPECT_EQ(png->height, 100U);
        EXPECT_FALSE(png->hasAlpha);
        EXPECT_EQ(png->count(kRed), 100U * 100U);
        EXPECT_EQ(png->count(kGreen), 100U * 50U);
        EXPECT_EQ(png->count(kBlue), 100U * 50U);
        EXPECT_EQ(png->at(0, 0), kRed);
        EXPECT_EQ(png->at(199, 0), kGreen);
        EXPECT_EQ(png->at(199, 99), kBlue);
    }
    /// Where the window stands on the screen, whatever frame it was put into.
    std::pair<std::int16_t, std::int16_t> placeOf(xcb_window_t window) {
        auto& x = desktop().link();
        const XcbOwned<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
            x.xcb(), xcb_translate_coordinates(x.xcb(), window, x.root(), 0, 0), nullptr));
        return place ? std::pair{place->dst_x, place->dst_y}
                     : std::pair{std::int16_t{0}, std::int16_t{0}};
    }
};

TEST_F(X11WindowPictureTest, ofAVisibleWindow) {
    const auto window = paint(flag());
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, ofAWindowThatIsCoveredInPart) {
    const auto window = paint(flag());
    const auto [x, y] = placeOf(window->id());
    const auto above =
        paint(cover(static_cast<std::int16_t>(x + 50), static_cast<std::int16_t>(y + 25), 100, 50));
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, ofAWindowThatIsCoveredAltogether) {
    const auto window = paint(flag());
    const auto above = paint(cover(0, 0, 1600, 1000));
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, ofAWindowWithABackgroundThatIsCovered) {
    auto options = flag();
    options.background = pixel(kBackground);
    options.picture.pop_back(); // The lower right quarter is background.
    const auto window = paint(options);
    const auto above = paint(cover(0, 0, 1600, 1000));
    const auto png = picture(window->id());
    ASSERT_TRUE(png);
    EXPECT_EQ(png->count(kRed), 100U * 100U);
    EXPECT_EQ(png->count(kGreen), 100U * 50U);
    EXPECT_EQ(png->count(kBackground), 100U * 50U);
}

TEST_F(X11WindowPictureTest, ofAWindowThatReachesOverTheEdge) {
    auto options = flag();
    options.managed = false;
    for (const auto x : {-150, 1550}) {
        options.x = static_cast<std::int16_t>(x);
        const auto window = paint(options);
        expectFlag(picture(window->id()));
    }
}

TEST_F(X11WindowPictureTest, leavesOutTheBorder) {
    auto options = flag();
    options.border = 7;
    options.managed = false;
    const auto window = paint(options);
    expectFlag(picture(window->id()));
    const auto above = paint(cover(0, 0, 1600, 1000));
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, leavesOutTheMarginsOfClientDrawnShadows) {
    for (const bool covered : {false, true}) {
        auto options = flag();
        options.width = 220;
        options.height = 130;
        options.frameExtents = {12, 8, 10, 20};
        for (auto& part : options.picture) {
            part.area.x = static_cast<std::int16_t>(part.area.x + 12);
            part.area.y = static_cast<std::int16_t>(part.area.y + 10);
        }
        options.picture.insert(options.picture.begin(), {{0, 0, 220, 130}, 0x777777});
        const auto window = paint(options);
        const auto above = covered ? paint(cover(0, 0, 1600, 1000)) : nullptr;
        expectFlag(picture(window->id()));
    }
}

TEST_F(X11WindowPictureTest, keepsTransparentCorners) {
    auto options = flag();
    options.depth = 32;
    for (auto& part : options.picture) part.pixel |= 0xFF000000;
    options.picture.push_back({{0, 0, 10, 10}, 0x00000000});
    const auto window = paint(options);
    const auto png = picture(window->id());
    ASSERT_TRUE(png);
    EXPECT_TRUE(png->hasAlpha);
    EXPECT_EQ(png->at(0, 0), 0U);
    EXPECT_EQ(png->at(50, 50), kRed);
}

TEST_F(X11WindowPictureTest, isOpaqueWhenTheWindowIs) {
    auto options = flag();
    options.depth = 32;
    for (auto& part : options.picture) part.pixel |= 0xFF000000;
    const auto window = paint(options);
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, ofEachOfTwoWindowsOfOneApplication) {
    const auto one = paint(flag());
    auto options = flag();
    options.picture[0].pixel = pixel(kBackground);
    const auto two = paint(options);
    expectFlag(picture(one->id()));
    EXPECT_EQ(picture(two->id())->at(0, 0), kBackground);
}

TEST_F(X11WindowPictureTest, aCoveredProgramThatHangsHasNone) {
    for (const bool answersPings : {true, false}) {
        auto options = flag();
        options.answersPings = answersPings;
        const auto window = paint(options);
        const auto above = paint(cover(0, 0, 1600, 1000));
        window->hang();
        EXPECT_FALSE(picture(window->id())) << answersPings;
    }
    // Where the server paints the missing part itself, only the silence gives the program away.
    auto options = flag();
    options.background = pixel(kBackground);
    const auto window = paint(options);
    const auto above = paint(cover(0, 0, 1600, 1000));
    window->hang();
    EXPECT_FALSE(picture(window->id()));
}

/// Until it draws, a program that was covered shows what covered it.
TEST_F(X11WindowPictureTest, aVisibleProgramThatHangsHasNone) {
    for (const bool answersPings : {true, false}) {
        auto options = flag();
        options.answersPings = answersPings;
        const auto window = paint(options);
        auto above = paint(cover(0, 0, 1600, 1000));
        window->hang();
        above.reset();
        EXPECT_FALSE(picture(window->id())) << answersPings;
        window->recover();
        expectFlag(picture(window->id()));
    }
}

TEST_F(X11WindowPictureTest, aProgramThatIsSlowToDrawIsWaitedFor) {
    for (const bool answersPings : {true, false}) {
        for (const bool hasBackground : {true, false}) {
            auto options = flag();
            options.answersPings = answersPings;
            options.slowness = std::chrono::milliseconds(300);
            if (hasBackground && answersPings) options.background = pixel(kBackground);
            const auto window = paint(options);
            auto above = paint(cover(0, 0, 1600, 1000));
            above.reset();
            expectFlag(picture(window->id()));
        }
    }
}

TEST_F(X11WindowPictureTest, popUpsOfOthersThatComeAndGoAreNeverInIt) {
    const auto window = paint(flag());
    const auto [x, y] = placeOf(window->id());
    std::atomic<bool> enough = false;
    std::thread popping([&, x = x, y = y] {
        while (!enough) {
            PaintedWindow menu(desktop().display(),
                               cover(static_cast<std::int16_t>(x + 20),
                                     static_cast<std::int16_t>(y + 20), 90, 60));
            (void)menu.waitUntilDrawn();
        }
    });
    for (int i = 0; i < 30; ++i) {
        const auto png = picture(window->id());
        if (png) expectFlag(png);
    }
    enough = true;
    popping.join();
    expectFlag(picture(window->id()));
}

TEST_F(X11WindowPictureTest, ofAWindowThatChangesItsSizeItIsTheWindowAlone) {
    const auto below = paint(cover(0, 0, 1600, 1000));
    auto options = flag();
    options.managed = false;
    const auto window = paint(options);
    std::atomic<bool> enough = false;
    std::thread resizing([&] {
        const auto link = X11Connection::open(desktop().display(), kTestPatience);
        bool small = false;
        while (!enough) {
            small = !small;
            const std::uint32_t size[] = {small ? 180U : 200U, small ? 90U : 100U};
            xcb_configure_window(link->xcb(), window->id(),
                                 XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
            link->roundTrip();
            std::this_thread::sleep_for(std::chrono::milliseconds(7));
        }
    });
    for (int i = 0; i < 30; ++i) {
        const auto png = picture(window->id());
        if (!png) continue;
        EXPECT_EQ(png->count(kRed) + png->count(kGreen) + png->count(kBlue),
                  std::size_t{png->width} * png->height);
    }
    enough = true;
    resizing.join();
}

/// A window without corners: 200 x 50 above, 100 x 50 below.
TEST_F(X11WindowPictureTest, whatLiesOutsideTheShapeIsBlack) {
    const auto below = paint(cover(0, 0, 1600, 1000));
    const std::uint32_t lowest = XCB_STACK_MODE_BELOW;
    xcb_configure_window(desktop().link().xcb(), below->id(), XCB_CONFIG_WINDOW_STACK_MODE,
                         &lowest);
    desktop().link().roundTrip();
    for (const bool managed : {true, false}) {
        for (const bool covered : {true, false}) {
            auto options = flag();
            options.managed = managed;
            options.shape = {{0, 0, 200, 50}, {50, 50, 100, 50}};
            const auto window = paint(options);
            const auto above = covered ? paint(cover(0, 0, 1600, 1000)) : nullptr;
            const auto png = picture(window->id());
            ASSERT_TRUE(png) << managed << covered;
            EXPECT_EQ(png->width, 200U);
            EXPECT_EQ(png->height, 100U);
            EXPECT_EQ(png->count(kRed), 100U * 50U + 50U * 50U);
            EXPECT_EQ(png->count(kGreen), 100U * 50U);
            EXPECT_EQ(png->count(kBlue), 50U * 50U);
            EXPECT_EQ(png->count(0xFF000000), 2U * 50U * 50U);
            EXPECT_EQ(png->at(10, 75), 0xFF000000U);
        }
    }
}

TEST_F(X11WindowPictureTest, whatIsNoVisibleWindowHasNone) {
    EXPECT_FALSE(picture(0));
    EXPECT_FALSE(picture(-1));
    EXPECT_FALSE(picture(1LL << 40));
    EXPECT_FALSE(picture(0x7FFFFFF));
    std::int64_t gone = 0;
    {
        const auto window = paint(flag());
        gone = window->id();
        EXPECT_TRUE(picture(gone));
    }
    EXPECT_TRUE(VirtualDesktop::waitUntil([] { return desktop().windows().empty(); }));
    EXPECT_FALSE(picture(gone));

    auto& x = desktop().link();
    const auto unmapped = xcb_generate_id(x.xcb());
    xcb_create_window(x.xcb(), XCB_COPY_FROM_PARENT, unmapped, x.root(), 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const auto inputOnly = xcb_generate_id(x.xcb());
    const std::uint32_t unmanaged = 1;
    xcb_create_window(x.xcb(), 0, inputOnly, x.root(), 0, 0, 10, 10, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &unmanaged);
    xcb_map_window(x.xcb(), inputOnly);
    x.roundTrip();
    EXPECT_FALSE(picture(unmapped));
    EXPECT_FALSE(picture(inputOnly));
    xcb_destroy_window(x.xcb(), unmapped);
    xcb_destroy_window(x.xcb(), inputOnly);
    x.roundTrip();
}

TEST_F(X11WindowPictureTest, leavesNothingBehindInTheServer) {
    const auto window = paint(flag());
    const auto above = paint(cover(0, 0, 1600, 1000));
    const auto clients = [] {
        auto& x = desktop().link();
        const XcbOwned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(x.xcb(), xcb_query_tree(x.xcb(), x.root()), nullptr));
        return xcb_query_tree_children_length(tree.get());
    };
    const auto before = clients();
    for (int i = 0; i < 20; ++i) expectFlag(picture(window->id()));
    EXPECT_TRUE(VirtualDesktop::waitUntil([&] { return clients() == before; }));
}

/// A picture of a program while another window covers all of it is the one it had in the open.
class RealProgramPictureTest : public X11WindowPictureTest {
protected:
    /// The share of pixels that differ, cursors and animations aside.
    static double difference(const PngPixels& one, const PngPixels& other) {
        if (one.width != other.width || one.height != other.height) return 1;
        std::size_t different = 0;
        for (std::uint32_t y = 0; y < one.height; ++y) {
            for (std::uint32_t x = 0; x < one.width; ++x) {
                different += one.at(x, y) != other.at(x, y);
            }
        }
        return static_cast<double>(different) / (double(one.width) * one.height);
    }

    void expectSamePictureWhenCovered(const std::vector<std::string>& command,
                                      const std::string& wmClass) {
        const auto window = open(command, wmClass);
        ASSERT_NE(window, 0U);
        std::optional<PngPixels> inTheOpen;
        ASSERT_TRUE(VirtualDesktop::waitUntil([&] {
            // Until it has come to rest.
            const auto before = picture(window);
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            inTheOpen = picture(window);
            return before && inTheOpen && difference(*before, *inTheOpen) < 0.001;
        })) << command.front();
        const auto above = paint(cover(0, 0, 1600, 1000));
        const auto covered = picture(window);
        ASSERT_TRUE(covered) << command.front();
        EXPECT_LT(difference(*inTheOpen, *covered), 0.01) << command.front();
        EXPECT_EQ(covered->count(0xFF000001), 0U) << "the colour of what covers it";

        ASSERT_EQ(::kill(lastProgram(), SIGSTOP), 0);
        const auto hanging = picture(window);
        if (hanging) {
            EXPECT_LT(difference(*inTheOpen, *hanging), 0.01)
                << command.front() << " hangs: the right picture or none";
        }
        ASSERT_EQ(::kill(lastProgram(), SIGCONT), 0);
    }
};

TEST_F(RealProgramPictureTest, ofAGtkProgram) {
    expectSamePictureWhenCovered({"mousepad", "--disable-server"}, "Mousepad");
}

TEST_F(RealProgramPictureTest, ofAQtProgram) {
    expectSamePictureWhenCovered({"featherpad", "--standalone"}, "FeatherPad");
}

TEST_F(RealProgramPictureTest, ofAClassicProgramWithNothingToDraw) {
    const auto window = open({"xterm", "-cr", "white", "-e", "sleep", "600"}, "XTerm");
    const auto [x, y] = placeOf(window);
    const auto above = paint(
        cover(static_cast<std::int16_t>(x + 100), static_cast<std::int16_t>(y + 100), 100, 100));
    const auto png = picture(window);
    ASSERT_TRUE(png);
    EXPECT_EQ(png->count(0xFF000001), 0U);
    EXPECT_EQ(png->at(150, 150), 0xFFFFFFFFU);
}

TEST_F(RealProgramPictureTest, ofAClassicProgram) {
    expectSamePictureWhenCovered(
        {"xterm", "-e", "sh", "-c",
         "yes WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW | head -n 60; sleep 600"},
        "XTerm");
}

} // namespace
} // namespace kelvane
