// The service's pages for a browser: the report on a run, and how to connect.
//
// Self-contained, readable in light and in dark, on a phone, on paper and without its one script.
// Everything that comes from the graded work is a stranger's text and is escaped, and the page has
// a size whatever the size of the work. Apart from drawing the nonce of style and script these
// functions are pure; any thread.

#pragma once

#include "service/store/run_record.h"

#include <string>
#include <string_view>

namespace trevix {

struct Page {
    std::string html;
    /// The header that goes with it: nothing is loaded or framed, only the page's own style and
    /// script apply, and forms go back to the service alone.
    std::string contentSecurityPolicy;
};

/// What a report shows beside the run.
struct ReportExtras {
    KeptWork work;       ///< Of the latest version; what is missing in it is not shown.
    KeptWork workBefore; ///< Of the version before that.
    /// Of the forms on the page. Empty: nothing can be said about a flaw there.
    std::string formToken;
    std::string notice; ///< Something that went wrong, for people.
};

/// Cards of flaws on one page, the heaviest; and of each list of an earlier version.
constexpr std::size_t kMostCards = 400;
constexpr std::size_t kMostEarlierFlaws = 50;
/// Earlier versions that are told, the latest.
constexpr std::size_t kMostVersions = 30;

/// The verdict as it stands, the work with each flaw at its place, and for every revision what it
/// fixed, what remains and what is new since the version before. `run` is as withUserSays() made
/// it: what is dismissed is shown as that.
[[nodiscard]] Page reportPage(const RunRecord& run, const ReportExtras& extras = {});

/// For an address that names no run, or one that is gone.
[[nodiscard]] Page noSuchRunPage();

/// For who brings neither ticket nor pass: how reports are opened. The same for every address.
[[nodiscard]] Page closedReportPage();
/// For a form that was not taken: why, and the way back. Shows nothing of the run, since whoever
/// sent the form has not shown that the report was theirs to read.
[[nodiscard]] Page notDonePage(std::string_view runId, std::string_view why);

/// How to point a client at this service: `base` is its address, `keyFile` where the key is. The
/// key itself is not shown. `keyFile` is empty for a key that was given on the command line.
[[nodiscard]] Page connectPage(std::string_view base, std::string_view keyFile);

[[nodiscard]] Page indexPage();

} // namespace trevix
