#include "platform/linux/bus/bus_link.h"

#include <poll.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace kelvane {

namespace {

using std::chrono::steady_clock;

// Longer than any limit that is waited for: it is the limit that ends a question.
constexpr std::uint64_t kNeverMicroseconds = 60'000'000;

// Between two looks whether it is enough: what a person does not notice.
constexpr std::chrono::milliseconds kLook{50};

} // namespace

struct BusLink::Pending {
    BusLink* link;
    std::string to;
    Read read;
    Refused refused;
    sd_bus_slot* slot = nullptr;
    bool answered = false;

    ~Pending() { sd_bus_slot_unref(slot); }

    static int onAnswer(sd_bus_message* message, void* data, sd_bus_error*) {
        auto* const self = static_cast<Pending*>(data);
        self->answered = true;
        --self->link->m_open;
        // Its own copy: what it does may end the question.
        const auto read = std::move(self->read);
        const auto refused = std::move(self->refused);
        const auto* const error = sd_bus_message_get_error(message);
        if (error != nullptr && refused) refused(error->name != nullptr ? error->name : "");
        read(error != nullptr ? nullptr : message);
        return 0;
    }
};

std::unique_ptr<BusLink> BusLink::open(const std::string& address) {
    if (address.empty()) return nullptr;
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0) return nullptr;
    if (sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
        sd_bus_negotiate_fds(bus, 1) < 0 || sd_bus_start(bus) < 0) {
        sd_bus_unref(bus);
        return nullptr;
    }
    return std::unique_ptr<BusLink>(new BusLink(bus));
}

BusLink::BusLink(sd_bus* bus) : m_bus(bus) {}

BusLink::~BusLink() {
    m_pending.clear();
    sd_bus_close_unref(m_bus);
}

/// False when there is nothing to wait for any more.
bool BusLink::waitForBus(std::chrono::milliseconds limit) {
    pollfd ready{sd_bus_get_fd(m_bus), 0, 0};
    const int events = sd_bus_get_events(m_bus);
    if (ready.fd < 0 || events < 0) return false;
    ready.events = static_cast<short>(events);
    return ::poll(&ready, 1, static_cast<int>(limit.count())) >= 0 || errno == EINTR;
}

bool BusLink::ready(std::chrono::milliseconds limit) {
    const auto deadline = steady_clock::now() + limit;
    while (alive()) {
        if (sd_bus_is_ready(m_bus) > 0) return true;
        const int did = sd_bus_process(m_bus, nullptr);
        if (did < 0) break;
        if (did > 0) continue;
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        if (left.count() <= 0 || !waitForBus(left)) break;
    }
    return false;
}

void BusLink::ask(const BusQuestion& question, const Write& write, Read read, Refused refused) {
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(m_bus, &message, question.to.c_str(), question.path.c_str(),
                                       question.interface.c_str(), question.member.c_str()) < 0) {
        return;
    }
    auto pending = std::make_unique<Pending>();
    pending->link = this;
    pending->to = question.to;
    pending->read = std::move(read);
    pending->refused = std::move(refused);
    const bool sent = sd_bus_message_set_auto_start(message, 0) >= 0 &&
                      (!write || write(message)) &&
                      sd_bus_call_async(m_bus, &pending->slot, message, &Pending::onAnswer,
                                        pending.get(), kNeverMicroseconds) >= 0;
    sd_bus_message_unref(message);
    if (!sent) return;
    ++m_open;
    m_pending.push_back(std::move(pending));
}

std::set<std::string> BusLink::wait(std::chrono::milliseconds limit,
                                    const std::function<bool()>& enough) {
    const auto deadline = steady_clock::now() + limit;
    bool satisfied = false;
    while (alive()) {
        int did = 0;
        do {
            did = sd_bus_process(m_bus, nullptr);
            satisfied = enough && enough();
        } while (did > 0 && !satisfied);
        if (did < 0 || satisfied || m_open == 0) break;
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        // What is enough may come to hold without an answer.
        if (left.count() <= 0 || !waitForBus(enough ? std::min(left, kLook) : left)) break;
    }
    std::set<std::string> silent;
    if (!satisfied) {
        for (const auto& pending : m_pending) {
            if (!pending->answered) silent.insert(pending->to);
        }
    }
    m_pending.clear();
    m_open = 0;
    return silent;
}

bool BusLink::alive() const {
    return sd_bus_is_open(m_bus) > 0;
}

std::string sessionBusAddress(std::string_view variable, std::string_view runtimeFolder) {
    if (!variable.empty()) return std::string(variable);
    if (runtimeFolder.empty()) return {};
    return "unix:path=" + std::string(runtimeFolder) + "/bus";
}

} // namespace kelvane
