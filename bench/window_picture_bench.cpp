// How long does the picture of a 3840 x 2160 window take, compared with ImageMagick's `import`?
//
// Both make a PNG of the same window on the same server, one after the other, several times; the
// middle values are compared. The budget is half the time of `import`. Three windows: an editor
// full of text, shades and noise like a photograph's, and the editor again with half of it covered,
// which `import` gets wrong and we have to wait for.

#include "platform/linux/x11/x11_window_picture.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/linux/x11/painted_window.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace kelvane;

constexpr std::uint16_t kWidth = 3840;
constexpr std::uint16_t kHeight = 2160;
constexpr int kRuns = 7;

double milliseconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

double middle(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// False when the budget is exceeded or nothing could be measured.
bool compare(VirtualDesktop& desktop, const char* name, xcb_window_t window) {
    const auto picture = makeX11WindowPicture(desktop.display());
    const auto path = desktop.home() / "import.png";
    const auto command = "DISPLAY=" + desktop.display() + " import -window " +
                         std::to_string(window) + " png:" + path.string();
    std::vector<double> ours;
    std::vector<double> theirs;
    std::size_t bytes = 0;
    for (int run = 0; run < kRuns; ++run) {
        ours.push_back(milliseconds([&] { bytes = picture->png(window).value_or("").size(); }));
        theirs.push_back(milliseconds([&] {
            if (std::system(command.c_str()) != 0) std::filesystem::remove(path);
        }));
        if (bytes == 0 || !std::filesystem::exists(path)) {
            std::printf("%-12s no picture\n", name);
            return false;
        }
    }
    const double ratio = middle(ours) / middle(theirs);
    std::printf("%-12s picture %7.1f ms  import %7.1f ms  ratio %.2f (budget 0.50)  "
                "%zu KB against %ju KB\n",
                name, middle(ours), middle(theirs), ratio, bytes / 1024,
                static_cast<std::uintmax_t>(std::filesystem::file_size(path)) / 1024);
    return ratio <= 0.5;
}

std::vector<PaintedRectangle> photograph() {
    std::vector<PaintedRectangle> parts;
    std::uint32_t state = 1;
    constexpr std::uint16_t kGrain = 1;
    for (std::uint16_t y = 0; y < kHeight; ++y) {
        for (std::uint16_t x = 0; x < kWidth; x = static_cast<std::uint16_t>(x + kGrain)) {
            state = state * 1664525U + 1013904223U;
            const std::uint32_t noise = (state >> 24U) & 0x0FU;
            const std::uint32_t red = x * 230U / kWidth + noise;
            const std::uint32_t green = y * 230U / kHeight + noise;
            const std::uint32_t blue = (x + y) * 200U / (kWidth + kHeight) + noise;
            parts.push_back(
                {{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), kGrain, 1},
                 (red << 16U) | (green << 8U) | blue});
        }
    }
    return parts;
}

xcb_window_t openEditor(VirtualDesktop& desktop) {
    const auto text = desktop.home() / "text.txt";
    std::ofstream out(text);
    for (int line = 0; line < 2000; ++line) {
        for (int word = 0; word < 60; ++word)
            out << "word" << (line * 7919 + word * 104729) % 9973 << ' ';
        out << '\n';
    }
    out.close();
    desktop.start({"mousepad", "--disable-server", text.string()});
    const auto window = desktop.waitForWindow(VirtualDesktop::ofClass("Mousepad"));
    if (!window) return XCB_WINDOW_NONE;
    const std::uint32_t place[] = {0, 0, kWidth, kHeight};
    auto& x = desktop.link();
    xcb_configure_window(x.xcb(), window->window,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT,
                         place);
    xcb_flush(x.xcb());
    std::this_thread::sleep_for(std::chrono::seconds(2));
    return window->window;
}

} // namespace

int main() {
    try {
        VirtualDesktop desktop({.screen = "4000x2400x24"});
        bool good = true;
        const auto editor = openEditor(desktop);
        good &= compare(desktop, "editor", editor);
        PaintedWindowOptions cover;
        cover.x = 0;
        cover.y = 0;
        cover.width = kWidth / 2;
        cover.height = kHeight;
        cover.background = 0;
        cover.picture = {{{0, 0, 1, 1}, 0}};
        cover.managed = false;
        {
            const PaintedWindow above(desktop.display(), cover);
            if (!above.waitUntilDrawn()) return EXIT_FAILURE;
            good &= compare(desktop, "covered", editor);
        }
        PaintedWindowOptions options;
        options.x = 0;
        options.y = 0;
        options.width = kWidth;
        options.height = kHeight;
        options.managed = false;
        options.picture = photograph();
        const PaintedWindow photo(desktop.display(), options);
        if (!photo.waitUntilDrawn()) return EXIT_FAILURE;
        good &= compare(desktop, "photograph", photo.id());
        return good ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
