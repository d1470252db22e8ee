#include "platform/linux/wayland/wayland_session.h"

#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/wayland/kwin_screenshot.h"
#include "platform/linux/wayland/wayland_applications.h"
#include "platform/linux/wayland/wayland_clipboard.h"
#include "platform/linux/wayland/wayland_connection.h"
#include "platform/linux/wayland/wayland_keys.h"
#include "platform/linux/wayland/wayland_screens.h"
#include "platform/linux/wayland/wayland_selections.h"
#include "platform/linux/wayland/wayland_window_picture.h"
#include "platform/linux/wayland/wayland_windows.h"
#include "platform/linux/wayland/wayland_workspace.h"

#include <atomic>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

struct Parts {
    std::shared_ptr<WaylandWindows> windows = makeWaylandWindows();
    // Of a link for everything; null otherwise.
    std::shared_ptr<WaylandSelections> selections;
    std::shared_ptr<WaylandKeys> keys;
    std::shared_ptr<WaylandScreens> screens;
};

class Session : public WaylandSession {
public:
    Session(std::shared_ptr<WaylandConnection> link, Parts parts, const WaylandPlace& place,
            InstalledEntries installed)
        : m_link(std::move(link)),
          m_parts(std::move(parts)),
          m_place(place),
          m_applications(std::make_shared<WaylandApplications>(
              m_link, m_parts.windows, SwaySocket(place.swaySocket), std::move(installed))),
          m_screenshot(std::make_shared<KWinScreenshot>(place.sessionBus)) {
        m_offer.wayland = true;
        m_offer.foreignToplevel = m_parts.windows->hasForeignToplevel();
        m_offer.plasmaWindows = m_parts.windows->hasPlasmaWindows();
        m_offer.plasmaShell = m_parts.windows->hasPlasmaShell();
        if (!m_parts.selections) return;
        m_offer.dataControl = m_parts.selections->offered();
        m_offer.virtualKeyboard = m_parts.keys->hasVirtualKeyboard();
        m_offer.fakeInput = m_parts.keys->hasFakeInput();
        m_offer.screencopy = m_parts.screens->offered();
        m_clipboard =
            makeWaylandClipboard({m_link, m_parts.windows, m_parts.selections, m_parts.keys});
    }

    DesktopOffer offer() override {
        auto offer = m_offer;
        if (!m_tellsTree) m_tellsTree = m_applications->tree().has_value();
        offer.swaySocket = m_tellsTree;
        offer.kwinScreenshot = m_parts.selections && offer.plasmaWindows && m_screenshot->offered();
        return offer;
    }

    std::unique_ptr<Workspace> workspace() override {
        return makeWaylandWorkspace(m_applications, m_place.socket);
    }
    std::unique_ptr<Keyboard> keyboard() override {
        return makeCopyKeyboard(
            m_clipboard,
            [applications = m_applications](ProcessId pid) -> std::optional<CopyTarget> {
                const auto active = applications->active();
                if (!active || active->app.pid != pid) return std::nullopt;
                return CopyTarget{active->window.process, active->window.number, active->takesKeys};
            });
    }
    std::unique_ptr<Pasteboard> pasteboard() override { return makeCopyPasteboard(m_clipboard); }
    std::unique_ptr<WindowList> windowList() override {
        return makeWaylandWindowList(
            m_applications, [screenshot = m_screenshot] { return screenshot->wasOffered(); });
    }
    std::unique_ptr<WindowPicture> windowPicture() override {
        if (m_offer.plasmaWindows) return makeKWinWindowPicture(m_applications, m_screenshot);
        return makeScreenWindowPicture(m_applications, m_parts.screens);
    }

private:
    const std::shared_ptr<WaylandConnection> m_link;
    const Parts m_parts;
    const WaylandPlace m_place;
    const std::shared_ptr<WaylandApplications> m_applications;
    const std::shared_ptr<KWinScreenshot> m_screenshot;
    std::atomic<bool> m_tellsTree = false;
    DesktopOffer m_offer;                       ///< What the link alone tells.
    std::shared_ptr<CopyClipboard> m_clipboard; ///< Null likewise.
};

} // namespace

OpenedWaylandSession openWaylandSession(const WaylandPlace& place, InstalledEntries installed,
                                        WaylandUse use) {
    Parts parts;
    std::vector<std::shared_ptr<WaylandPart>> used{parts.windows};
    if (use == WaylandUse::Everything) {
        parts.selections = makeWaylandSelections(parts.windows);
        parts.keys = makeWaylandKeys();
        parts.screens = makeWaylandScreens();
        used.insert(used.end(), {parts.selections, parts.keys, parts.screens});
    }
    auto opened = WaylandConnection::open(place.socket, std::move(used));
    auto link = opened.silent ? opened.late : opened.link;
    if (!link) return {};
    const auto session = [link, parts, place, installed = std::move(installed),
                          use]() -> std::unique_ptr<WaylandSession> {
        if (!link->alive()) return openWaylandSession(place, installed, use).session;
        if (!link->started()) return nullptr;
        return std::make_unique<Session>(link, parts, place, installed);
    };
    if (opened.silent) return {nullptr, true, session};
    return {session(), false, nullptr};
}

} // namespace kelvane
