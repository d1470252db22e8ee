#include "platform/linux/wayland/wayland_selections.h"

#include "platform/linux/wayland/wayland_connection.h"
#include "text/one_of.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <wayland-client.h>

#include <wlr-data-control-unstable-v1-client-protocol.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

/// By which our own content is known when it is offered back to us: how the mark of every link
/// begins. Nobody asks for it.
constexpr std::string_view kOwnMark = "application/x-kelvane-own;";
constexpr std::uint32_t kWithPrimary = 2;
constexpr std::size_t kMostChanges = 64;  ///< That are remembered.
constexpr std::size_t kMostFormats = 256; ///< Of one owner, that are listened to.

/// The names by which programs ask for the same text.
constexpr std::array<std::string_view, 5> kTextNames{kUtf8Plain, kUtf8String, kPlain, "TEXT",
                                                     kLatin1String};

/// One that no other link has, of this program or of another one of it.
std::string newMark() {
    static std::atomic<unsigned> last = 0;
    return std::string(kOwnMark) + std::to_string(::getpid()) + "-" + std::to_string(++last);
}

const ClipboardFormat* named(const ClipboardContent& content, std::string_view name) {
    const auto found = std::ranges::find(content, name, &ClipboardFormat::target);
    return found == content.end() ? nullptr : &*found;
}

/// What stands for `name`: the format itself, or the text under another name.
const ClipboardFormat* formatFor(const ClipboardContent& content, std::string_view name) {
    if (const auto* const format = named(content, name)) return format;
    if (!text::isOneOf(name, kTextNames)) return nullptr;
    for (const auto other : kTextNames) {
        if (const auto* const format = named(content, other)) return format;
    }
    return nullptr;
}

class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }

    [[nodiscard]] int number() const { return m_number; }
    void close() {
        const int number = m_number.exchange(-1);
        if (number >= 0) ::close(number);
    }

private:
    std::atomic<int> m_number;
};

SelectionAnswer readAll(int pipe, const WaylandSelections::Bounds& bounds) {
    using Kind = SelectionAnswer::Kind;
    constexpr std::size_t kPiece = std::size_t{64} << 10U;
    SelectionAnswer answer;
    ::fcntl(pipe, F_SETFL, ::fcntl(pipe, F_GETFL) | O_NONBLOCK);
    while (true) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            bounds.deadline - steady_clock::now());
        pollfd waiting{pipe, POLLIN, 0};
        const auto patience = std::clamp(left, std::chrono::milliseconds(0), bounds.silence);
        const int ready = ::poll(&waiting, 1, static_cast<int>(patience.count()));
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return {Kind::Silent, {}};
        const auto before = answer.bytes.size();
        answer.bytes.resize(before + kPiece);
        const auto got = ::read(pipe, answer.bytes.data() + before, kPiece);
        answer.bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got < 0) return {};
        if (answer.bytes.size() > bounds.most) return {Kind::TooLarge, {}};
        if (got > 0) continue;
        // An owner that has nothing of that kind closes its end without a word.
        answer.kind = answer.bytes.empty() ? Kind::Refused : Kind::Value;
        return answer;
    }
}

class Selections : public WaylandSelections {
public:
    explicit Selections(std::shared_ptr<WaylandWindows> windows) : m_windows(std::move(windows)) {}

    void attach(WaylandConnection& link) override {
        const std::lock_guard lock(m_mutex);
        m_link = &link;
    }
    void globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                     std::uint32_t version) override;
    void globalRemoved(std::uint32_t) override {}
    void globalsComplete() override;
    void started() override;
    void detach() override;

    bool offered() const override {
        const std::lock_guard lock(m_mutex);
        return m_device != nullptr;
    }
    SelectionSeen seen(SelectionName which) const override {
        const std::lock_guard lock(m_mutex);
        return slot(which).seen;
    }
    std::uint64_t changes() const override {
        const std::lock_guard lock(m_mutex);
        return m_changeCount;
    }
    std::vector<SelectionChange> changesSince(std::uint64_t count) const override {
        const std::lock_guard lock(m_mutex);
        const auto wanted = std::min<std::uint64_t>(m_changeCount - count, m_changes.size());
        return {m_changes.end() - static_cast<std::ptrdiff_t>(wanted), m_changes.end()};
    }
    SelectionAnswer read(SelectionName which, std::uint64_t generation, const std::string& format,
                         const Bounds& bounds) override;
    void offer(std::shared_ptr<const ClipboardContent> content) override;
    void onChange(std::function<void(const SelectionChange&)> changed) override {
        const std::lock_guard lock(m_hookMutex);
        m_changed = std::move(changed);
    }

    // What the compositor tells.
    void introduced(zwlr_data_control_offer_v1* offer) { m_offers[offer] = {}; }
    void offers(zwlr_data_control_offer_v1* offer, const char* format) {
        auto& formats = m_offers[offer];
        if (formats.size() < kMostFormats) formats.emplace_back(format);
    }
    void selected(SelectionName which, zwlr_data_control_offer_v1* offer);
    void finished();
    void send(const std::string& format, int pipe);
    void cancelled(zwlr_data_control_source_v1* source);

