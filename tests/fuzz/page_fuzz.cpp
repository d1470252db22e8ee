// Whatever the text is: what is told of it as a page names a place in it and a rule, and is the
// same when it is read again.

#include "critics/code/code_rules.h"
#include "critics/syntax/syntax_reader.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

using namespace trevix;

namespace {

/// Of the text, so that a hostile one is given up as soon as in the service.
constexpr std::chrono::seconds kReadingTime{2};

void require(bool holds) {
    if (!holds) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes of a text
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const SyntaxReading reading = readSyntax("html", text, kReadingTime, Wanted::tree);
    if (reading.outcome != SyntaxReading::Outcome::read) return 0;
    const SourceText source(text);
    const CodeView view(source, Language::html);
    const auto told = [&] {
        FindingList findings(source);
        checkPage(view, reading.tree, findings);
        return findings.take();
    };
    const std::vector<Finding> findings = told();
    for (const Finding& finding : findings) {
        require(finding.rule.starts_with("code.") && !finding.place.empty());
        require(!finding.detail.empty());
    }
    require(told() == findings);
    return 0;
}
