#include "critics/findings/verdict_rule.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

namespace trevix {

namespace {

// Points are counted in hundredths with 32 binary places after the point, so that halving stays
// exact and no decimal fraction is ever rounded on the way.
constexpr unsigned kBinaryPlaces = 32;
constexpr std::uint64_t kHundredth = std::uint64_t{1} << kBinaryPlaces;
constexpr std::uint64_t kFullScore = 100 * kHundredth;

// In hundredths, to be compared with a score that is rounded already: what is shown as 0.85 ships.
constexpr std::uint64_t kQuarantineBelow = 50; // Hundredths of score.
constexpr std::uint64_t kShipFrom = 85;

constexpr std::array kBands{Band::ship, Band::route_to_fix, Band::quarantine, Band::block,
                            Band::unknown};

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
    // A shift by the width of the type or more is undefined, and nothing is left by then anyway.
    return times < 64 ? value >> times : 0;
}

// Words and lines on a page, and tenths of its cells: about what is read at a glance. Chosen.
constexpr std::uint64_t kPage = 100;
constexpr std::uint64_t kCellsForOne = 10;

/// In the unit of kPage, at least one page.
std::uint64_t sizeOf(const Extent& extent) {
    return std::max(kPage, extent.words + extent.lines + extent.cells / kCellsForOne);
}

std::uint64_t habitOf(std::vector<Severity> ofOneRule) {
    // The heaviest first, or the order of findings would change the sum.
    std::sort(ofOneRule.begin(), ofOneRule.end(), std::greater<>());
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < ofOneRule.size(); ++i) sum += halved(points(ofOneRule[i]), i);
    return sum;
}

/// What the findings of one rule have in common with each other, and what not.
struct OfOneRule {
    std::vector<Severity> all;
    std::map<std::string_view, Severity> worstByEvidence;
};

// The sum stays below 2^64: even 2^20 findings cost at most 2^20 * 50 * 2^32.
std::uint64_t costOf(const OfOneRule& findings, std::uint64_t size) {
    // By habit alone a paragraph with five misspellings would score nearly like one with two.
    std::uint64_t different = 0;
    for (const auto& [evidence, severity] : findings.worstByEvidence) {
        if (severity != Severity::low) different += points(severity);
    }
    // Divided first: the product with the page would not fit.
    // The remainder is less than the size, so its product with 100 fits.
    const std::uint64_t density = different / size * kPage + different % size * kPage / size;
    return std::max(habitOf(findings.all), density);
}

std::uint64_t costOf(const std::map<std::string_view, OfOneRule>& byRule, std::uint64_t size) {
    std::uint64_t cost = 0;
    for (const auto& [rule, findings] : byRule) {
        // Cut at the full score with every rule, so that the sum cannot overflow.
        cost = std::min(kFullScore, cost + costOf(findings, size));
    }
    return cost;
}

/// In hundredths, halves rounded upwards.
std::uint64_t scoreAt(std::uint64_t cost) {
    return (kFullScore - cost + kHundredth / 2) / kHundredth;
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

std::optional<Band> bandNamed(std::string_view text) {
    const auto* const found =
        std::find_if(kBands.begin(), kBands.end(), [&](Band band) { return name(band) == text; });
    if (found == kBands.end()) return std::nullopt;
    return *found;
}

Judgement judge(const Critique& critique) {
    std::map<std::string_view, OfOneRule> byRule;
    std::map<std::string_view, OfOneRule> advice;
    Severity worst = Severity::low;
    for (const Finding& finding : critique.findings) {
        OfOneRule& rule = (isAdvice(finding) ? advice : byRule)[finding.rule];
        rule.all.push_back(finding.severity);
        Severity& ofEvidence = rule.worstByEvidence[finding.evidence];
        ofEvidence = std::max(ofEvidence, finding.severity);
        if (!isAdvice(finding)) worst = std::max(worst, finding.severity);
    }

    const std::uint64_t size = sizeOf(critique.extent);
    const std::uint64_t cost = costOf(byRule, size);
    const std::uint64_t hundredths = scoreAt(cost);

    Judgement judgement;
    std::uint64_t least = 0;
    if (worst == Severity::critical) {
        judgement.band = Band::block;
    } else if (hundredths < kQuarantineBelow) {
        judgement.band = Band::quarantine;
    } else if (worst == Severity::high || hundredths < kShipFrom) {
        judgement.band = Band::route_to_fix;
        // With a high finding the score may be that of work to ship.
        least = kQuarantineBelow;
    } else {
        judgement.band = critique.coverage.known ? Band::ship : Band::unknown;
        least = kShipFrom;
    }
    // Advice lowers the score within its band and never changes the band, which is settled above.
    const std::uint64_t advised = scoreAt(std::min(kFullScore, cost + costOf(advice, size)));
    judgement.score = static_cast<double>(std::max(advised, least)) / 100.0;
    return judgement;
}

} // namespace trevix
