// The graded work itself, with its flaws marked where they stand.
//
// Prose and program text with their lines numbered and each flaw below its line; a table with
// marked cells, rows and columns; a picture with boxes. What is shown has a size, whatever the size
// of the work: around each flaw, and what is left out is said. Pure; any thread.

#pragma once

#include "critics/findings/finding.h"
#include "service/report/html.h"
#include "service/store/run_record.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// Lines and rows of a part up to which it is shown whole; above, what is around the flaws.
constexpr std::size_t kWholeLines = 300;
constexpr std::size_t kWholeRows = 60;
/// Of one part, and of all parts together, at most so many lines and rows.
constexpr std::size_t kMostLinesOfPart = 800;
constexpr std::size_t kMostLines = 2000;
constexpr std::size_t kMostColumns = 24;
/// Parts that are shown, the first ones that have flaws before others.
constexpr std::size_t kMostPartsShown = 40;
/// Bytes of the pictures on one page together.
constexpr std::size_t kMostPictures = std::size_t{6} << 20U;

/// A flaw on its page.
struct PageFlaw {
    Finding finding;
    std::size_t number = 0; ///< From 1, in reading order; "#fN" leads to it.
    std::string state;      ///< "new", "remaining", or empty in a first version.
    bool inPlace = false;   ///< Shown with the work, below or beside its mark.
    bool dismissed = false; ///< Then it does not count, and `why` is the person's reason.
    std::string why;
    bool byDictionary = false;
};

/// Writes the card of a flaw.
using CardWriter = Html (*)(const PageFlaw& flaw, const void* page);

/// Numbers `flaws`, says which of them are shown with the work, and shows it. `card` writes a flaw
/// and is handed `page`. Empty when nothing of the work is kept.
[[nodiscard]] Html workView(const Iteration& iteration, std::string_view modality,
                            const KeptWork& work, std::vector<PageFlaw>& flaws, CardWriter card,
                            const void* page);

/// What changed in the work since the version before, line by line, with the flaws that were fixed
/// and those that are new. Empty when nothing of either is kept, or nothing changed.
[[nodiscard]] Html changesView(const Iteration& before, const KeptWork& workBefore,
                               const std::vector<Finding>& fixed, const Iteration& now,
                               const KeptWork& work, const std::vector<PageFlaw>& flaws);

} // namespace trevix
