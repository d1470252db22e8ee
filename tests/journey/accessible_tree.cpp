#include "tests/journey/accessible_tree.h"

#include <systemd/sd-bus.h>

#include <stdexcept>

namespace kelvane {

namespace {

constexpr const char* kAccessible = "org.a11y.atspi.Accessible";
/// No program that works takes so long, however busy the machine is. Microseconds.
constexpr std::uint64_t kPatience = 20'000'000;

sd_bus* connectTo(const std::string& address) {
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0 || sd_bus_set_address(bus, address.c_str()) < 0 ||
        sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0) {
        sd_bus_unref(bus);
        throw std::runtime_error("no message bus at " + address);
    }
    sd_bus_set_method_call_timeout(bus, kPatience);
    return bus;
}

std::string addressOf(const VirtualDesktop& desktop) {
    auto* const session = connectTo(desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"));
    sd_bus_message* reply = nullptr;
    const char* address = nullptr;
    sd_bus_call_method(session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress",
                       nullptr, &reply, "");
    if (reply != nullptr) sd_bus_message_read(reply, "s", &address);
    std::string found = address == nullptr ? "" : address;
    sd_bus_message_unref(reply);
    sd_bus_flush_close_unref(session);
    if (found.empty()) throw std::runtime_error("no accessibility service");
    return found;
}

} // namespace

/// An answer; null for none.
struct AccessibleTree::Reply {
    sd_bus_message* message = nullptr;

