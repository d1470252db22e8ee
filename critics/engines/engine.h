// An engine that is a program of somebody else's, described as data.
//
// An entry says how to find the program and its version, what it reads, its argument list, what its
// exit statuses mean, how its output is understood, and how it is installed. What to run is decided
// from the entry and the work alone; a ChildRunner runs it. How its rules weigh stands in
// `foreign_grade.h`.

#pragma once

#include "critics/engines/foreign_fault.h"
#include "critics/engines/work_file.h"
#include "critics/findings/critique.h"
#include "critics/findings/rule.h"
#include "critics/findings/stop.h"
#include "critics/worker/child_process.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

/// A program that judges work. In arguments, "{file}" stands for the file's name, "{dialect}" for
/// its dialect, "{script}" for the name of `script`, and "{module}" for the path of `module`.
struct EngineEntry {
    std::string_view id;   ///< "shellcheck"; its family of rules is "shellcheck.*".
    std::string_view name; ///< For people: "ShellCheck".
    std::string_view
        judges; ///< For people: "meaning, shell". What two engines both judge, both call the same.
    std::string_view licence; ///< By its SPDX identifier.
    std::string_view program; ///< The file to look for: "shellcheck".
    std::string_view module; ///< A file below the engines' own folder that it needs; empty if none.
    std::string_view scriptName; ///< A script of ours that it runs or finds; empty if none.
    std::string_view script;     ///< Its text.

    std::span<const std::string_view> versionArguments; ///< Empty: it cannot be asked.
    std::string_view oldest; ///< The first version that is understood; empty: any.
    std::string_view beyond; ///< The first one that is not known to be; empty: none.

    std::span<const WorkKind> kinds; ///< The kinds of work that it reads, by `kindOf`.
    WorkFileOf file;
    std::span<const std::string_view> arguments;

    std::span<const int> clean;  ///< Exit statuses with which it has looked and its output counts.
    std::span<const int> faulty; ///< Likewise, and it must have found something.
    ForeignReader read;
    bool speaksOnErrors; ///< Its faults stand on standard error, not on standard output.
    ColumnUnit columns;
    bool reservesMuch;           ///< A runtime that reserves far more address space than it uses.
    std::uint64_t megabytes = 0; ///< Of memory, where it needs more than programs usually get.
    /// The folder of its script, where that is a module that its Python shall find before others.
    std::string_view modules = {};
    /// It reads prose, of which it gets to see `proseForOthers`; its faults are passages.
    bool prose = false;
    /// What it points at is a secret, and never quoted.
    bool findsSecrets = false;
    /// Others judge the same: where it is not here, nobody misses it.
    bool secondOpinion = false;
    /// About what it takes for 500 lines, bare, on the reference machine. Only tells who begins
    /// first.
    int milliseconds = 50;

    std::string_view debian; ///< Package, or empty where Debian has none.
    std::string_view homebrew;
    std::string_view npm; ///< Package with the version that is tried; likewise.
};

/// An entry's program on this machine.
struct InstalledEngine {
    const EngineEntry* entry = nullptr; ///< Of a table that outlives it.
    std::string program;                ///< Absolute path; empty where it is not here.
    std::string module;                 ///< Absolute path; empty where it needs none.
    std::string version;                ///< As it tells it: "0.9.0"; empty where it does not.
    /// Why it is not used although it is here, a clause for people; empty otherwise.
    std::string trouble;

    [[nodiscard]] bool usable() const { return !program.empty() && trouble.empty(); }
    bool operator==(const InstalledEngine&) const = default;
};

/// What people are told about an engine of whatever sort.
struct EngineInfo {
    std::string id;
    std::string name;
    std::string judges;
    std::string licence;
    std::string version; ///< Empty where it is not here, or tells none.
    std::string place;   ///< Path of a program; empty for what is part of the service.
    bool here = false;   ///< Present and used.
    bool inside = false; ///< Part of the service itself.
    std::string trouble; ///< Why it is not used though present; empty otherwise.
    std::string obtain;  ///< How to get it: "Debian: shellcheck; Homebrew: shellcheck".

    bool operator==(const EngineInfo&) const = default;
};

/// How to get it, for people.
[[nodiscard]] std::string howToObtain(const EngineEntry& entry);

/// Engines look into at most this many parts of one submission, the first: a program is started
/// anew for every part. Chosen; a project is graded file by file.
constexpr std::size_t kMostPartsForEngines = 32;

/// What engines beside the critics in process make of one part.
class EngineRoom {
public:
    virtual ~EngineRoom() = default;

    /// The ids of the engines here that read this part, in the order of asking.
    [[nodiscard]] virtual std::vector<std::string> enginesFor(const Part& part,
                                                              std::string_view modality) const = 0;

    /// What `engine`, an id of `enginesFor`, makes of it. An engine that does not end well is a gap
    /// in the coverage. Blocks; any thread, several at once.
    [[nodiscard]] virtual Critique look(std::string_view engine, const Part& part,
                                        std::string_view modality, StopToken cancel) = 0;

    /// Gaps for engines that would read this part and are not here or of no use, with how to get
    /// them. `dropAnswered` takes away those that somebody else filled.
    [[nodiscard]] virtual std::vector<NotChecked> absentFor(const Part& part,
                                                            std::string_view modality) const = 0;

    /// Of how many parts of one submission the engine looks into the first only.
    [[nodiscard]] virtual std::size_t mostParts(std::string_view engine) const {
        static_cast<void>(engine);
        return kMostPartsForEngines;
    }

    /// About how long it takes for a part, in milliseconds: who takes longest begins first, so that
    /// nobody waits for one who began last.
    [[nodiscard]] virtual int usualMilliseconds(std::string_view engine) const {
        static_cast<void>(engine);
        return 0;
    }
};

/// Takes away each gap whose `what` an engine did judge: "syntax, Go" is judged whoever judged it.
void dropAnswered(Coverage& coverage);

} // namespace trevix
