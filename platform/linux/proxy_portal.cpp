#include "platform/linux/proxy_portal.h"

#include "platform/linux/bus/bus_link.h"
#include "platform/linux/bus/bus_texts.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

using namespace std::chrono_literals;

/// A script of proxies may look names up before it answers.
constexpr auto kPatience = 1s;
constexpr auto kLeftAlone = 30s;
/// A grade asks its service every few seconds; settings change once in a day.
constexpr auto kServes = 60s;
/// More services than a person grades with.
constexpr std::size_t kMostKept = 16;

class ProxyPortal : public ProxySettings {
public:
    ProxyPortal(std::string sessionBus, Clock& clock, QuitSignal& quit)
        : m_sessionBus(std::move(sessionBus)),
          m_clock(clock),
          m_quit(quit) {}

    std::vector<std::string> proxiesFor(const std::string& origin) override {
        // One question at a time: who asks the same meanwhile has its answer then.
        const std::lock_guard lock(m_mutex);
        const Instant now = m_clock.now();
        const auto kept = m_kept.find(origin);
        if (kept != m_kept.end() && now - kept->second.since < kServes) {
            return kept->second.proxies;
        }
        if (m_silentSince && now - *m_silentSince < kLeftAlone) return {};
        m_silentSince.reset();
        const auto told = ask(origin);
        if (!told) return {};
        if (m_kept.size() >= kMostKept) m_kept.clear();
        m_kept[origin] = {*told, now};
        return *told;
    }

private:
    struct Kept {
        std::vector<std::string> proxies;
        Instant since;
    };

    /// Absent when there is no portal, or none that answers.
    std::optional<std::vector<std::string>> ask(const std::string& origin) {
        const auto link = BusLink::open(m_sessionBus);
        if (!link) return std::nullopt;
        std::optional<std::vector<std::string>> told;
        link->ask(
            {.to = "org.freedesktop.portal.Desktop",
             .path = "/org/freedesktop/portal/desktop",
             .interface = "org.freedesktop.portal.ProxyResolver",
             .member = "Lookup"},
            [&](sd_bus_message* message) { return appendText(message, origin); },
            [&](sd_bus_message* answer) {
                if (answer != nullptr) told = textsIn(answer);
            });
        const auto silent = link->wait(kPatience, [&] { return m_quit.raised(); });
        if (!silent.empty()) m_silentSince = m_clock.now();
        return told;
    }

    const std::string m_sessionBus;
    Clock& m_clock;
    QuitSignal& m_quit;
    std::mutex m_mutex;
    std::map<std::string, Kept> m_kept; ///< By origin.
    std::optional<Instant> m_silentSince;
};

} // namespace

std::unique_ptr<ProxySettings> makeProxyPortal(Environment& environment, Clock& clock,
                                               QuitSignal& quit) {
    return std::make_unique<ProxyPortal>(
        sessionBusAddress(environment.get("DBUS_SESSION_BUS_ADDRESS").value_or(""),
                          environment.get("XDG_RUNTIME_DIR").value_or("")),
        clock, quit);
}

} // namespace kelvane
