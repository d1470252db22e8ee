#include "critics/pages/pdf_critic.h"

#include "critics/pages/pdf_reader.h"
#include "critics/text/placed_text.h"

#include <algorithm>
#include <utility>

namespace trevix {

std::variant<Critique, Unread> critiquePdf(const Part& part, const LanguageTools& tools) {
    auto read = readPdf(part.bytes);
    if (auto* failure = std::get_if<PdfFailure>(&read)) {
        return Unread{failure->reason, {"text of PDF files", failure->reason, failure->remedy}};
    }
    const PdfText& text = std::get<PdfText>(read);
    // All pages as one text, so that what runs over a page break is read as it runs, with the
    // places of either side.
    PlacedText placed;
    std::size_t bare = 0;
    for (std::size_t i = 0; i < text.pages.size(); ++i) {
        placed.begin("page " + std::to_string(i + 1));
        if (text.pages[i].find_first_not_of(" \t\r\n") == std::string::npos) {
            ++bare;
            continue;
        }
        placed.text += text.pages[i];
        // A page break ends a paragraph, for want of anything that tells otherwise.
        placed.text += "\n\n";
    }
    Critique critique;
    const PdfEngine engine = pdfEngine();
    // Pages without text alone leave nobody who knows the work.
    if (bare < text.pages.size()) {
        critique = critiquePlacedText(placed, Flow::cut, tools);
        critique.coverage.checked({engine.name, engine.version, "text of PDF pages"});
    }
    if (bare > 0) {
        critique.coverage.missed(
            {std::to_string(bare) + (bare == 1 ? " page" : " pages") + " without text",
             "pictures of pages are not read", "grade them as PNG pictures"});
    }
    if (text.pages.size() < text.pageCount) {
        critique.coverage.missed({"the pages from " + std::to_string(text.pages.size() + 1) +
                                      " to " + std::to_string(text.pageCount),
                                  "a PDF is read up to a limit of pages, text and time",
                                  "grade it in parts"});
    }
    return critique;
}

} // namespace trevix
