// The text of a PDF, page by page, through a library of others where the build has one.
//
// Nothing in the file is run, fetched or drawn. Pure but for the clock; any thread.

#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

/// Pages that are read, bytes of text that are kept, and how long that may take. A page of a book
/// has 3 kB and takes some milliseconds.
constexpr std::size_t kMostPdfPages = 300;
constexpr std::size_t kMostPdfText = std::size_t{4} << 20U;
constexpr std::chrono::milliseconds kMostPdfTime{10'000};

struct PdfText {
    std::vector<std::string> pages; ///< UTF-8; empty where a page has no text.
    std::size_t pageCount = 0;      ///< Of the file; more than were read when a limit was met.

    bool operator==(const PdfText&) const = default;
};

/// Why a file was not read: a clause for people, and what would change that.
struct PdfFailure {
    std::string reason;
    std::string remedy; ///< Empty when the fault is the file's.

    bool operator==(const PdfFailure&) const = default;
};

/// At most `mostText` bytes of text are kept, whole code points; what is behind them is not read.
[[nodiscard]] std::variant<PdfText, PdfFailure> readPdf(std::string_view bytes,
                                                        std::size_t mostText = kMostPdfText);

/// The library and its version, for the coverage; two empty texts without one.
struct PdfEngine {
    std::string name;
    std::string version;
};
[[nodiscard]] PdfEngine pdfEngine();

} // namespace trevix
