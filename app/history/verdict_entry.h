// One verdict of the past, as the history keeps it, and its text form.
//
// What was graded, when, and what came of it. The work itself is not in it, with one exception: the
// text that was sent to a service of this machine, so that two versions can be compared. Plain
// values; pure; any thread.

#pragma once

#include "eval/artifact.h"
#include "eval/verdict.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane::history {

/// Of a text that is kept, and of a file that holds an entry. A page has some 3,000 bytes.
inline constexpr std::size_t kLongestText = 128 * 1024;
inline constexpr std::size_t kLongestEntry = 1024 * 1024;
/// Flaws that are kept of a verdict, and bytes of each of their texts.
inline constexpr std::size_t kMostFlaws = 200;
inline constexpr std::size_t kLongestFlawText = 1'000;

struct VerdictEntry {
    std::string id;          ///< Of the history's own; its file's name without the ending.
    std::int64_t timeMs = 0; ///< When the verdict came, since 1970, UTC.
    std::string app;         ///< As people know it.
    std::string bundleId;    ///< As the desktop knows it.
    std::string kind;        ///< The modality that was declared.
    bool isPicture = false;  ///< A picture of a window was graded.
    Band band = Band::unknown;
    std::optional<double> score;
    std::vector<Flaw> flaws;   ///< The first ones.
    std::size_t flawCount = 0; ///< All of them.
    std::optional<std::string> error;
    std::string runId;  ///< Empty: the verdict had none.
    std::string report; ///< The stated address of the report; empty without a run.
    std::string digest; ///< Of what was graded; tells versions apart, and hides nothing.
    std::optional<std::string> text; ///< Only of a service of this machine.
    bool textIsCut = false;

    bool operator==(const VerdictEntry&) const = default;
};

/// What an entry is about, of the parts that were sent. `keepsText`: whether the work may be kept.
void describeWork(VerdictEntry& entry, const std::vector<ArtifactPart>& parts, bool keepsText);

/// Puts the verdict in, cut to the bounds above.
void describeVerdict(VerdictEntry& entry, const Verdict& verdict);

/// The verdict as the panel shows one; of what was cut the beginning.
[[nodiscard]] Verdict verdictOf(const VerdictEntry& entry);

/// 16 hexadecimal digits of the bytes (FNV-1a of 64 bits). For telling versions apart by accident,
/// not against somebody who wants two alike.
[[nodiscard]] std::string digestOf(std::string_view bytes);

/// One line of JSON with its end, and back. Absent for anything else, a NUL and bytes that are not
/// UTF-8 included; a field of another type counts as missing. The id is not in it.
[[nodiscard]] std::string lineOf(const VerdictEntry& entry);
[[nodiscard]] std::optional<VerdictEntry> entryInLine(std::string_view line);

/// "2026-03-03T14:05:09Z"
[[nodiscard]] std::string isoTime(std::int64_t ms);

} // namespace kelvane::history
