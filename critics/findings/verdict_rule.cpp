#include "critics/findings/verdict_rule.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>

namespace trevix {

namespace {

// Points are counted in hundredths with 32 binary places after the point, so that halving stays
// exact and no decimal fraction is ever rounded on the way.
constexpr unsigned kBinaryPlaces = 32;
constexpr std::uint64_t kHundredth = std::uint64_t{1} << kBinaryPlaces;
constexpr std::uint64_t kFullScore = 100 * kHundredth;

constexpr std::uint64_t kQuarantineBelow = 50; // Hundredths of score.
constexpr std::uint64_t kShipFrom = 85;

constexpr std::array kBands{Band::ship, Band::route_to_fix, Band::quarantine, Band::block};

std::uint64_t points(Severity severity) {
    switch (severity) {
    case Severity::critical:
        return 50 * kHundredth;
    case Severity::high:
        return 20 * kHundredth;
    case Severity::medium:
        return 8 * kHundredth;
    case Severity::low:
        break;
    }
    return 2 * kHundredth;
}

std::uint64_t halved(std::uint64_t value, std::size_t times) {
    return times < 64 ? value >> times : 0;
}

std::uint64_t costOf(std::vector<Severity> ofOneRule) {
    std::sort(ofOneRule.begin(), ofOneRule.end(), std::greater<>());
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < ofOneRule.size(); ++i) sum += halved(points(ofOneRule[i]), i);
    return sum;
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
        break;
    }
    return "block";
}

std::optional<Band> bandNamed(std::string_view text) {
    const auto* const found =
        std::find_if(kBands.begin(), kBands.end(), [&](Band band) { return name(band) == text; });
    if (found == kBands.end()) return std::nullopt;
    return *found;
}

Judgement judge(const std::vector<Finding>& findings) {
    std::map<std::string_view, std::vector<Severity>> byRule;
    Severity worst = Severity::low;
    for (const Finding& finding : findings) {
        byRule[finding.rule].push_back(finding.severity);
        worst = std::max(worst, finding.severity);
    }

    std::uint64_t cost = 0;
    for (const auto& [rule, severities] : byRule) {
        cost = std::min(kFullScore, cost + costOf(severities));
    }
    const std::uint64_t hundredths = (kFullScore - cost + kHundredth / 2) / kHundredth;

    Judgement judgement;
    judgement.score = static_cast<double>(hundredths) / 100.0;
    if (worst == Severity::critical) {
        judgement.band = Band::block;
    } else if (hundredths < kQuarantineBelow) {
        judgement.band = Band::quarantine;
    } else if (worst == Severity::high || hundredths < kShipFrom) {
        judgement.band = Band::route_to_fix;
    }
    return judgement;
}

} // namespace trevix
