// What an answer of a program is worth: the request that asks it, and the critique that its answer
// gives. Pure; any thread.

#pragma once

#include "critics/engines/engine.h"
#include "critics/worker/child_process.h"

#include <cstddef>
#include <optional>

namespace trevix {

/// Programs are not asked about more than this many bytes; some take time that grows faster than
/// the text, and a longer file was written by another program.
constexpr std::size_t kLongestForPrograms = 1'000'000;

/// Asks for the version. Precondition: the engine's entry has arguments for that.
[[nodiscard]] ChildRequest versionRequest(const InstalledEngine& engine);

/// The first word of the output that looks like a version: "0.9.0" in "version: 0.9.0". Empty
/// without one.
[[nodiscard]] std::string versionIn(std::string_view output);

/// Whether version `a` comes before `b`, number by number: "1.9" before "1.10", "1" before "1.0.1".
[[nodiscard]] bool comesBefore(std::string_view a, std::string_view b);

/// Why a program of this version is not used, a clause for people; empty where it is. A version
/// that is not known is used.
[[nodiscard]] std::string versionTrouble(const EngineEntry& entry, std::string_view version);

/// Asks for a judgement of the file. Precondition: the engine is usable.
[[nodiscard]] ChildRequest judgeRequest(const InstalledEngine& engine, const WorkFile& file);

/// What the answer makes of the part. Findings quote the part, never the answer; where the answer
/// is not to be had or not understood, there are none, and the coverage says so.
[[nodiscard]] Critique critiqueOf(const InstalledEngine& engine, const Part& part,
                                  const ChildResult& answer);

} // namespace trevix
