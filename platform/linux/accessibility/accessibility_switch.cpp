#include "platform/linux/accessibility/accessibility_switch.h"

#include "platform/linux/bus/bus_link.h"

#include <systemd/sd-bus.h>

#include <chrono>
#include <utility>

namespace kelvane {

namespace {

constexpr const char* kStatus = "org.a11y.Status";
constexpr std::chrono::milliseconds kPatience{500};

BusQuestion property(const char* member) {
    return {"org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties", member};
}

class StatusSwitch : public AccessibilitySwitch {
public:
    explicit StatusSwitch(std::string sessionBus) : m_sessionBus(std::move(sessionBus)) {}

    std::optional<bool> isOn() override {
        const auto link = BusLink::open(m_sessionBus);
        return link ? isOn(*link) : std::nullopt;
    }

    bool set(bool on) override {
        const auto link = BusLink::open(m_sessionBus);
        if (!link) return false;
        link->ask(
            property("Set"),
            [on](sd_bus_message* question) {
                return sd_bus_message_append(question, "ssv", kStatus, "IsEnabled", "b",
                                             on ? 1 : 0) >= 0;
            },
            [](sd_bus_message*) {});
        link->wait(kPatience);
        return isOn(*link) == on;
    }

private:
    static std::optional<bool> isOn(BusLink& link) {
        std::optional<bool> on;
        link.ask(
            property("Get"),
            [](sd_bus_message* question) {
                return sd_bus_message_append(question, "ss", kStatus, "IsEnabled") >= 0;
            },
            [&on](sd_bus_message* answer) {
                int value = 0;
                if (answer != nullptr && sd_bus_message_read(answer, "v", "b", &value) > 0) {
                    on = value != 0;
                }
            });
        link.wait(kPatience);
        return on;
    }

    const std::string m_sessionBus;
};

} // namespace

std::unique_ptr<AccessibilitySwitch> makeAccessibilitySwitch(std::string sessionBus) {
    return std::make_unique<StatusSwitch>(std::move(sessionBus));
}

} // namespace kelvane
