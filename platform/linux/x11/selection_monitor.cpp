#include "platform/linux/x11/selection_monitor.h"

#include "platform/linux/x11/bounded_reply.h"
#include "platform/linux/x11/x11_processes.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/xfixes.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace kelvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// A caller's wait for the thread: some answers of the server, and whatever it is busy with.
constexpr auto kCallerPatience = 2 * kServerSilence;
constexpr auto kKeeperPatience = 300ms;
constexpr auto kEndPatience = 1s;
constexpr auto kStallCheck = 5s;

constexpr std::array<std::string_view, 18> kAtoms{"CLIPBOARD",    "CLIPBOARD_MANAGER",
                                                  "TARGETS",      "MULTIPLE",
                                                  "TIMESTAMP",    "SAVE_TARGETS",
                                                  "ATOM_PAIR",    "INCR",
                                                  "NULL",         "TEXT",
                                                  kUtf8String,    kUtf8Plain,
                                                  kPlain,         "image/png",
                                                  "text/html",    "KELVANE_SELECTION",
                                                  "KELVANE_TIME", "KELVANE_SAVED_TARGETS"};

/// The event number of XFIXES events; absent when the server has none. Without it nobody says when
/// a selection gets another owner: it could only be asked for again and again.
std::optional<std::uint8_t> startFixes(X11Connection& link) {
    const auto* const extension = link.extension(xcb_xfixes_id);
    if (extension == nullptr) return std::nullopt;
    const auto version = replyWithin<xcb_xfixes_query_version_reply_t>(
        link.xcb(), xcb_xfixes_query_version(link.xcb(), 1, 0));
    if (!version || version->major_version < 1) return std::nullopt;
    return static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
}

} // namespace