private:
    struct Slot {
        SelectionSeen seen;
        zwlr_data_control_offer_v1* offer = nullptr; ///< The link's thread only.
    };
    [[nodiscard]] Slot& slot(SelectionName which) {
        return which == SelectionName::Clipboard ? m_clipboard : m_primary;
    }
    [[nodiscard]] const Slot& slot(SelectionName which) const {
        return which == SelectionName::Clipboard ? m_clipboard : m_primary;
    }
    [[nodiscard]] SelectionTag activeNow() const;
    void forget(zwlr_data_control_offer_v1*& offer);

    const std::shared_ptr<WaylandWindows> m_windows;
    mutable std::mutex m_mutex; ///< Guards what others see; it all changes on the link's thread.
    WaylandConnection* m_link = nullptr; ///< Null once it has ended.
    Slot m_clipboard;
    Slot m_primary;
    std::uint64_t m_changeCount = 0;
    std::vector<SelectionChange> m_changes;
    std::uint64_t m_lastGeneration = 0;
    std::mutex m_hookMutex;
    std::function<void(const SelectionChange&)> m_changed;
    // The link's thread only, but for whether there is a device.
    zwlr_data_control_manager_v1* m_manager = nullptr;
    zwlr_data_control_device_v1* m_device = nullptr;
    wl_seat* m_seat = nullptr;
    std::map<zwlr_data_control_offer_v1*, std::vector<std::string>> m_offers;
    zwlr_data_control_source_v1* m_source = nullptr;
    std::shared_ptr<const ClipboardContent> m_content; ///< Of the source.
    const std::string m_ownMark = newMark();
    /// Which of the two has been told of. What is told first is what was there, and no change.
    std::array<bool, 2> m_told{};
};

Selections& of(void* data) {
    return *static_cast<Selections*>(data);
}

constexpr zwlr_data_control_offer_v1_listener kOfferListener{
    .offer = [](void* data, zwlr_data_control_offer_v1* offer,
                const char* format) { of(data).offers(offer, format); },
};

constexpr zwlr_data_control_device_v1_listener kDeviceListener{
    .data_offer =
        [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer) {
            of(data).introduced(offer);
            zwlr_data_control_offer_v1_add_listener(offer, &kOfferListener, data);
        },
    .selection =
        [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer) {
            of(data).selected(SelectionName::Clipboard, offer);
        },
    .finished = [](void* data, zwlr_data_control_device_v1*) { of(data).finished(); },
    .primary_selection =
        [](void* data, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* offer) {
            of(data).selected(SelectionName::Primary, offer);
        },
};

constexpr zwlr_data_control_source_v1_listener kSourceListener{
    .send = [](void* data, zwlr_data_control_source_v1*, const char* format,
               int pipe) { of(data).send(format, pipe); },
    .cancelled = [](void* data,
                    zwlr_data_control_source_v1* source) { of(data).cancelled(source); },
};

