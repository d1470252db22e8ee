// Whatever the text is: what is followed through it and what is misused in it stands inside the
// text, in its order, once, and is the same when it is read again.

#include "critics/flow/python_fixed.h"
#include "critics/flow/python_flow.h"
#include "critics/flow/python_misuse.h"
#include "critics/syntax/syntax_reader.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string_view>
#include <tuple>
#include <vector>

using namespace trevix;

namespace {

/// Of the text, so that a hostile one is given up as soon as in the service.
constexpr std::chrono::seconds kReadingTime{2};
/// Bytes of the name of a source, as its header says.
constexpr std::size_t kLongestName = 40;

void require(bool holds) {
    if (!holds) std::abort();
}

bool isInside(std::string_view text, std::size_t offset, std::size_t length) {
    return offset <= text.size() && length <= text.size() - offset;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes of a text
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const SyntaxReading reading = readSyntax("python", text, kReadingTime, Wanted::tree);
    if (reading.outcome != SyntaxReading::Outcome::read) return 0;

    const std::vector<Flow> flows = pythonFlows(reading.tree, text);
    for (const Flow& flow : flows) {
        require(isInside(text, flow.offset, flow.length));
        require(isInside(text, flow.built, flow.builtLength));
        require(isInside(text, flow.from, 0));
        require(flow.what.size() <= kLongestName);
    }
    const auto place = [](const Flow& flow) { return std::tuple(flow.offset, flow.danger); };
    require(std::ranges::is_sorted(flows, {}, &Flow::offset));
    std::vector<std::tuple<std::size_t, Danger>> places;
    std::ranges::transform(flows, std::back_inserter(places), place);
    std::ranges::sort(places);
    require(std::ranges::adjacent_find(places) == places.end());

    const std::vector<Misuse> misuses = pythonMisuses(reading.tree, text);
    for (const Misuse& misuse : misuses) require(isInside(text, misuse.offset, misuse.length));
    require(std::ranges::is_sorted(misuses, {}, &Misuse::offset));

    const std::vector<std::size_t> fixed = pythonFixedRuns(reading.tree, text);
    for (const std::size_t bracket : fixed) require(isInside(text, bracket, 1));
    require(std::ranges::is_sorted(fixed));

    require(pythonFixedRuns(reading.tree, text) == fixed);
    require(pythonFlows(reading.tree, text) == flows);
    require(pythonMisuses(reading.tree, text) == misuses);
    return 0;
}
