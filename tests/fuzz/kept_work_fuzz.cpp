// Whatever the graded work is: what is kept of it gives no secret away and has its lines and
// columns where they were, and the page that shows it is made.
//
// The first line is how the work is judged, the name of its part, and where a flaw stands, parted
// by a byte that is no text; the rest is the work.

#include "critics/text/secret_shapes.h"
#include "service/kept_work.h"
#include "service/report/report_page.h"
#include "text/unicode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace trevix;
namespace text = kelvane::text;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

std::string next(std::string_view& rest, char end) {
    const std::size_t length = std::min(rest.find(end), rest.size());
    std::string piece(rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
    return piece;
}

std::size_t codePoints(std::string_view bytes) {
    std::size_t count = 0;
    for (; !bytes.empty(); bytes.remove_prefix(text::decodeFront(bytes).length)) ++count;
    return count;
}

void requireKept(const std::string& work) {
    const auto kept = withoutSecrets(work);
    require(std::ranges::count(kept, '\n') == std::ranges::count(work, '\n'));
    require(codePoints(kept) == codePoints(work));
    for (const Secret& secret : findSecrets(work)) {
        // What begins like one is told by its beginning; the rest of it stands nowhere.
        const auto value = std::string_view(work).substr(secret.valueOffset, secret.valueLength);
        if (value.size() > 24) require(kept.substr(secret.valueOffset).find(value) != 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string head = text::repairedUtf8(next(rest, '\n'));
    std::string_view words = head;
    const std::string modality = next(words, '\x1e');
    const std::string name = next(words, '\x1e');
    const std::string place(words);
    // A text that comes in is UTF-8.
    const std::string work = text::repairedUtf8(rest);
    requireKept(work);

    Iteration iteration;
    iteration.parts = {{name, "text/plain", work.size()}};
    iteration.findings = {{Severity::high, "text.placeholder", "unfinished text", place, "here",
                           "Something stands here."}};
    ReportExtras extras;
    extras.work = keptWork({{"text/plain", name, work, "", true},
                            {"image/png", "picture", "", std::string(rest), false}});
    RunRecord run{"run", modality, "", "", {iteration}};
    require(text::isValidUtf8(reportPage(run, extras).html));
    // And against itself, as a revision that changed the order of its halves.
    extras.workBefore = extras.work;
    if (!extras.work.empty() && extras.work.front().isText) {
        std::string& bytes = extras.work.front().bytes;
        const auto line = bytes.find('\n', bytes.size() / 2);
        if (line != std::string::npos) bytes = bytes.substr(line + 1) + bytes.substr(0, line + 1);
    }
    iteration.number = 1;
    run.iterations.push_back(iteration);
    require(!reportPage(run, extras).html.empty());
    return 0;
}