std::unique_ptr<SelectionMonitor> SelectionMonitor::open(const std::string& display) {
    auto link = X11Connection::open(display);
    if (!link) return nullptr;
    const auto fixes = startFixes(*link);
    if (!fixes) return nullptr;
    link->internAtoms(kAtoms);

    const auto window = xcb_generate_id(link->xcb());
    // Changes of its own properties tell the server's time; see serverTime().
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    // Never shown: selections need a window as their owner.
    xcb_create_window(link->xcb(), XCB_COPY_FROM_PARENT, window, link->root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    for (const auto selection : {link->atom("CLIPBOARD"), xcb_atom_t{XCB_ATOM_PRIMARY}}) {
        xcb_xfixes_select_selection_input(
            link->xcb(), window, selection,
            XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    }
    const bool tellsProcesses = serverTellsProcesses(*link);
    if (!link->alive()) return nullptr;
    return std::unique_ptr<SelectionMonitor>(
        new SelectionMonitor(std::move(link), window, *fixes, tellsProcesses));
}

SelectionMonitor::SelectionMonitor(std::shared_ptr<X11Connection> link, xcb_window_t window,
                                   std::uint8_t fixesEvent, bool tellsProcesses)
    : m_link(std::move(link)),
      m_window(window),
      m_fixesEvent(fixesEvent),
      m_tellsProcesses(tellsProcesses),
      m_clipboard(m_link->atom("CLIPBOARD")),
      m_clock(m_link->atom("KELVANE_TIME")),
      m_owner(m_link, window) {
    // Who selected before we listened is known; when, is not.
    if (const auto primary = replyWithin<xcb_get_selection_owner_reply_t>(
            m_link->xcb(), xcb_get_selection_owner(m_link->xcb(), XCB_ATOM_PRIMARY))) {
        m_primary.owner = primary->owner;
    }
    m_wake = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    // Signals are the business of the program's own threads.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    m_thread = std::thread([this] { run(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

SelectionMonitor::~SelectionMonitor() {
    // Three steps: it is asked to end, is given a second, and then loses its connection, on which
    // alone it can hang.
    m_stop = true;
    ::eventfd_write(m_wake, 1);
    if (m_ended.get_future().wait_for(kEndPatience) != std::future_status::ready) {
        // It hangs in a write to a server that does not read.
        ::shutdown(xcb_get_file_descriptor(m_link->xcb()), SHUT_RDWR);
    }
    m_thread.join();
    ::close(m_wake);
}

// ---- callers -----------------------------------------------------------------------------------

bool SelectionMonitor::post(std::function<void()> job) {
    {
        const std::lock_guard lock(m_mutex);
        if (!m_open) return false;
        m_jobs.push_back(std::move(job));
    }
    ::eventfd_write(m_wake, 1);
    return true;
}

// The job runs on the thread; the caller waits for so long and no longer. A job that is late finds
// nobody, and does no harm: it refers to nothing of the caller's.
template <class Job>
std::optional<std::invoke_result_t<Job>> SelectionMonitor::ask(Job job) {
    using Answer = std::invoke_result_t<Job>;
    const auto task = std::make_shared<std::packaged_task<Answer()>>(std::move(job));
    auto answer = task->get_future();
    if (!post([task] { (*task)(); })) return std::nullopt;
    if (answer.wait_for(kCallerPatience) != std::future_status::ready) return std::nullopt;
    try {
        return answer.get();
    } catch (const std::future_error&) {
        return std::nullopt; // The thread ended first.
    }
}

std::optional<SelectionMonitor::Status> SelectionMonitor::status() {
    return ask([this] {
        // Changes that have happened are told before the answer is given.
        catchUp();
        return Status{m_changes, m_owner.content()};
    });
}

void SelectionMonitor::offer(Content content) {
    ask([this, content = std::move(content)] {
        m_copy.reset();
        give(content);
        ++m_changes;
        return true;
    });
}

void SelectionMonitor::beginCopy(const CopyTarget& target, bool keyPosted,
                                 std::optional<Content> remembered) {
    ask([this, target, keyPosted, remembered = std::move(remembered)] {
        catchUp();
        Copy copy;
        copy.target = target;
        copy.asked = partyOf(target.window);
        copy.keyPosted = keyPosted;
        copy.remembered = remembered;
        // Changes are held against the moment of the key by the server's own clock, in which they
        // are told.
        copy.keyTime = serverTime().value_or(0);
        copy.watchedUntil = steady_clock::now() + kLateCopyWatch;
        m_copy = std::move(copy);
        return true;
    });
}

std::optional<SelectionMonitor::CopyResult> SelectionMonitor::copyResult() {
    auto result = ask([this] { return lookAtCopy(); });
    return result ? *result : std::nullopt;
}

std::optional<SelectionMonitor::CopyResult> SelectionMonitor::finalCopyResult() {
    auto result = ask([this] {
        auto seen = lookAtCopy();
        // An answer that is there is about to be read; it may even be given twice. A change that
        // comes from here on is late.
        if (m_copy) m_copy->decided = !m_copy->changed;
        return seen;
    });
    return result ? *result : std::nullopt;
}

void SelectionMonitor::putBack(Content remembered, bool afterCopy) {
    ask([this, remembered = std::move(remembered), afterCopy] {
        catchUp();
        ClipboardFacts facts;
        facts.ownedByUs = m_owner.content() != nullptr;
        if (m_copy && afterCopy) {
            m_copy->decided = true;
            facts.keyPosted = m_copy->keyPosted;
            facts.changed = m_copy->changed;
            facts.lastChange = m_copy->lastChange;
            facts.oneClient = m_copy->oneClient;
        }
        // What is there already is not taken once more: programs would be told of a change that is
        // none.
        const bool there = remembered && remembered == m_owner.content();
        if (!there && mayPutBack(facts)) give(remembered);
        return true;
    });
}

// ---- the thread --------------------------------------------------------------------------------

void SelectionMonitor::run() {
    while (!m_stop && m_link->alive()) {
        drain();
        // Jobs may have brought events along, so those are looked at again first.
        if (runJobs()) continue;
        const bool transfers = m_owner.dropStalled();
        xcb_flush(m_link->xcb());
        // Writing may have read: what is in memory already wakes nobody.
        if (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_queued_event(m_link->xcb())}) {
            m_events.push_back(std::move(event));
            continue;
        }
        pollfd waits[] = {{xcb_get_file_descriptor(m_link->xcb()), POLLIN, 0}, {m_wake, POLLIN, 0}};
        auto longest = untilMemoryIsDropped();
        if (transfers)
            longest =
                std::min<std::chrono::milliseconds>(longest.value_or(kStallCheck), kStallCheck);
        ::poll(waits, 2, longest ? static_cast<int>(longest->count()) : -1);
        // It only wakes; what is to be done stands in the list.
        eventfd_t ignored = 0;
        ::eventfd_read(m_wake, &ignored);
    }
    std::deque<std::function<void()>> left;
    {
        const std::lock_guard lock(m_mutex);
        m_open = false;
        left.swap(m_jobs);
    }
    // A promise that is broken ends the wait of its caller.
    left.clear(); // Tells those who wait.
    if (m_link->alive()) handOver();
    m_ended.set_value();
}

void SelectionMonitor::handOver() {
    // A copy that comes too late has nobody to be given back by.
    m_copy.reset();
    if (!m_owner.askKeeper()) return;
    const auto end = steady_clock::now() + kKeeperPatience;
    while (!m_owner.keeperAnswered()) {
        if (m_events.empty()) {
            auto event = eventBefore(m_link->xcb(), end);
            if (!event) return;
            m_events.push_back(std::move(event));
        }
        drain();
    }
}

bool SelectionMonitor::runJobs() {
    std::deque<std::function<void()>> jobs;
    {
        const std::lock_guard lock(m_mutex);
        jobs.swap(m_jobs);
    }
    // Run outside the lock, since a job may post another.
    for (const auto& job : jobs) {
        if (!m_stop) job();
    }
    return !jobs.empty();
}

void SelectionMonitor::drain() {
    for (;;) {
        XcbOwned<xcb_generic_event_t> event;
        if (!m_events.empty()) {
            event = std::move(m_events.front());
            m_events.pop_front();
        } else {
            event.reset(xcb_poll_for_event(m_link->xcb()));
        }
        if (!event) return;
        handle(*event);
    }
}

void SelectionMonitor::catchUp() {
    // Whatever the server did before this answer has arrived together with it.
    (void)replyWithin<xcb_get_input_focus_reply_t>(m_link->xcb(),
                                                   xcb_get_input_focus(m_link->xcb()));
    drain();
}

// The highest bit marks events that other clients have sent.
void SelectionMonitor::handle(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7FU) != m_fixesEvent) {
        m_owner.handle(event);
        return;
    }
    const auto& notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t&>(event);
    const bool set = notify.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER;
    const auto owner = set ? notify.owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    if (notify.selection == XCB_ATOM_PRIMARY) {
        m_primary = {owner, notify.selection_timestamp};
        return;
    }
    // Some owners give CLIPBOARD up for a moment before they take it again: nobody is no change.
    const bool byOthers = owner != XCB_WINDOW_NONE && owner != m_window;
    if (notify.selection == m_clipboard && byOthers) {
        clipboardChanged(owner, notify.selection_timestamp, notify.timestamp);
    }
}

