// The selections of an X server: what happens to them, and what this program offers on CLIPBOARD.
//
// A thread with a link of its own hears of every change at once, serves those who want what we
// offer, and undoes a copy that came too late. Callers hand it questions and wait for the answer
// for a bounded time; an absent answer means that the server is gone or stuck. Any thread may ask,
// but not two at once about the same copy.

#pragma once

#include "platform/linux/common/copy_clipboard.h"
#include "platform/linux/rules/copy_rules.h"
#include "platform/linux/x11/selection_owner.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

namespace kelvane {

class SelectionMonitor {
public:
    using Content = std::shared_ptr<const ClipboardContent>;

    struct Status {
        std::int64_t changes = 0; ///< Of CLIPBOARD, since the start: ours and those of others.
        Content ours;             ///< What we offer; null while someone else, or nobody, owns it.
    };

    struct CopyResult {
        std::int64_t changes = 0;
        CopyFacts facts;
    };

    /// Null when there is no such server or it lacks XFIXES.
    [[nodiscard]] static std::unique_ptr<SelectionMonitor> open(const std::string& display);

    /// Hands our content to a clipboard manager, if there is one, and gives everything up.
    ~SelectionMonitor();
    SelectionMonitor(const SelectionMonitor&) = delete;
    SelectionMonitor& operator=(const SelectionMonitor&) = delete;

    /// Up to date with everything the server did before the call.
    [[nodiscard]] std::optional<Status> status();

    /// Makes `content` what CLIPBOARD holds, null or empty for nothing.
    void offer(Content content);

    /// From now on changes count as the answer of `target`; to be called before the key is posted.
    /// `remembered` is what to put back should the answer come too late, absent for leaving such an
    /// answer alone.
    void beginCopy(const CopyTarget& target, bool keyPosted, std::optional<Content> remembered);
    /// What is known of the copy so far.
    [[nodiscard]] std::optional<CopyResult> copyResult();
    /// The same for the last time: where nothing came yet, whatever comes from now on is late.
    [[nodiscard]] std::optional<CopyResult> finalCopyResult();

    /// Puts remembered content back in place of what we offer or, `afterCopy`, of what the latest
    /// copy left on CLIPBOARD. What came from elsewhere stays.
    void putBack(Content remembered, bool afterCopy);

private:
    struct Copy {
        CopyTarget target;
        SelectionParty asked;
        bool keyPosted = false;
        std::optional<Content> remembered;
        ServerTime keyTime = 0;
        bool decided = false;
        bool changed = false;
        bool oneClient = true;
        std::uint32_t client = 0; ///< The first that changed it.
        Provenance lastChange = Provenance::Unknown;
        /// Nothing of this copy is expected, and so nothing has to be put back, after this.
        std::chrono::steady_clock::time_point watchedUntil;
    };
    /// A program of this display, as far as it can be told from others: its process, where the
    /// server knows it, and its client of the server.
    using Program = std::pair<std::int32_t, std::uint32_t>;
    struct Selected {
        xcb_window_t owner = XCB_WINDOW_NONE;
        std::optional<ServerTime> since;
    };

    SelectionMonitor(std::shared_ptr<X11Connection> link, xcb_window_t window,
                     std::uint8_t fixesEvent, bool tellsProcesses);

    template <class Job>
    std::optional<std::invoke_result_t<Job>> ask(Job job);
    bool post(std::function<void()> job);

    void run();
    void handOver();
    bool runJobs();
    void drain();
    void catchUp();
    void handle(const xcb_generic_event_t& event);
    void clipboardChanged(xcb_window_t owner, ServerTime selected, ServerTime happened);
    [[nodiscard]] std::optional<ServerTime> serverTime();
    [[nodiscard]] SelectionParty partyOf(xcb_window_t window);
    [[nodiscard]] Provenance provenance(xcb_window_t owner);
    [[nodiscard]] std::uint32_t clientOf(xcb_window_t window) const;
    [[nodiscard]] Program programOf(const Copy& copy) const;
    [[nodiscard]] bool isKeeper(xcb_window_t window);
    [[nodiscard]] std::optional<std::chrono::milliseconds> untilMemoryIsDropped();
    [[nodiscard]] std::optional<CopyResult> lookAtCopy();
    void give(const Content& content);

    std::shared_ptr<X11Connection> m_link;
    xcb_window_t m_window;
    std::uint8_t m_fixesEvent;
    bool m_tellsProcesses; ///< The server knows the process of each client.
    xcb_atom_t m_clipboard;
    xcb_atom_t m_clock;

    // Of the thread alone.
    SelectionOwner m_owner;
    std::deque<XcbOwned<xcb_generic_event_t>> m_events; ///< Arrived, not yet handled.
    std::int64_t m_changes = 1;
    Selected m_primary;
    std::optional<Copy> m_copy;
    std::set<Program> m_haveAnswered; ///< A copy key of ours.

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_jobs; ///< Guarded by m_mutex.
    bool m_open = true;                       ///< Guarded by m_mutex: jobs are still taken.
    std::atomic<bool> m_stop = false;
    int m_wake = -1;
    std::promise<void> m_ended;
    std::thread m_thread;
};

} // namespace kelvane
