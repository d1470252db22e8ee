// Keeps the global shortcut as the settings have it.
//
// Main thread only.

#pragma once

#include <functional>
#include <memory>
#include <string>

namespace kelvane {

class Dispatcher;
class GlobalShortcut;
class SettingsStore;

class ShortcutKeeper {
public:
    struct Ports {
        GlobalShortcut& shortcut;
        SettingsStore& settings;
        Dispatcher& dispatcher;
    };

    /// All of it must outlive the keeper. `pressed` is called on the main thread.
    ShortcutKeeper(Ports ports, std::function<void()> pressed);
    ~ShortcutKeeper();
    ShortcutKeeper(const ShortcutKeeper&) = delete;
    ShortcutKeeper& operator=(const ShortcutKeeper&) = delete;

    /// Uses what the settings say where that is not in use already.
    void look();

    /// Why the shortcut of the settings is not in use, a sentence; empty when it is, or there is
    /// none.
    [[nodiscard]] std::string problem() const { return *m_problem; }

private:
    Ports m_ports;
    std::function<void()> m_pressed;
    std::string m_used; ///< As the settings had it; empty: none.
    std::shared_ptr<std::string> m_problem = std::make_shared<std::string>();
};

} // namespace kelvane
