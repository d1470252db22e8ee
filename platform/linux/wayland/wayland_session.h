// The ports of a desktop whose compositor tells what they need.
//
// The one header of this room that the rest of the program sees; it names no type of the libraries,
// so that a build without them has the same one and finds no such desktop.

#pragma once

#include "platform/linux/rules/desktop_entries.h"
#include "platform/linux/rules/desktop_sources.h"
#include "platform/ports/keyboard.h"
#include "platform/ports/pasteboard.h"
#include "platform/ports/window_list.h"
#include "platform/ports/window_picture.h"
#include "platform/ports/workspace.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kelvane {

/// Where the session's services are, as its environment says; empty where it does not.
struct WaylandPlace {
    std::string socket;     ///< The compositor's, an absolute path.
    std::string swaySocket; ///< SWAYSOCK
    std::string sessionBus; ///< DBUS_SESSION_BUS_ADDRESS
};

/// One link to the compositor, and all that goes over it. Any thread.
class WaylandSession {
public:
    virtual ~WaylandSession() = default;

    /// What the compositor offers; `wayland` is true. Services beside it that did not answer yet
    /// (pictures by KWin, sway's own socket) are asked again each time, for 300 ms each: at login
    /// they may be later than the compositor.
    [[nodiscard]] virtual DesktopOffer offer() = 0;

    // Each is for the sources Wlroots and KWin alone, and then never null. They keep the link.
    [[nodiscard]] virtual std::unique_ptr<Workspace> workspace() = 0;
    [[nodiscard]] virtual std::unique_ptr<Keyboard> keyboard() = 0;
    [[nodiscard]] virtual std::unique_ptr<Pasteboard> pasteboard() = 0;
    [[nodiscard]] virtual std::unique_ptr<WindowList> windowList() = 0;
    [[nodiscard]] virtual std::unique_ptr<WindowPicture> windowPicture() = 0;
};

/// What to connect for: a look at who is in front needs no keyboard and no clipboard.
enum class WaylandUse { WindowsOnly, Everything };

struct OpenedWaylandSession {
    std::unique_ptr<WaylandSession> session; ///< Null when nobody answers, or nothing was built.
    bool silent = false;                     ///< Somebody is there and does not answer.
    /// Of a silent one: the session once it has answered, null until then. It is the same link: a
    /// compositor that is busy deals with each newcomer, also with those that have gone again.
    std::function<std::unique_ptr<WaylandSession>()> late;
};

/// Waits for at most a second.
[[nodiscard]] OpenedWaylandSession openWaylandSession(const WaylandPlace& place,
                                                      InstalledEntries installed, WaylandUse use);

} // namespace kelvane
