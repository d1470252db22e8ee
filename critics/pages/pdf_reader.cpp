#include "critics/pages/pdf_reader.h"

#include "text/byte_cut.h"

#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page.h>
#include <poppler-version.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <mutex>

namespace trevix {
namespace {

/// The library tells standard error of every oddity of a file unless somebody else listens.
void beQuiet() {
    static std::once_flag once;
    std::call_once(
        once, [] { poppler::set_debug_error_function([](const std::string&, void*) {}, nullptr); });
}

} // namespace

std::variant<PdfText, PdfFailure> readPdf(std::string_view bytes, std::size_t mostText) {
    beQuiet();
    // The library counts in int.
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return PdfFailure{"it is too large", ""};
    const std::unique_ptr<poppler::document> document(
        poppler::document::load_from_raw_data(bytes.data(), static_cast<int>(bytes.size())));
    if (!document) return PdfFailure{"it is damaged or no PDF", ""};
    // A document that opens with an empty password is not locked.
    if (document->is_locked()) return PdfFailure{"it is encrypted with a password", ""};
    if (document->pages() <= 0) return PdfFailure{"it has no page", ""};

    using Clock = std::chrono::steady_clock;
    // Looked at between pages; a single page that takes for ever ends with its child.
    const auto end = Clock::now() + kMostPdfTime;
    PdfText read;
    read.pageCount = static_cast<std::size_t>(document->pages());
    std::size_t kept = 0;
    const std::size_t count = std::min(read.pageCount, kMostPdfPages);
    for (std::size_t i = 0; i < count && kept < mostText && Clock::now() < end; ++i) {
        const std::unique_ptr<poppler::page> page(document->create_page(static_cast<int>(i)));
        std::string text;
        if (page) {
            // The order in which people read, columns one after the other.
            const poppler::byte_array utf8 =
                page->text(poppler::rectf(), poppler::page::non_raw_non_physical_layout).to_utf8();
            text.assign(utf8.begin(), utf8.end());
        }
        // It ends each page with a form feed.
        std::erase(text, '\f');
        const bool cut = text.size() > mostText - kept;
        // Half a code point would be read as damage of the file.
        if (cut) text.resize(kelvane::text::firstBytes(text, mostText - kept).size());
        kept += text.size();
        read.pages.push_back(std::move(text));
        if (cut) break; // The bytes that a code point had no room in are not for the next page.
    }
    return read;
}

PdfEngine pdfEngine() {
    return {"poppler", poppler::version_string()};
}

} // namespace trevix
