// What the kit's installer tells of each coding tool: whether its wiring is whole, trusted, the
// user's own, or only looks like one.
//
// The companion itself sees no more than markers in files (`HarnessConfig`). The installer reads
// the files, and asks a tool that has its user decide about hooks. It is a program, so it is asked
// in the background and only when something changed: `wiringMark` tells whether. Values in, values
// out, but for the mark, which reads files. Any thread.

#pragma once

#include "platform/ports/process_runner.h"

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace kelvane {

class FileSystem;

enum class WiringState {
    Wired,
    Untrusted, ///< Whole, but the tool passes it over until its user has looked at it.
    Repair,    ///< Half of it; wiring again repairs it.
    Edited,    ///< Whole, and the user changed it.
    NotOurs,   ///< What looks like a wiring is somebody else's, or a remark.
    Unread,    ///< The installer could not read the file.
};

struct WiringTruth {
    WiringState state = WiringState::Wired;
    bool versionIsKnown = false; ///< The tool's program said which version it is.

    bool operator==(const WiringTruth&) const = default;
};

/// By the agent's id, e.g. "claude_code". An agent that is not there has not been told of.
using WiringTruths = std::map<std::string, WiringTruth>;

/// Changes when any file changes by which the truth may change: the tools' own and our manifest.
[[nodiscard]] std::size_t wiringMark(FileSystem& files, const std::filesystem::path& home);

/// What to run, in the background, to ask it: a tool that it asks in turn may take seconds. The
/// output is for `wiringTruths`. A quit ends it.
[[nodiscard]] ProcessRequest wiringQuestion(const std::filesystem::path& braskHome);

/// What was told. Nothing of what is no JSON of the installer's, whatever it is.
[[nodiscard]] WiringTruths wiringTruths(std::string_view told);

} // namespace kelvane
