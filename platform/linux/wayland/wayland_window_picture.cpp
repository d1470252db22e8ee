#include "platform/linux/wayland/wayland_window_picture.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

/// Between two looks at whether a window has come forward, and how long it may take to.
constexpr auto kLook = 5ms;
constexpr auto kUntilRaised = 150ms;

std::optional<WaylandWindow> windowOf(WaylandApplications& applications, std::int64_t number) {
    const auto all = applications.all();
    if (!all) return std::nullopt;
    for (const auto& one : *all) {
        if (std::int64_t{one.window.number} == number) return one.window;
    }
    return std::nullopt;
}

class KWinPicture : public WindowPicture {
public:
    KWinPicture(std::shared_ptr<WaylandApplications> applications,
                std::shared_ptr<const KWinScreenshot> screenshot)
        : m_applications(std::move(applications)),
          m_screenshot(std::move(screenshot)) {}

    std::optional<std::string> png(std::int64_t number) override {
        const auto window = windowOf(*m_applications, number);
        if (!window || window->uuid.empty() || !window->frame) return std::nullopt;
        return m_screenshot->png(window->uuid, *window->frame);
    }

private:
    std::shared_ptr<WaylandApplications> m_applications;
    std::shared_ptr<const KWinScreenshot> m_screenshot;
};

class ScreenPicture : public WindowPicture {
public:
    ScreenPicture(std::shared_ptr<WaylandApplications> applications,
                  std::shared_ptr<WaylandScreens> screens)
        : m_applications(std::move(applications)),
          m_screens(std::move(screens)) {}

    std::optional<std::string> png(std::int64_t number) override {
        auto seen = look(number);
        if (!seen) return std::nullopt;
        if (!seen->inFull) {
            seen = raised(number);
            if (!seen) return std::nullopt;
            // What the screen showed until now may be what is copied first.
            (void)m_screens->png(seen->part);
        }
        auto picture = m_screens->png(seen->part);
        // Whatever came before it meanwhile may be in the picture.
        const auto after = look(number);
        if (!after || !after->inFull || after->part != seen->part) return std::nullopt;
        return picture;
    }

private:
    struct Seen {
        DisplayRect part; ///< Of the window, on the screen that shows most of it.
        bool inFull = false;
    };

    std::optional<Seen> look(std::int64_t number) {
        const auto window = windowOf(*m_applications, number);
        const auto tree = window ? m_applications->tree() : std::nullopt;
        if (!tree) return std::nullopt;
        const auto all = m_applications->all();
        std::vector<WaylandWindow> plain;
        if (all) {
            for (const auto& one : *all) plain.push_back(one.window);
        }
        const auto matched = matchedWindows(plain, *tree);
        const auto found = matched.find(window->number);
        if (found == matched.end()) return std::nullopt;
        const auto& there = found->second;
        Seen seen;
        for (const auto& screen : m_screens->screens()) {
            const auto part = screen.sharedWith(there.rect);
            if (!part.empty() && part.width * part.height > seen.part.width * seen.part.height) {
                seen.part = part;
            }
        }
        seen.inFull = there.visible && !seen.part.empty() && !isCovered(there, *tree);
        return seen;
    }

    /// Once the window has come forward and nothing covers it.
    std::optional<Seen> raised(std::int64_t number) {
        if (!m_applications->activate(static_cast<std::uint32_t>(number))) return std::nullopt;
        const auto end = std::chrono::steady_clock::now() + kUntilRaised;
        while (std::chrono::steady_clock::now() < end) {
            const auto seen = look(number);
            if (seen && seen->inFull) return seen;
            std::this_thread::sleep_for(kLook);
        }
        return std::nullopt;
    }

    std::shared_ptr<WaylandApplications> m_applications;
    std::shared_ptr<WaylandScreens> m_screens;
};

} // namespace

std::unique_ptr<WindowPicture>
makeKWinWindowPicture(std::shared_ptr<WaylandApplications> applications,
                      std::shared_ptr<const KWinScreenshot> screenshot) {
    return std::make_unique<KWinPicture>(std::move(applications), std::move(screenshot));
}

std::unique_ptr<WindowPicture>
makeScreenWindowPicture(std::shared_ptr<WaylandApplications> applications,
                        std::shared_ptr<WaylandScreens> screens) {
    return std::make_unique<ScreenPicture>(std::move(applications), std::move(screens));
}

} // namespace kelvane
