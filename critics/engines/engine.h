// An engine that is a program of somebody else's, described as data.
//
// An entry says how to find the program and its version, what it reads, its argument list, what its
// exit statuses mean, how its output is understood, and how it is installed. What to run is decided
// from the entry and the work alone; a ChildRunner runs it.

#pragma once

#include "critics/findings/critique.h"
#include "critics/worker/child_process.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// A program that is present on this machine.
struct InstalledEngine {
    std::string id;      ///< That of the table: "shellcheck".
    std::string program; ///< Absolute path.
    std::string version; ///< As it tells it: "0.9.0".

    bool operator==(const InstalledEngine&) const = default;
};

/// What the programs on this machine make of one part, beside the critics in process.
class EngineRoom {
public:
    virtual ~EngineRoom() = default;

    /// The engines that read this part: an id and a name for people each, in the order of asking.
    [[nodiscard]] virtual std::vector<std::string> enginesFor(const Part& part,
                                                              std::string_view modality) const = 0;

    /// What `engine` makes of it. An engine that does not end well is a gap in the coverage.
    /// Blocks; any thread, several at once.
    [[nodiscard]] virtual Critique look(std::string_view engine, const Part& part,
                                        std::string_view modality, std::stop_token cancel) = 0;

    /// Gaps for engines that would read this part and are not here, with how to get them.
    [[nodiscard]] virtual std::vector<NotChecked> absentFor(const Part& part,
                                                            std::string_view modality) const = 0;
};

} // namespace trevix
