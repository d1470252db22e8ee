// The static parts of the service's pages: the files of resources/report, as the build embeds them.
//
// A part holds its markup as it stands and names what is to be filled in, "{{title}}"; see html.h.

#pragma once

#include <string_view>

namespace trevix::page_files {

struct PageFile {
    std::string_view markup;
};

extern const PageFile kPage;      ///< title, nonce, style, content, script
extern const PageFile kStyle;     ///< Fills in the page's style.
extern const PageFile kScript;    ///< nonce, report
extern const PageFile kReport;    ///< Fills in the script of a report.
extern const PageFile kFilter;    ///< critical, high, medium, low: how many there are
extern const PageFile kRing;      ///< band, score, value
extern const PageFile kRingValue; ///< hundredths
extern const PageFile kNoSuchRun;
extern const PageFile kClosedReport;
extern const PageFile kNotDone; ///< why, report
extern const PageFile kIndex;
extern const PageFile kConnect;         ///< base, key_file, quoted_key_file
extern const PageFile kConnectGivenKey; ///< base

} // namespace trevix::page_files