    Reply() = default;
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;
    Reply(Reply&& other) noexcept : message(std::exchange(other.message, nullptr)) {}
    Reply& operator=(Reply&&) = delete;
    ~Reply() { sd_bus_message_unref(message); }
};

AccessibleTree::AccessibleTree(const VirtualDesktop& desktop)
    : m_bus(connectTo(addressOf(desktop))) {}

AccessibleTree::~AccessibleTree() {
    sd_bus_flush_close_unref(m_bus);
}

std::pair<std::string, std::string> AccessibleTree::accessibilityVariable() {
    return {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1"};
}

AccessibleTree::Reply AccessibleTree::call(const std::string& program, const std::string& path,
                                           const char* interface, const char* member,
                                           const Write& write) {
    Reply reply;
    sd_bus_message* question = nullptr;
    if (sd_bus_message_new_method_call(m_bus, &question, program.c_str(), path.c_str(), interface,
                                       member) < 0) {
        return reply;
    }
    if (write) write(question);
    sd_bus_call(m_bus, question, 0, nullptr, &reply.message);
    sd_bus_message_unref(question);
    return reply;
}

std::string AccessibleTree::text(const AccessibleObject& object, const char* property) {
    const auto reply =
        call(object.program, object.path, "org.freedesktop.DBus.Properties", "Get",
             [&](sd_bus_message* to) { sd_bus_message_append(to, "ss", kAccessible, property); });
    const char* said = nullptr;
    if (reply.message != nullptr) sd_bus_message_read(reply.message, "v", "s", &said);
    return said == nullptr ? "" : said;
}

void AccessibleTree::look(AccessibleObject& object) {
    const auto role = call(object.program, object.path, kAccessible, "GetRoleName");
    const char* named = nullptr;
    if (role.message != nullptr) sd_bus_message_read(role.message, "s", &named);
    object.role = named == nullptr ? "" : named;
    object.name = text(object, "Name");
    object.description = text(object, "Description");
    const auto states = call(object.program, object.path, kAccessible, "GetState");
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    if (states.message != nullptr) sd_bus_message_read(states.message, "au", 2, &low, &high);
    object.states = (static_cast<std::uint64_t>(high) << 32U) | low;
}

std::vector<AccessibleObject> AccessibleTree::children(const AccessibleObject& object) {
    std::vector<AccessibleObject> found;
    const auto reply = call(object.program, object.path, kAccessible, "GetChildren");
    if (reply.message == nullptr || sd_bus_message_enter_container(reply.message, 'a', "(so)") < 0)
        return found;
    const char* program = nullptr;
    const char* path = nullptr;
    while (sd_bus_message_read(reply.message, "(so)", &program, &path) > 0) {
        found.push_back(
            {.program = program, .path = path, .role = {}, .name = {}, .description = {}});
    }
    for (auto& child : found) look(child);
    return found;
}

std::vector<AccessibleObject> AccessibleTree::windows() {
    std::vector<AccessibleObject> all;
    for (const auto& program : children({.program = "org.a11y.atspi.Registry",
                               .path = "/org/a11y/atspi/accessible/root",
                               .role = {},
                               .name = {},
                               .description = {}})) {
        for (auto& window : children(program)) all.push_back(std::move(window));
    }
    return all;
}

std::optional<AccessibleObject> AccessibleTree::window(const std::string& name) {
    for (auto& window : windows()) {
        if (window.name == name && window.is(AccessibleObject::State::Visible)) return window;
    }
    return std::nullopt;
}

void AccessibleTree::readBelow(const AccessibleObject& object, std::vector<AccessibleObject>& all) {
    for (auto& child : children(object)) {
        if (!child.is(AccessibleObject::State::Visible)) continue;
        all.push_back(child);
        readBelow(child, all);
    }
}

std::vector<AccessibleObject> AccessibleTree::read(const AccessibleObject& object) {
    std::vector<AccessibleObject> all;
    readBelow(object, all);
    return all;
}

std::optional<AccessibleObject> AccessibleTree::focused(const AccessibleObject& object) {
    // What holds others says so as well; the innermost is meant, which stands last.
    std::optional<AccessibleObject> found;
    for (auto& each : read(object)) {
        if (each.is(AccessibleObject::State::Focused)) found = std::move(each);
    }
    return found;
}

AccessibleTree::Place AccessibleTree::place(const AccessibleObject& object) {
    constexpr std::uint32_t kOfTheScreen = 0;
    const auto reply =
        call(object.program, object.path, "org.a11y.atspi.Component", "GetExtents",
             [](sd_bus_message* to) { sd_bus_message_append(to, "u", kOfTheScreen); });
    Place place;
    if (reply.message != nullptr) {
        sd_bus_message_read(reply.message, "(iiii)", &place.x, &place.y, &place.width,
                            &place.height);
    }
    return place;
}

bool AccessibleTree::takeFocus(const AccessibleObject& object) {
    const auto reply = call(object.program, object.path, "org.a11y.atspi.Component", "GrabFocus");
    int taken = 0;
    return reply.message != nullptr && sd_bus_message_read(reply.message, "b", &taken) > 0 &&
           taken != 0;
}

void AccessibleTree::listen() {
    sd_bus_add_match(
        m_bus, nullptr,
        "type='signal',interface='org.a11y.atspi.Event.Object',member='StateChanged'",
        [](sd_bus_message* message, void* self, sd_bus_error* error) {
            return changed(message, self, error);
        },
        this);
    (void)call("org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "org.a11y.atspi.Registry",
               "RegisterEvent", [](sd_bus_message* to) {
                   sd_bus_message_append(to, "s", "object:state-changed:showing");
               });
}

int AccessibleTree::changed(sd_bus_message* message, void* self, void*) {
    const char* what = nullptr;
    int is = 0;
    if (sd_bus_message_read(message, "si", &what, &is) < 0) return 0;
    if (what == std::string("showing") && is == 1) {
        // Asked later: nothing is asked while another answer is being read.
        static_cast<AccessibleTree*>(self)->m_shown.push_back(
            {.program = sd_bus_message_get_sender(message),
             .path = sd_bus_message_get_path(message),
             .role = {},
             .name = {},
             .description = {}});
    }
    return 0;
}

const std::vector<std::string>& AccessibleTree::announced() {
    while (sd_bus_process(m_bus, nullptr) > 0) {
    }
    for (auto& object : std::exchange(m_shown, {})) {
        look(object);
        if (object.role == "notification" && !object.name.empty()) {
            m_announced.push_back(object.name);
        }
    }
    return m_announced;
}

} // namespace kelvane