void SelectionMonitor::clipboardChanged(xcb_window_t owner, ServerTime selected,
                                        ServerTime happened) {
    ++m_changes;
    // Only what happens after a key of ours may be an answer to it.
    if (!m_copy || !m_copy->keyPosted) return;
    Copy& copy = *m_copy;
    const auto client = clientOf(owner);
    const auto before = copy.changed ? copy.lastChange : Provenance::Unknown;
    if (copy.changed && client != copy.client) copy.oneClient = false;
    if (!copy.changed) copy.client = client;
    copy.changed = true;
    copy.lastChange = provenance(owner);
    // A clipboard manager may take over at once what the application has just copied.
    if (copy.lastChange == Provenance::Other && before == Provenance::Target && isKeeper(owner)) {
        copy.lastChange = Provenance::Target;
    }
    // For a program that answers the copy key the primary selection need not stand in.
    if (copy.lastChange == Provenance::Target) m_haveAnswered.insert(programOf(copy));
    const LateChangeFacts facts{
        .keyPosted = copy.keyPosted,
        .decided = copy.decided,
        .remembered = copy.remembered.has_value(),
        .change = copy.lastChange,
        .selectedAfterKey = serverTimeBetween(copy.keyTime, selected),
        .arrivedAfterKey = serverTimeBetween(copy.keyTime, happened),
    };
    if (isLateCopy(facts)) give(*copy.remembered);
}

