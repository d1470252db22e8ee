// A program that owns a selection and behaves as badly as a test wants.
//
// Written against the protocol alone, on a link and a thread of its own, so that it shares nothing
// with the code under test. It runs in the test's process: to the X server it is a client of that
// process like any other.

#pragma once

#include "platform/linux/x11/x11_connection.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kelvane {

struct ScriptedValue {
    std::string type;
    std::string bytes;
    std::uint8_t unit = 8;
};

struct OwnerScript {
    std::map<std::string, ScriptedValue> values = {}; ///< By target. TARGETS is answered by itself.
    bool answersTargets = true;
    bool silent = false;         ///< Never answers anything.
    std::size_t refuseFirst = 0; ///< This many questions are refused.
    std::size_t chunk = 0;       ///< More than 0: sends everything but TARGETS in such pieces.
    std::chrono::milliseconds pause{0};             ///< Before each piece.
    std::optional<std::size_t> stopAfterChunk = {}; ///< Sends no more pieces than this.
    std::optional<std::size_t> dieAfterChunk = {};  ///< Closes its link after this many.
};

class ScriptedOwner {
public:
    explicit ScriptedOwner(const std::string& display, OwnerScript script = {},
                           const std::string& selection = "CLIPBOARD");
    ~ScriptedOwner();
    ScriptedOwner(const ScriptedOwner&) = delete;
    ScriptedOwner& operator=(const ScriptedOwner&) = delete;

    /// Takes the selection, as of `time` (0: now), and waits until the server did it.
    void own(xcb_timestamp_t time = XCB_CURRENT_TIME);
    /// Leaves it to nobody.
    void release();
    /// The server's present time.
    [[nodiscard]] xcb_timestamp_t now();
    [[nodiscard]] xcb_window_t window() const { return m_window; }
    /// Who owns the selection, as the server says.
    [[nodiscard]] xcb_window_t ownerNow();

    /// The targets it was asked for, in order.
    [[nodiscard]] std::vector<std::string> asked();
    [[nodiscard]] bool lost() const { return m_lost; } ///< Another client took the selection.

private:
    struct Transfer {
        xcb_window_t requestor;
        xcb_atom_t property;
        ScriptedValue value;
        std::size_t sent = 0;
        std::size_t chunks = 0;
    };

    void run();
    void answer(const xcb_selection_request_event_t& request);
    void sendNext(const xcb_property_notify_event_t& change);
    [[nodiscard]] std::string nameOf(xcb_atom_t atom);

    std::shared_ptr<X11Connection> m_link;
    OwnerScript m_script;
    xcb_atom_t m_selection;
    xcb_window_t m_window;
    std::size_t m_questions = 0;
    std::vector<Transfer> m_transfers;
    std::mutex m_mutex;
    std::vector<std::string> m_asked;            ///< Guarded by m_mutex.
    std::optional<xcb_timestamp_t> m_timeAnswer; ///< Guarded by m_mutex.
    std::atomic<bool> m_lost = false;
    std::atomic<bool> m_stop = false;
    std::thread m_thread;
};

} // namespace kelvane
