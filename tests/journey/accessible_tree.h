// What programs on a desktop tell assistive technology, asked over the accessibility bus as a
// screen reader asks: objects in their order, with role, name, description and states, and events.
//
// A program must have been started with `accessibilityVariable()` set to be in it. One thread.

#pragma once

#include "tests/platform/linux/virtual_desktop.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct sd_bus;
struct sd_bus_message;

namespace kelvane {

struct AccessibleObject {
    /// As the protocol numbers them.
    enum class State {
        Checked = 4,
        Enabled = 8,
        Focusable = 11,
        Focused = 12,
        Selected = 23,
        Showing = 25,
        Visible = 30,
    };

    std::string program; ///< Its name on the bus; with the path the object's address.
    std::string path;
    std::string role; ///< As the protocol names it, like "push button".
    std::string name;
    std::string description;
    std::uint64_t states = 0;

    [[nodiscard]] bool is(State state) const {
        return ((states >> static_cast<unsigned>(state)) & 1U) != 0;
    }
};

class AccessibleTree {
public:
    /// Throws std::runtime_error when the desktop has no accessibility service.
    explicit AccessibleTree(const VirtualDesktop& desktop);
    ~AccessibleTree();
    AccessibleTree(const AccessibleTree&) = delete;
    AccessibleTree& operator=(const AccessibleTree&) = delete;

    /// Name and value for the environment of a program that is to be in it.
    [[nodiscard]] static std::pair<std::string, std::string> accessibilityVariable();

    // An object that has gone has no children, no name and no size.

    /// The windows of all programs.
    [[nodiscard]] std::vector<AccessibleObject> windows();
    /// The first window that can be seen whose program says that it has this name.
    [[nodiscard]] std::optional<AccessibleObject> window(const std::string& name);
    [[nodiscard]] std::vector<AccessibleObject> children(const AccessibleObject& object);
    /// Everything below it that can be seen, parents first. What is scrolled out of sight is among
    /// it where it can have the keyboard, for then it comes into view; a text is not.
    [[nodiscard]] std::vector<AccessibleObject> read(const AccessibleObject& object);
    /// What has the keyboard below it.
    [[nodiscard]] std::optional<AccessibleObject> focused(const AccessibleObject& object);

    struct Place {
        int x = 0, y = 0, width = 0, height = 0; ///< On the screen, in pixels.
    };
    [[nodiscard]] Place place(const AccessibleObject& object);
    /// Brings the keyboard to it. False when it refuses.
    bool takeFocus(const AccessibleObject& object);

    /// From now on keeps what is announced: the name of whatever comes into sight as a notification
    /// does. To be called before the program starts, which then knows that somebody listens.
    void listen();
    /// All that was announced by now, the oldest first.
    [[nodiscard]] const std::vector<std::string>& announced();

private:
    struct Reply;
    using Write = std::function<void(sd_bus_message*)>;
    [[nodiscard]] Reply call(const std::string& program, const std::string& path,
                             const char* interface, const char* member, const Write& write = {});
    [[nodiscard]] std::string text(const AccessibleObject& object, const char* property);
    void look(AccessibleObject& object);
    void readBelow(const AccessibleObject& object, std::vector<AccessibleObject>& all);
    static int changed(sd_bus_message* message, void* self, void*);

    sd_bus* m_bus = nullptr;
    std::vector<AccessibleObject> m_shown; ///< Not asked for their role and name yet.
    std::vector<std::string> m_announced;
};

} // namespace kelvane
