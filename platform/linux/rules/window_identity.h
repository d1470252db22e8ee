// The application that a window belongs to, decided from what the window says.
//
// The answer is the id of the desktop file that claims the window, because that is the name an
// application has everywhere else on a desktop. Windows say many things about themselves, few of
// them reliably; the order in which they are believed is the whole of this file. Pure: everything
// comes in as values.

#pragma once

#include "platform/linux/rules/desktop_entries.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kelvane {

/// What one window and its process say. Empty means not said. All UTF-8.
struct WindowFacts {
    std::string instance;         ///< First half of WM_CLASS.
    std::string wmClass;          ///< Second half of WM_CLASS.
    std::string kdeDesktopFile;   ///< _KDE_NET_WM_DESKTOP_FILE
    std::string gtkApplicationId; ///< _GTK_APPLICATION_ID
    std::string flatpakId;        ///< From the sandbox its process runs in.
    std::string snapInstance;     ///< Likewise.
    std::string executable;       ///< The file its process runs, or the AppImage that it came in.
    std::int32_t process = 0;     ///< On this machine; 0 when not known.
    /// As it stands in the window's frame. Looked at only where one name serves several
    /// applications: a document of an office suite is known by how its title ends.
    std::string title = {};

    bool operator==(const WindowFacts&) const = default;
};

struct WindowIdentity {
    enum class Source {
        DesktopEntry, ///< A desktop file claims it.
        Sandbox,      ///< Its sandbox says; no desktop file of that id is here.
        WebApp,       ///< A site in a browser's window of its own.
        WmClass,      ///< Nobody claims it: the id is "wmclass:" and the class in lower case.
    };
    std::string id;
    /// The desktop file's name, else the class. Absent for a web app that no desktop file names:
    /// its class is the browser's.
    std::optional<std::string> name;
    Source source = Source::WmClass;
    /// False for terminals and for Emacs, where a key is input to the program inside, or a prefix.
    bool takesKeys = true;

    bool operator==(const WindowIdentity&) const = default;
};

/// Who this window says it is. Absent when it says nothing at all, and when what it says would make
/// an identifier with control characters, quotes or backslashes: nobody is called that, and reports
/// hold identifiers as they are.
[[nodiscard]] std::optional<WindowIdentity> identify(const WindowFacts& facts,
                                                     const DesktopEntryIndex& index);

struct IdentifiedWindow {
    WindowIdentity identity;
    std::int32_t process = 0; ///< Of the window that decided; 0 when not known.
};

/// Who a window is in its surroundings. `chain` is the window, then the window it is transient for,
/// and so on: a dialog belongs to the application at the end of its chain. `neighbours` are the
/// other windows of the same process, topmost first: they speak for a window that no desktop file
/// claims. Absent when nobody says anything.
[[nodiscard]] std::optional<IdentifiedWindow> identify(std::span<const WindowFacts> chain,
                                                       std::span<const WindowFacts> neighbours,
                                                       const DesktopEntryIndex& index);

/// The number for this application in this process. One process may host several applications, so
/// it is made of both; the same question has the same answer in every adapter and at any time.
[[nodiscard]] std::int64_t processIdOf(std::int32_t process, std::string_view bundleId);

/// The `name` in the [Application] group of a Flatpak's own description of itself.
[[nodiscard]] std::string flatpakIdFrom(std::string_view flatpakInfo);

/// The AppImage that a process was started from, by its environment; empty when it was not.
[[nodiscard]] std::string appImageFrom(std::string_view environment);

/// The snap that a process belongs to, from its control groups ("…/snap.gimp.gimp-….scope").
[[nodiscard]] std::string snapInstanceFrom(std::string_view cgroups);

} // namespace kelvane
