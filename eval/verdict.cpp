#include "eval/verdict.h"

#include "eval/service_json.h"
#include "text/byte_cut.h"
#include "text/unicode.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <utility>

namespace kelvane {

namespace {

constexpr std::array kBands{Band::ship, Band::route_to_fix, Band::quarantine, Band::block,
                            Band::unknown};
constexpr std::array kMostSevereFirst{Band::block, Band::quarantine, Band::route_to_fix,
                                      Band::ship};

std::string firstString(const nlohmann::json& object, std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        if (auto text = service_json::string(object, key)) return *std::move(text);
    }
    return {};
}

// The text under `key`, for telling one flaw from another.
std::string originString(const nlohmann::json& object, const char* key) {
    const std::string whole = service_json::string(object, key).value_or("");
    return std::string(text::firstBytes(whole, EvalBridge::kLongestFlawOrigin));
}

// The text under `key`, cut at so many characters; and, since one character can be made of any
// number of marks, at so many bytes.
std::string boundedString(const nlohmann::json& object, const char* key) {
    constexpr std::size_t kMostBytes = EvalBridge::kLongestCoverageText * 8;
    const std::string whole = service_json::string(object, key).value_or("");
    const auto kept = text::firstCharacters(whole, EvalBridge::kLongestCoverageText);
    return std::string(text::firstBytes(kept, kMostBytes));
}

// The entries of an array of objects, each of three texts, the first of which says what it is.
template <typename Entry>
std::vector<Entry> entries(const nlohmann::json* value, const char* first, const char* second,
                           const char* third) {
    if (!value || !value->is_array()) return {};
    // One entry of another kind, and the list is not what it is taken for.
    if (!std::all_of(value->begin(), value->end(), [](const auto& e) { return e.is_object(); })) {
        return {};
    }
    std::vector<Entry> found;
    for (const nlohmann::json& object : *value) {
        if (found.size() == EvalBridge::kMostCoverageEntries) break;
        std::string name = boundedString(object, first);
        if (name.empty()) continue;
        found.push_back(
            {std::move(name), boundedString(object, second), boundedString(object, third)});
    }
    return found;
}

} // namespace

std::string_view name(Band band) {
    switch (band) {
    case Band::ship:
        return "ship";
    case Band::route_to_fix:
        return "route_to_fix";
    case Band::quarantine:
        return "quarantine";
    case Band::block:
        return "block";
    case Band::unknown:
        break;
    }
    return "unknown";
}

std::optional<Band> bandNamed(std::string_view raw) {
    const auto found =
        std::find_if(kBands.begin(), kBands.end(), [&](Band band) { return name(band) == raw; });
    if (found == kBands.end()) return std::nullopt;
    return *found;
}

Band parseBand(const std::optional<std::string>& text) {
    return bandNamed(text::lowercased(text.value_or(""))).value_or(Band::unknown);
}

bool clears(Band band) {
    return band == Band::ship;
}

int rank(Band band) {
    const auto found = std::find(kMostSevereFirst.begin(), kMostSevereFirst.end(), band);
    if (found == kMostSevereFirst.end()) return -1;
    return static_cast<int>(found - kMostSevereFirst.begin());
}

Verdict Verdict::failure(std::string message) {
    Verdict verdict;
    verdict.error = std::move(message);
    return verdict;
}

namespace EvalBridge {

std::vector<Flaw> parseFlaws(const nlohmann::json* value) {
    if (!value || !value->is_array()) return {};
    if (!std::all_of(value->begin(), value->end(), [](const auto& e) { return e.is_object(); })) {
        return {};
    }
    std::vector<Flaw> flaws;
    flaws.reserve(value->size());
    for (const nlohmann::json& object : *value) {
        // The same is known by several names; the first that is there counts.
        flaws.push_back({text::uppercased(firstString(object, {"severity"})),
                         firstString(object, {"criterion", "name"}),
                         firstString(object, {"detail", "evidence", "description"}),
                         originString(object, "rule"), originString(object, "place"),
                         originString(object, "evidence")});
    }
    return flaws;
}

Verdict verdictFrom(const nlohmann::json& summary, std::optional<std::string> runId) {
    Verdict verdict;
    auto band = service_json::string(summary, "band");
    // Services say it under either name.
    if (!band) band = service_json::string(summary, "decision");
    verdict.band = parseBand(band);
    verdict.score = service_json::number(summary, "score");
    verdict.flaws = parseFlaws(service_json::find(summary, "flaws"));
    verdict.runId = std::move(runId);
    verdict.checkedBy =
        entries<CheckedBy>(service_json::find(summary, "checked_by"), "engine", "version", "knows");
    verdict.notChecked =
        entries<NotChecked>(service_json::find(summary, "not_checked"), "what", "why", "remedy");
    return verdict;
}

} // namespace EvalBridge

} // namespace kelvane
