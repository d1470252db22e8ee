// Questions to sway over its own socket.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace kelvane {

class SwaySocket {
public:
    /// `path` as the SWAYSOCK variable has it; empty for none.
    explicit SwaySocket(std::string path) : m_path(std::move(path)) {}

    /// The tree of all windows, as `swayWindows` reads it. Connects anew each time, which costs
    /// nothing beside the answer. Absent without a socket, and when no answer came within 300 ms.
    /// Any thread.
    [[nodiscard]] std::optional<std::string> tree() const;

private:
    std::string m_path;
};

} // namespace kelvane
