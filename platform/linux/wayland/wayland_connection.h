// One link to a Wayland compositor, with a thread of its own.
//
// All objects of the protocol live on that thread: events arrive there, requests are sent from
// there, as jobs that anybody hands in. Nothing on it ever waits but for the next event or job, so
// a compositor that stands still holds up nobody: whoever waits for an answer waits for a bounded
// time, and from then on gets the absent answer at once until the compositor has caught up.
//
// A compositor that is gone does not come back; open another link.

#pragma once

#include "platform/linux/wayland/wayland_globals.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct wl_display;

namespace kelvane {

/// A compositor that does not answer within this time stands still.
inline constexpr std::chrono::milliseconds kCompositorSilence{300};

class WaylandConnection {
public:
    struct Opened {
        std::shared_ptr<WaylandConnection> link; ///< Null when nobody answers there.
        bool silent = false;                     ///< Somebody is there and does not answer.
        /// The link to whoever is silent, for as long as it is kept: null otherwise. It is of use
        /// once it has started.
        std::shared_ptr<WaylandConnection> late;
    };

    /// Connects to the compositor's socket. `parts` hear of every global that is there before this
    /// returns, on the link's thread, and of what comes later; the link keeps them. Waits for at
    /// most `patience`.
    [[nodiscard]] static Opened open(const std::string& socket,
                                     std::vector<std::shared_ptr<WaylandPart>> parts,
                                     std::chrono::milliseconds patience = kCompositorSilence);

    virtual ~WaylandConnection() = default;

    /// False once the compositor has gone. Any thread.
    [[nodiscard]] virtual bool alive() const = 0;

    /// Whether the parts have heard of all that was there at the start. Any thread.
    [[nodiscard]] virtual bool started() const = 0;

    /// Whether the compositor has dealt with everything that it was sent before, and this side with
    /// what it sent. Waits for at most `kCompositorSilence`, and not at all while an earlier
    /// question is open. Any thread but the link's.
    [[nodiscard]] virtual bool answers() = 0;

    /// Runs `job` on the link's thread, soon, with requests sent when it returns. Dropped when the
    /// link ends first. Any thread.
    virtual void post(std::function<void()> job) = 0;

    /// The same, and waits until it has run; false when it has not within `kCompositorSilence`, and
    /// then it may still run later: hand in values that live on. Any thread but the link's.
    virtual bool run(std::function<void()> job) = 0;

    /// Writes the bytes into the pipe as they are taken and closes it; a reader that takes nothing
    /// for ten seconds gets no more. The link's thread only.
    virtual void feed(int pipe, std::shared_ptr<const std::string> bytes) = 0;
};

} // namespace kelvane
