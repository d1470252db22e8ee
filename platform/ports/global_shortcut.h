// A combination of keys that reaches this program whatever is in front.

#pragma once

#include <functional>
#include <optional>
#include <string>

namespace kelvane {

/// A combination as people write it. `key` is a capital letter, a digit, "F1" to "F24", or one of
/// the names in `app/settings/shortcut_text.h`.
struct Shortcut {
    bool ctrl = false;
    bool alt = false;
    bool shift = false;
    bool super = false; ///< The key with a logo, Command on a Mac.
    std::string key;

    bool operator==(const Shortcut&) const = default;
};

class GlobalShortcut {
public:
    virtual ~GlobalShortcut() = default;

    /// From now on `pressed` is called each time the combination is pressed, once however long it
    /// is held, at the latest when it is let go; the one before is given back. `refused` is called
    /// with a sentence for the user when it cannot be had, at once or later: another program has
    /// it, or the desktop knows no such thing. Both may be called on any thread, and call nothing
    /// of this object themselves.
    virtual void use(const Shortcut& shortcut, std::function<void()> pressed,
                     std::function<void(const std::string& why)> refused) = 0;

    /// Gives it back; once it has returned nothing is called any more.
    virtual void stop() = 0;
};

/// What the user reads where there are none.
inline constexpr const char* kNoGlobalShortcut =
    "Here no program can have keys of its own: give “kelvane --grade” a shortcut in the desktop's "
    "settings.";

/// Where there are none.
class NoGlobalShortcut : public GlobalShortcut {
public:
    void use(const Shortcut&, std::function<void()>,
             std::function<void(const std::string&)> refused) override {
        refused(kNoGlobalShortcut);
    }
    void stop() override {}
};

} // namespace kelvane
