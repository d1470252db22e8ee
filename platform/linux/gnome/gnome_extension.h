// The product's own extension of GNOME Shell, asked over the session bus.
//
// GNOME tells other programs nothing of windows. The extension, which the user turns on, tells this
// one: which windows there are, what is selected, what a window looks like; and it brings windows
// forward. It answers nobody but the program that it was set up for. Without it every answer is the
// absent one, at once. Calls are serialised; any thread.

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

struct GnomeWindow {
    std::uint64_t number = 0; ///< What the other questions take.
    std::string appId;        ///< Like "org.gnome.TextEditor.desktop", or "window:12"; or empty.
    std::int32_t process = 0; ///< 0 when not known.
    std::string wmClass;
    std::string title;
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool focused = false;
    bool onScreen = false; ///< On the workspace that shows, and not minimised.

    bool operator==(const GnomeWindow&) const = default;
};

struct GnomePrimary {
    std::string text;
    std::chrono::milliseconds age{0}; ///< Since it was selected.
};

class GnomeExtension {
public:
    virtual ~GnomeExtension() = default;

    /// Front to back. Absent without the extension, and when it does not know this program.
    [[nodiscard]] virtual std::optional<std::vector<GnomeWindow>> windows() = 0;
    /// What was selected while that window had the keyboard. Absent when nothing was, or a
    /// password.
    [[nodiscard]] virtual std::optional<GnomePrimary> primary(std::uint64_t window) = 0;
    /// PNG bytes of the window alone, as its program has drawn it.
    [[nodiscard]] virtual std::optional<std::string> picture(std::uint64_t window) = 0;
    /// Asks for the window to be brought forward. False when it is gone.
    virtual bool activate(std::uint64_t window) = 0;
    /// Puts this program's own window into the corner where panels stand. False without one.
    virtual bool placePanel() = 0;
};

/// `sessionBus` is the address of the user's bus. Not null; finds the extension when it comes
/// later.
[[nodiscard]] std::shared_ptr<GnomeExtension> openGnomeExtension(std::string sessionBus);

/// Whether the desktop on that bus is a GNOME Shell, whatever it tells.
[[nodiscard]] bool isGnomeShell(const std::string& sessionBus);

} // namespace kelvane