void Selections::globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                             std::uint32_t version) {
    if (interface == wl_seat_interface.name && m_seat == nullptr) {
        m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (interface == zwlr_data_control_manager_v1_interface.name &&
               version >= kWithPrimary && m_manager == nullptr) {
        m_manager = static_cast<zwlr_data_control_manager_v1*>(wl_registry_bind(
            registry, name, &zwlr_data_control_manager_v1_interface, kWithPrimary));
    }
}

void Selections::globalsComplete() {
    if (m_manager == nullptr || m_seat == nullptr) return;
    auto* const device = zwlr_data_control_manager_v1_get_data_device(m_manager, m_seat);
    zwlr_data_control_device_v1_add_listener(device, &kDeviceListener, this);
    const std::lock_guard lock(m_mutex);
    m_device = device;
}

void Selections::started() {
    // What was there at the start has been told by now. KWin tells nothing of a clipboard that is
    // empty: what comes next is somebody's copy.
    m_told = {true, true};
}

void Selections::detach() {
    const std::lock_guard lock(m_mutex);
    m_link = nullptr;
    for (const auto& [offer, formats] : m_offers) zwlr_data_control_offer_v1_destroy(offer);
    m_offers.clear();
    if (m_source != nullptr) zwlr_data_control_source_v1_destroy(m_source);
    if (m_device != nullptr) zwlr_data_control_device_v1_destroy(m_device);
    if (m_manager != nullptr) zwlr_data_control_manager_v1_destroy(m_manager);
    if (m_seat != nullptr) wl_seat_destroy(m_seat);
    m_source = nullptr;
    m_device = nullptr;
    m_manager = nullptr;
    m_seat = nullptr;
    m_clipboard = m_primary = {};
}

SelectionTag Selections::activeNow() const {
    const auto active = m_windows->active();
    if (active == 0) return {};
    for (auto& window : m_windows->windows()) {
        if (window.number == active) return {active, window.process, std::move(window.appId)};
    }
    return {};
}

void Selections::forget(zwlr_data_control_offer_v1*& offer) {
    if (offer == nullptr) return;
    m_offers.erase(offer);
    zwlr_data_control_offer_v1_destroy(std::exchange(offer, nullptr));
}

void Selections::selected(SelectionName which, zwlr_data_control_offer_v1* offer) {
    const bool isFirst = !std::exchange(m_told[which == SelectionName::Primary ? 1 : 0], true);
    SelectionSeen seen;
    if (offer != nullptr) seen.formats = m_offers[offer];
    const bool isOurs = text::isOneOf(m_ownMark, seen.formats);
    std::erase_if(seen.formats,
                  [](const std::string& format) { return format.starts_with(kOwnMark); });
    if (isOurs) seen.ours = m_content;
    const auto now = steady_clock::now();
    if (!isFirst) {
        seen.owner = activeNow();
        seen.since = now;
    }
    SelectionChange change{seen.owner, now};
    const bool isChange =
        which == SelectionName::Clipboard && offer != nullptr && !isFirst && !isOurs;
    {
        const std::lock_guard lock(m_mutex);
        auto& own = slot(which);
        change.generation = seen.generation = ++m_lastGeneration;
        own.seen = std::move(seen);
        forget(own.offer);
        own.offer = offer;
        if (isChange) {
            ++m_changeCount;
            m_changes.push_back(change);
            if (m_changes.size() > kMostChanges) m_changes.erase(m_changes.begin());
        }
    }
    if (!isChange) return;
    const std::lock_guard lock(m_hookMutex);
    if (m_changed) m_changed(change);
}

/// The seat is gone, or the compositor takes the device back.
void Selections::finished() {
    const std::lock_guard lock(m_mutex);
    forget(m_clipboard.offer);
    forget(m_primary.offer);
    m_clipboard = m_primary = {};
    zwlr_data_control_device_v1_destroy(std::exchange(m_device, nullptr));
}

void Selections::offer(std::shared_ptr<const ClipboardContent> content) {
    if (m_device == nullptr) return;
    auto* const before = std::exchange(m_source, nullptr);
    m_content = std::move(content);
    if (m_content && !m_content->empty()) {
        m_source = zwlr_data_control_manager_v1_create_data_source(m_manager);
        zwlr_data_control_source_v1_add_listener(m_source, &kSourceListener, this);
        bool hasText = false;
        for (const auto& format : *m_content) {
            zwlr_data_control_source_v1_offer(m_source, format.target.c_str());
            hasText = hasText || text::isOneOf(format.target, kTextNames);
        }
        for (const auto name : kTextNames) {
            if (!hasText || named(*m_content, name) != nullptr) continue;
            zwlr_data_control_source_v1_offer(m_source, std::string(name).c_str());
        }
        zwlr_data_control_source_v1_offer(m_source, m_ownMark.c_str());
    }
    zwlr_data_control_device_v1_set_selection(m_device, m_source);
    if (before != nullptr) zwlr_data_control_source_v1_destroy(before);
}

void Selections::send(const std::string& format, int pipe) {
    const auto* const found = m_content ? formatFor(*m_content, format) : nullptr;
    if (found == nullptr || m_link == nullptr) {
        ::close(pipe);
        return;
    }
    // Kept with the content: slow readers of an old one are served to the end.
    m_link->feed(pipe, std::shared_ptr<const std::string>(m_content, &found->bytes));
}

void Selections::cancelled(zwlr_data_control_source_v1* source) {
    if (source == m_source) {
        m_source = nullptr;
        m_content.reset();
    }
    zwlr_data_control_source_v1_destroy(source);
}

SelectionAnswer Selections::read(SelectionName which, std::uint64_t generation,
                                 const std::string& format, const Bounds& bounds) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return {};
    const Descriptor reading(ends[0]);
    // Closed here once the compositor has its own copy: then the owner's is the last.
    auto writing = std::make_shared<Descriptor>(ends[1]);
    WaylandConnection* link = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        link = m_link;
    }
    if (link == nullptr) return {};
    auto ask = [this, which, generation, format, writing] {
        const auto& own = slot(which);
        if (own.offer == nullptr || own.seen.generation != generation) return;
        zwlr_data_control_offer_v1_receive(own.offer, format.c_str(), writing->number());
        writing->close();
    };
    if (!link->run(std::move(ask))) return {SelectionAnswer::Kind::Silent, {}};
    writing->close();
    return readAll(reading.number(), bounds);
}

} // namespace

std::shared_ptr<WaylandSelections> makeWaylandSelections(std::shared_ptr<WaylandWindows> windows) {
    return std::make_shared<Selections>(std::move(windows));
}

} // namespace kelvane
