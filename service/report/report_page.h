// The service's pages for a browser: the report on a run, and how to connect.
//
// Self-contained, without scripts, readable in light and in dark. Everything
// that comes from the graded work is a stranger's text and is escaped. Apart from drawing the nonce
// of their style sheet these functions are pure; any thread.

#pragma once

#include "service/store/run_record.h"

#include <string>
#include <string_view>

namespace trevix {

struct Page {
    std::string html;
    /// The header that goes with it: nothing is loaded, run or framed, and only the page's own
    /// style applies.
    std::string contentSecurityPolicy;
};

/// The verdict as it stands, each flaw with its place and evidence, and for every revision what it
/// fixed, what remains and what is new since the version before.
[[nodiscard]] Page reportPage(const RunRecord& run);

/// For an address that names no run, or one that is gone.
[[nodiscard]] Page noSuchRunPage();

/// For who brings neither ticket nor pass: how reports are opened. The same for every address.
[[nodiscard]] Page closedReportPage();

/// How to point a client at this service: `base` is its address, `keyFile` where the key is. The
/// key itself is not shown. `keyFile` is empty for a key that was given on the command line.
[[nodiscard]] Page connectPage(std::string_view base, std::string_view keyFile);

[[nodiscard]] Page indexPage();

} // namespace trevix
