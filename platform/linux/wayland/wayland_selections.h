// The clipboard and the PRIMARY selection of a Wayland desktop, through data control.
//
// Nobody tells which program made a selection. But a program can make one only while it has the
// keyboard, so each is told with the window that was active at that moment: clipboard managers
// aside, who do not do so in the moments that matter, it is that window's.

#pragma once

#include "platform/linux/common/clipboard_formats.h"
#include "platform/linux/wayland/wayland_globals.h"
#include "platform/linux/wayland/wayland_windows.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

/// Which window was active; nobody's when none was, or when it happened before this program looked.
struct SelectionTag {
    std::uint32_t window = 0;
    pid_t process = 0;
    std::string appId;

    bool operator==(const SelectionTag&) const = default;
};

struct SelectionSeen {
    std::uint64_t generation = 0;     ///< Another one for another selection.
    std::vector<std::string> formats; ///< In the owner's order; empty when nothing is selected.
    SelectionTag owner;
    /// Absent for one that was there before this program looked.
    std::optional<std::chrono::steady_clock::time_point> since;
    std::shared_ptr<const ClipboardContent> ours; ///< Null when another program's.
};

struct SelectionChange {
    SelectionTag owner;
    std::chrono::steady_clock::time_point when;
    std::uint64_t generation = 0; ///< Of the selection that was made.
};

struct SelectionAnswer {
    enum class Kind {
        Value,
        Refused,  ///< Nothing came: the owner does not have it, or has gone.
        Silent,   ///< No sign of life in time.
        TooLarge, ///< More than was asked for.
    };
    Kind kind = Kind::Refused;
    std::string bytes;
};

enum class SelectionName { Clipboard, Primary };

class WaylandSelections : public WaylandPart {
public:
    /// Whether the compositor lets this program do so; after the start. Any thread.
    [[nodiscard]] virtual bool offered() const = 0;
    [[nodiscard]] virtual SelectionSeen seen(SelectionName which) const = 0;
    /// Changes of the clipboard by other programs since the start, and the last of them; what was
    /// there at the start is none. Any thread.
    [[nodiscard]] virtual std::uint64_t changes() const = 0;
    [[nodiscard]] virtual std::vector<SelectionChange> changesSince(std::uint64_t count) const = 0;

    struct Bounds {
        std::size_t most;                               ///< Bytes.
        std::chrono::milliseconds silence;              ///< Between two signs of life.
        std::chrono::steady_clock::time_point deadline; ///< For all of it.
    };
    /// Reads one format of the selection of that generation; refused when it is another one by now.
    /// Any thread but the link's.
    [[nodiscard]] virtual SelectionAnswer read(SelectionName which, std::uint64_t generation,
                                               const std::string& format, const Bounds& bounds) = 0;

    /// Makes this the clipboard's content; null or empty makes it empty. The link's thread only.
    virtual void offer(std::shared_ptr<const ClipboardContent> content) = 0;
    /// Has `changed` called on the link's thread at every change that `changes` counts; an empty
    /// function ends that, and none is under way when this returns. Any thread but the link's.
    virtual void onChange(std::function<void(const SelectionChange&)> changed) = 0;
};

/// `windows` is not null.
[[nodiscard]] std::shared_ptr<WaylandSelections>
makeWaylandSelections(std::shared_ptr<WaylandWindows> windows);

} // namespace kelvane