std::optional<ServerTime> SelectionMonitor::serverTime() {
    // Appending nothing changes nothing, and is told of with the time all the same.
    xcb_change_property(m_link->xcb(), XCB_PROP_MODE_APPEND, m_window, m_clock, XCB_ATOM_STRING, 8,
                        0, nullptr);
    const auto end = steady_clock::now() + kServerSilence;
    while (auto event = eventBefore(m_link->xcb(), end)) {
        if ((event->response_type & 0x7FU) == XCB_PROPERTY_NOTIFY) {
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
            if (change.window == m_window && change.atom == m_clock) return change.time;
        }
        // What else comes in meanwhile is kept for later, in its order.
        m_events.push_back(std::move(event));
    }
    return std::nullopt;
}

std::optional<SelectionMonitor::CopyResult> SelectionMonitor::lookAtCopy() {
    catchUp();
    if (!m_copy) return std::nullopt;
    CopyResult result{m_changes, {}};
    result.facts.keyPosted = m_copy->keyPosted;
    result.facts.clipboardChanged = m_copy->changed;
    result.facts.changedBy = m_copy->lastChange;
    result.facts.oneClient = m_copy->oneClient;
    result.facts.hasAnswered = m_haveAnswered.contains(programOf(*m_copy));
    result.facts.primaryOwner = provenance(m_primary.owner);
    const auto now = serverTime();
    // The age of the primary selection, by the server's clock again, which comes round after 49
    // days.
    if (now && m_primary.since) {
        result.facts.primaryAge = serverTimeBetween(*m_primary.since, *now);
    }
    return result;
}

SelectionParty SelectionMonitor::partyOf(xcb_window_t window) {
    SelectionParty party{window, std::nullopt};
    if (window == XCB_WINDOW_NONE || !m_tellsProcesses) return party;
    if (const auto process = takeProcess(*m_link, askProcess(*m_link, window)); process != 0) {
        party.process = process;
    }
    return party;
}

std::uint32_t SelectionMonitor::clientOf(xcb_window_t window) const {
    // The upper bits of an id are those of the client that made it.
    return window & ~xcb_get_setup(m_link->xcb())->resource_id_mask;
}

SelectionMonitor::Program SelectionMonitor::programOf(const Copy& copy) const {
    // A program is known by its process, and where that cannot be told, by its connection.
    return {copy.asked.process.value_or(copy.target.process), clientOf(copy.asked.window)};
}

bool SelectionMonitor::isKeeper(xcb_window_t window) {
    const auto keeper = m_link->reply<xcb_get_selection_owner_reply_t>(
        xcb_get_selection_owner_unchecked(m_link->xcb(), m_link->atom("CLIPBOARD_MANAGER")));
    if (!keeper || keeper->owner == XCB_WINDOW_NONE) return false;
    if (clientOf(keeper->owner) == clientOf(window)) return true;
    const auto process = partyOf(keeper->owner).process;
    return process && process == partyOf(window).process;
}

/// What was remembered for the case that a copy comes too late is let go once none is waited for:
/// it may be a password, or large. The time until then; absent when there is nothing to let go.
std::optional<std::chrono::milliseconds> SelectionMonitor::untilMemoryIsDropped() {
    if (!m_copy || !m_copy->remembered) return std::nullopt;
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(m_copy->watchedUntil - steady_clock::now());
    if (left > std::chrono::milliseconds::zero()) return left;
    m_copy->remembered.reset();
    return std::nullopt;
}

Provenance SelectionMonitor::provenance(xcb_window_t owner) {
    if (!m_copy) return Provenance::Unknown;
    return provenanceOf(partyOf(owner), m_copy->asked, m_copy->target.process,
                        xcb_get_setup(m_link->xcb())->resource_id_mask);
}

void SelectionMonitor::give(const Content& content) {
    // A selection is taken at a time of the server's, or a slower client could take it back with an
    // older one (ICCCM 2.1).
    if (const auto time = serverTime()) m_owner.offer(content, *time);
}

} // namespace kelvane
