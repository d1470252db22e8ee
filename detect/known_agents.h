// The AI agents that the program knows: one record each, as resources/tools.json describes them.
//
// The build makes the records of that file, so that they are there without reading anything at a
// start; the kit's installer carries the same file. Values with static storage, any thread.

#pragma once

#include <span>
#include <string_view>

namespace kelvane {

enum class AgentKind {
    codingHarness,
    desktopAgent,
    localModel,
};

/// A configuration file that makes a tool count as wired when it holds all of the markers.
struct WiredFile {
    std::string_view path; ///< Below the home folder.
    std::span<const std::string_view> markers;
};

/// How a coding tool that can be wired to the validator is recognised and wired.
struct WiringRecord {
    std::string_view key; ///< The installer's word for it; letters and digits, e.g. "claude".
    std::span<const std::string_view> homeEntries;  ///< One of these in the home folder: set up.
    std::span<const WiredFile> files;               ///< One of these with its markers: wired.
    std::span<const std::string_view> furtherFiles; ///< Hold more of ours; decide nothing.
    bool wiredWhenFound = false;       ///< By the program, where the tool is on the machine.
    bool wiredWhenNoneIsFound = false; ///< By the program, where no tool is.
};

struct KnownAgent {
    std::string_view id; ///< Stable, lower case with underscores.
    std::string_view name;
    AgentKind kind = AgentKind::codingHarness;
    std::span<const std::string_view> bundleIds;
    std::span<const std::string_view> processNames;
    const WiringRecord* wiring = nullptr; ///< Null for an agent that cannot be wired.
};

/// All of them, in the order of every report.
[[nodiscard]] std::span<const KnownAgent> knownAgents();

/// Those that can be wired, in the order of the wiring status; `wiring` is never null.
[[nodiscard]] std::span<const KnownAgent* const> wireableTools();

} // namespace kelvane
