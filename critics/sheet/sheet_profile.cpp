// Columns against their own profile: the shapes of their values, how often each comes, the units
// and times of day they are written with, and what one column says of another.

#include "critics/sheet/sheet_rule_table.h"
#include "critics/sheet/sheet_rules.h"

#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace trevix {
namespace {

namespace text = kelvane::text;

constexpr GradedRule kPatternMedium =
    declared<WorkKind::sheet>("sheet.value_pattern", Severity::medium);
constexpr GradedRule kPatternLow = declared<WorkKind::sheet>("sheet.value_pattern", Severity::low);
constexpr GradedRule kNearDuplicateMedium =
    declared<WorkKind::sheet>("sheet.near_duplicate", Severity::medium);
constexpr GradedRule kNearDuplicateLow =
    declared<WorkKind::sheet>("sheet.near_duplicate", Severity::low);
constexpr GradedRule kDependencyMedium =
    declared<WorkKind::sheet>("sheet.dependency", Severity::medium);
constexpr GradedRule kDependencyLow = declared<WorkKind::sheet>("sheet.dependency", Severity::low);
constexpr GradedRule kMixedTimes = declared<WorkKind::sheet>("sheet.mixed_times");
constexpr GradedRule kMixedPercent = declared<WorkKind::sheet>("sheet.mixed_percent");
constexpr GradedRule kUnitSpellingMedium =
    declared<WorkKind::sheet>("sheet.unit_spelling", Severity::medium);
constexpr GradedRule kUnitSpellingLow =
    declared<WorkKind::sheet>("sheet.unit_spelling", Severity::low);
constexpr GradedRule kMissingMarks = declared<WorkKind::sheet>("sheet.missing_marks");
constexpr GradedRule kMixedCase = declared<WorkKind::sheet>("sheet.mixed_case");

// Where a comment names an experiment, `build/dev/bench/sheet_thresholds NAME` repeats it;
// docs/thresholds.md has the figures.

/// Bytes. Longer values are sentences, which have no shape and no frequent form.
constexpr std::size_t kLongestShaped = 40;
/// Cells that make a profile, and how many of twenty have the usual shape or capital (experiment
/// `profiles`).
constexpr std::size_t kFewestProfiled = 20;
constexpr std::size_t kShapedOfTwenty = 19;
/// Different values of the usual shape: "YES" and "NO" are two categories, not a pattern.
constexpr std::size_t kFewestOfShape = 3;
/// A value of another shape that comes oftener than this is meant.
constexpr std::size_t kMostUsesOfSlip = 2;
/// Slips between a value's shape and the usual one, beyond which it is another kind of value.
constexpr std::size_t kSlipsInShape = 2;
/// Uses of a frequent value, at least, and letters of the word in which a rare one differs: from
/// `kLongWord` on two words of one slip are hardly ever both meant (experiment `near-duplicates`).
constexpr std::size_t kFewestUses = 5;
constexpr std::size_t kShortWord = 5;
constexpr std::size_t kLongWord = 8;
/// Frequent values of a column that rare ones are compared with.
constexpr std::size_t kMostFrequent = 300;
/// Columns that may determine others, and columns that may be determined: the first ones.
constexpr std::size_t kMostDeterminants = 24;
constexpr std::size_t kMostDetermined = 64;
/// Rows of a group that has a majority; groups of a dependency; one violation in so many rows at
/// most (experiment `dependencies`).
constexpr std::size_t kFewestInGroup = 3;
constexpr std::size_t kFewestGroups = 3;
constexpr std::size_t kRowsPerViolation = 20;
/// What contradicts a dependency without being a slip of the usual value may be meant; it is told
/// where so many groups keep to it, all but one row in so many.
constexpr std::size_t kManyGroups = 10;
constexpr std::size_t kRowsPerStrictViolation = 50;
/// Of the letters of the usual value, one in so many may differ in a slip.
constexpr std::size_t kLettersPerSlip = 10;
/// Bytes of a value that is compared letter by letter.
constexpr std::size_t kLongestCompared = 120;
/// Times of day: cells, share of five that hold one, and share of three written alike.
constexpr std::size_t kFewestTimes = 5;
constexpr std::size_t kTimesOfFive = 4;
constexpr std::size_t kAlikeOfThree = 2;
/// Numbers with and without a percent sign: how many, share of five without or with it, and how
/// many times larger the ones may be to be the same quantity.
constexpr std::size_t kFewestPercents = 10;
constexpr std::size_t kUsualOfFive = 3;
constexpr double kSameQuantity = 5;
/// Numbers with a unit: cells, and share of four that spell it alike.
constexpr std::size_t kFewestMeasures = 8;
constexpr std::size_t kSpeltOfFour = 3;
constexpr std::size_t kLongestUnit = 16;

using CellKey = std::pair<std::size_t, std::size_t>; ///< Row and column.

/// A value of a column: the trimmed text and the rows that hold it.
struct Value {
    std::string_view text;
    std::size_t uses = 0;
    std::size_t firstRow = 0;
};

/// A column with each value numbered.
struct CodedColumn {
    const SheetColumn* column = nullptr;
    std::vector<Value> values;
    std::vector<std::pair<std::size_t, std::uint32_t>> cells; ///< Row and value, by row.
};

bool holdsValue(const SheetCell& cell) {
    return cell.kind == CellKind::number || cell.kind == CellKind::date ||
           cell.kind == CellKind::words;
}

std::string_view textOf(const Sheet& sheet, const SheetColumn& column, std::size_t row) {
    return trimmedCell(sheet.table.cell(row, column.index));
}

CodedColumn coded(const Sheet& sheet, const SheetColumn& column) {
    CodedColumn result;
    result.column = &column;
    // Views into the table, which stays as it is: a column is compared by number from here on,
    // without touching its text again.
    std::unordered_map<std::string_view, std::uint32_t> ids;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || !holdsValue(cell)) continue;
        const std::string_view value = textOf(sheet, column, cell.row);
        const auto [entry, isNew] =
            ids.try_emplace(value, static_cast<std::uint32_t>(result.values.size()));
        if (isNew) result.values.push_back({value, 0, cell.row});
        ++result.values[entry->second].uses;
        result.cells.emplace_back(cell.row, entry->second);
    }
    return result;
}

std::string cellPlace(std::size_t row, const SheetColumn& column) {
    return "cell " + cellName(row, column.index);
}

std::string quoted(std::string_view value) {
    return "\"" + shortened(value, 60) + "\"";
}

// ---- shapes -------------------------------------------------------------------------------------

/// "AB-1234" as "AA-9999"; letters beyond ASCII count as small ones.
std::string shapeOf(std::string_view value) {
    std::string shape;
    // By bytes, not by letters: that is enough to tell one code from another, and codes are ASCII.
    for (const char c : value) {
        if (c >= '0' && c <= '9')
            shape += '9';
        else if (c >= 'A' && c <= 'Z')
            shape += 'A';
        else if ((c >= 'a' && c <= 'z') || static_cast<unsigned char>(c) >= 0x80)
            shape += 'a';
        else
            shape += c;
    }
    return shape;
}

/// "AA-9999" as "A-9": how long each run is may be chance.
std::string kindsOf(std::string_view shape) {
    std::string kinds;
    for (const char c : shape) {
        const bool run = c == '9' || c == 'A' || c == 'a';
        if (run && !kinds.empty() && kinds.back() == c) continue;
        kinds += c;
    }
    return kinds;
}

/// Insertions, deletions and substitutions between two short texts, at most `most` + 1.
std::size_t distance(std::string_view a, std::string_view b, std::size_t most) {
    // Each byte of difference in length costs one at least.
    if (a.size() > b.size() + most || b.size() > a.size() + most) return most + 1;
    // The usual table of edit distances, of which one row is kept. Time by the product of the two
    // lengths, which the callers bound.
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t above = row[j];
            row[j] = std::min({above + 1, row[j - 1] + 1,
                               diagonal + (a[i - 1] == b[j - 1] ? std::size_t{0} : 1)});
            diagonal = above;
        }
    }
    return std::min(row.back(), most + 1);
}

/// "12.5 oz." as "oz."; empty where no unit stands behind a number. Numbers inside it count alike.
std::string unitOf(std::string_view value) {
    std::size_t at = 0;
    while (at < value.size() && (text::isAsciiDigit(value[at]) || value[at] == '.' ||
                                 value[at] == ',' || (at == 0 && value[at] == '-')))
        ++at;
    // A number ends in a digit: "12." is the beginning of a list item, "12,kg" nothing.
    if (at == 0 || !text::isAsciiDigit(value[at - 1])) return {};
    const std::string_view rest = trimmedCell(value.substr(at));
    if (rest.empty() || rest.size() > kLongestUnit || !text::isAsciiLetter(rest[0])) return {};
    std::string unit;
    for (const char c : rest) {
        if (!text::isAsciiDigit(c))
            unit += c;
        else if (unit.empty() || unit.back() != '9')
            unit += '9';
    }
    return unit;
}

bool isCode(const SheetColumn& column) {
    return column.isCalled({"zip", "zipcode", "postcode", "postal", "plz", "phone", "telephone",
                            "tel", "fax", "mobile", "isbn", "issn", "ean", "gtin", "upc", "iban",
                            "vin", "ssn"});
}

/// The shape that nearly all cells have, or nothing: a code of digits, of capitals, or of both.
struct UsualShape {
    std::string shape;
    std::size_t uses = 0;
};

std::optional<UsualShape> usualShape(const CodedColumn& column,
                                     bool (*eligible)(std::string_view)) {
    struct Tally {
        std::size_t uses = 0;
        std::size_t values = 0;
    };
    std::unordered_map<std::string, Tally> tallies;
    const std::size_t cells = column.cells.size();
    if (cells < kFewestProfiled) return std::nullopt;
    for (const Value& value : column.values) {
        if (value.text.size() > kLongestShaped) continue;
        Tally& tally = tallies[shapeOf(value.text)];
        tally.uses += value.uses;
        ++tally.values;
    }
    for (const auto& [shape, tally] : tallies) {
        // At nineteen of twenty, one shape at most can be it, so the order of the map does not
        // matter.
        if (tally.uses * 20 < cells * kShapedOfTwenty) continue;
        // No other shape can be the usual one then either.
        if (tally.values < kFewestOfShape || !eligible(shape)) return std::nullopt;
        return UsualShape{shape, tally.uses};
    }
    return std::nullopt;
}

void judgePattern(const CodedColumn& column, std::set<CellKey>& told, FindingList& list) {
    // Numbers may have any number of digits, unless the column's name says that they are no
    // quantity; dates and numbers among words have rules of their own. Told before are the slips
    // that a narrower rule has found in the same cells.
    const bool digits = column.column->isNumeric();
    if ((digits && !isCode(*column.column)) || column.column->isDated()) return;
    const auto usual = usualShape(column, [](std::string_view shape) {
        if (shape.size() < 2) return false;
        return shape.find('9') != std::string_view::npos ||
               shape.find_first_not_of('A') == std::string_view::npos;
    });
    if (!usual || usual->uses == column.cells.size()) return;
    const std::string kinds = kindsOf(usual->shape);
    const auto example = std::ranges::find_if(
        column.values, [&](const Value& value) { return shapeOf(value.text) == usual->shape; });
    for (const auto& [row, id] : column.cells) {
        const Value& value = column.values[id];
        // One byte more than has a shape, so that a longer value cannot look like a shorter one.
        const std::string shape = shapeOf(value.text.substr(0, kLongestShaped + 1));
        if (shape == usual->shape || value.uses > kMostUsesOfSlip) continue;
        if (!unitOf(value.text).empty()) continue; // Its number is a quantity.
        const bool slip = distance(shape, usual->shape, kSlipsInShape) <= kSlipsInShape;
        // A longer or shorter run of digits may be the next number of a series.
        const bool certain = slip && (isCode(*column.column) || kindsOf(shape) != kinds);
        // What is not even of the same length is another kind of value, which may be meant.
        if (!slip && !isCode(*column.column)) continue;
        if (!told.emplace(row, column.column->index).second) continue;
        const std::string place = cellPlace(row, *column.column);
        list.addAt(certain ? kPatternMedium : kPatternLow, place, value.text,
                   quoted(value.text) + " in " + place + " does not have the form of the " +
                       std::to_string(usual->uses) + " other values of the " +
                       column.column->place() + ", such as " + quoted(example->text) + ".");
    }
}

/// Names that begin with a small letter where nearly all begin with a capital.
void judgeCapitals(const CodedColumn& column, std::set<CellKey>& told, FindingList& list) {
    if (column.column->isNumeric() || column.column->isDated() ||
        column.cells.size() < kFewestProfiled)
        return;
    const auto isUpper = [](char c) { return c >= 'A' && c <= 'Z'; };
    std::size_t capital = 0;
    for (const Value& value : column.values) {
        if (isUpper(value.text[0])) capital += value.uses;
    }
    // Where all of them do there is nothing to tell.
    if (capital == column.cells.size() || capital * 20 < column.cells.size() * kShapedOfTwenty)
        return;
    for (const auto& [row, id] : column.cells) {
        const Value& value = column.values[id];
        const bool small = std::ranges::all_of(
            value.text, [](char c) { return (c >= 'a' && c <= 'z') || c == ' ' || c == '-'; });
        // Shorter words are units, particles and codes, which have no capital of their own.
        if (!small || value.text.size() < 4 || value.uses > kMostUsesOfSlip) continue;
        if (!told.emplace(row, column.column->index).second) continue;
        const std::string place = cellPlace(row, *column.column);
        list.addAt(kMixedCase, place, value.text,
                   quoted(value.text) + " in " + place + " begins with a small letter where " +
                       std::to_string(capital) + " of " + std::to_string(column.cells.size()) +
                       " values of the " + column.column->place() + " begin with a capital.");
    }
}

// ---- near duplicates ----------------------------------------------------------------------------

/// What a rare value changes of a frequent one.
struct Slip {
    bool isSlip = false;
    bool inLongWord = false;
    bool plural = false;
};

/// Whether exactly one letter, blank or mark differs, is added, left out, or two neighbours are
/// swapped, and where.
Slip slipBetween(std::string_view frequent, std::string_view rare) {
    // What both begin with and what both end with is taken off; the slip is what is left in the
    // middle. Two neighbours that are swapped leave two bytes on either side.
    std::size_t front = 0;
    while (front < frequent.size() && front < rare.size() && frequent[front] == rare[front])
        ++front;
    std::size_t back = 0;
    while (back < frequent.size() - front && back < rare.size() - front &&
           frequent[frequent.size() - 1 - back] == rare[rare.size() - 1 - back])
        ++back;
    const std::string_view was = frequent.substr(front, frequent.size() - front - back);
    const std::string_view is = rare.substr(front, rare.size() - front - back);
    const bool swapped = was.size() == 2 && is.size() == 2 && was[0] == is[1] && was[1] == is[0];
    // One letter of two bytes may stand for one of one.
    const auto isOneLetter = [](std::string_view part) {
        if (part.size() == 1) return true;
        const text::Decoded point = text::decodeFront(part);
        return !part.empty() && point.length == part.size() &&
               point.codePoint != text::kNoCodePoint;
    };
    const bool one = (is.empty() && isOneLetter(was)) || (was.empty() && isOneLetter(is)) ||
                     (isOneLetter(was) && isOneLetter(is));
    if (!one && !swapped) return {};
    // Figures differ between things; letters differ by accident.
    for (const std::string_view part : {was, is}) {
        for (const char c : part) {
            if (c >= '0' && c <= '9') return {};
        }
    }
    const auto isWordByte = [](char c) {
        return text::isAsciiLetter(c) || static_cast<unsigned char>(c) >= 0x80;
    };
    // The word of the frequent value in which they differ.
    std::size_t begin = front;
    while (begin > 0 && isWordByte(frequent[begin - 1])) --begin;
    std::size_t end = frequent.size() - back;
    while (end < frequent.size() && isWordByte(frequent[end])) ++end;
    const std::size_t letters = end - begin;
    if (letters < kShortWord) return {};
    Slip slip;
    slip.isSlip = true;
    slip.inLongWord = letters >= kLongWord;
    // An "s" at the end of the word, on one side alone.
    slip.plural =
        end == frequent.size() - back && was.size() + is.size() == 1 && (was == "s" || is == "s");
    return slip;
}

/// The value with each of its bytes left out in turn, and itself. The idea of comparing by
/// deletions: two texts that differ by one insertion, deletion or substitution, or by two
/// neighbours in the wrong order, have a text in common once a byte is left out of one or both. So
/// the few frequent values are laid down under all their deletions, and each rare value is looked
/// up under its own: some forty looks, instead of a comparison with 300 values. What is met is then
/// compared exactly.
template <typename Take>
void eachDeletion(std::string_view value, const Take& take) {
    std::string key(value);
    take(key);
    for (std::size_t i = 0; i < value.size(); ++i) {
        key.assign(value.substr(0, i));
        key += value.substr(i + 1);
        take(key);
    }
}

void judgeNearDuplicates(const CodedColumn& column, std::set<CellKey>& told, FindingList& list) {
    if (column.column->isNumeric() || column.column->isDated() ||
        column.cells.size() < kFewestProfiled)
        return;
    std::vector<std::uint32_t> frequent;
    for (std::uint32_t id = 0; id < column.values.size(); ++id) {
        const Value& value = column.values[id];
        if (value.uses >= kFewestUses && value.text.size() <= kLongestShaped &&
            value.text.size() >= kShortWord)
            frequent.push_back(id);
    }
    if (frequent.empty()) return;
    // The most frequent first: they win where a rare value is near to several. Stable, so that the
    // same table gives the same findings.
    std::ranges::stable_sort(frequent, [&](std::uint32_t a, std::uint32_t b) {
        return column.values[a].uses > column.values[b].uses;
    });
    if (frequent.size() > kMostFrequent) frequent.resize(kMostFrequent);
    std::unordered_map<std::string, std::vector<std::uint32_t>> byDeletion;
    for (const std::uint32_t id : frequent) {
        eachDeletion(column.values[id].text, [&](const std::string& key) {
            std::vector<std::uint32_t>& ids = byDeletion[key];
            // The same key comes twice in a row for doubled letters.
            if (ids.empty() || ids.back() != id) ids.push_back(id);
        });
    }
    struct Match {
        std::uint32_t frequent;
        Slip slip;
    };
    std::unordered_map<std::uint32_t, Match> matches;
    std::size_t rare = 0;
    for (std::uint32_t id = 0; id < column.values.size(); ++id) {
        const Value& value = column.values[id];
        if (value.uses > kMostUsesOfSlip) continue;
        ++rare;
        // One byte more or less than a frequent value may have.
        if (value.text.size() > kLongestShaped + 1 || value.text.size() + 1 < kShortWord) continue;
        std::optional<Match> best;
        eachDeletion(value.text, [&](const std::string& key) {
            if (best) return;
            const auto found = byDeletion.find(key);
            if (found == byDeletion.end()) return;
            for (const std::uint32_t other : found->second) {
                const std::string_view usual = column.values[other].text;
                // Capitals alone are a spelling variant, not a slip.
                if (text::lowercased(usual) == text::lowercased(value.text)) continue;
                const Slip slip = slipBetween(usual, value.text);
                if (!slip.isSlip) continue;
                best = Match{other, slip};
                break;
            }
        });
        if (best) matches.emplace(id, *best);
    }
    // Where rare values are the rule a short one may well be meant: Newton beside Newtown.
    const bool fewRare = matches.size() * 2 >= rare;
    for (const auto& [row, id] : column.cells) {
        const auto match = matches.find(id);
        if (match == matches.end()) continue;
        const Match& found = match->second;
        if (!found.slip.inLongWord && !fewRare) continue;
        if (!told.emplace(row, column.column->index).second) continue;
        const Value& value = column.values[id];
        const Value& usual = column.values[found.frequent];
        const std::string place = cellPlace(row, *column.column);
        const bool certain = value.uses == 1 && !found.slip.plural;
        list.addAt(certain ? kNearDuplicateMedium : kNearDuplicateLow, place, value.text,
                   quoted(value.text) + " in " + place + " is one slip away from " +
                       quoted(usual.text) + ", which " + std::to_string(usual.uses) +
                       " cells of the " + column.column->place() + " have.");
    }
}

// ---- one column by another ----------------------------------------------------------------------

/// The rows of each value of the determining column, one group after the other.
struct Groups {
    std::vector<std::size_t> starts; ///< One more than there are groups.
    std::vector<std::size_t> rows;
};

Groups groupsOf(const CodedColumn& column) {
    Groups groups;
    // Counted first, then laid out one after the other: two passes and no list for each group.
    groups.starts.assign(column.values.size() + 1, 0);
    for (const auto& [row, id] : column.cells) ++groups.starts[id + 1];
    for (std::size_t i = 1; i < groups.starts.size(); ++i) groups.starts[i] += groups.starts[i - 1];
    groups.rows.resize(column.cells.size());
    std::vector<std::size_t> next(groups.starts.begin(), groups.starts.end() - 1);
    for (const auto& [row, id] : column.cells) groups.rows[next[id]++] = row;
    return groups;
}

constexpr std::uint32_t kNoValue = 0xFFFFFFFF;

struct Violation {
    std::size_t row = 0;
    std::uint32_t usual = kNoValue; ///< Of the determined column.
    std::size_t agreeing = 0;
    std::size_t group = 0; ///< Of the determining column.
};

struct Dependency {
    std::size_t groups = 0;
    std::size_t rows = 0;
    std::vector<Violation> violations;
};

/// How far the groups determine `values` (by row), or nothing where they do not.
std::optional<Dependency> dependencyOf(const Groups& groups,
                                       const std::vector<std::uint32_t>& values,
                                       std::vector<std::size_t>& uses) {
    Dependency found;
    std::fill(uses.begin(), uses.end(), 0);
    std::size_t most = 0;
    std::size_t violated = 0;
    for (std::size_t group = 0; group + 1 < groups.starts.size(); ++group) {
        const std::size_t begin = groups.starts[group];
        const std::size_t end = groups.starts[group + 1];
        if (end - begin < kFewestInGroup) continue;
        std::uint32_t candidate = kNoValue; // Boyer and Moore's majority vote.
        std::size_t lead = 0;
        std::size_t size = 0;
        for (std::size_t i = begin; i < end; ++i) {
            // A row without a value speaks neither for nor against.
            const std::uint32_t value = values[groups.rows[i]];
            if (value == kNoValue) continue;
            ++size;
            if (lead == 0) candidate = value;
            // The vote leaves a value that has the majority if any has; whether it has is counted
            // below.
            lead += 1;
            if (value != candidate) lead -= 2;
        }
        if (size < kFewestInGroup) continue;
        // Counted even if the vote found none: then most of the group is a violation and the
        // dependency falls.
        std::size_t agreeing = 0;
        for (std::size_t i = begin; i < end; ++i) {
            if (values[groups.rows[i]] == candidate) ++agreeing;
        }
        ++found.groups;
        found.rows += size;
        // How often each value is the one that groups agree on, over all groups.
        uses[candidate] += agreeing;
        most = std::max(most, uses[candidate]);
        violated += size - agreeing;
        if (agreeing == size) continue;
        // Too much for a slip; kept bounded, as no such dependency is told.
        if (violated * kRowsPerViolation > values.size()) return std::nullopt;
        for (std::size_t i = begin; i < end; ++i) {
            const std::uint32_t value = values[groups.rows[i]];
            if (value == kNoValue || value == candidate) continue;
            found.violations.push_back({groups.rows[i], candidate, agreeing, group});
        }
    }
    if (found.groups < kFewestGroups || violated == 0 || violated * kRowsPerViolation > found.rows)
        return std::nullopt;
    // Where one value prevails everywhere the groups tell nothing.
    if (most * 4 > found.rows * 3) return std::nullopt;
    return found;
}

/// Whether the value, which stands nowhere else, is the usual one with a few letters changed.
bool isSlipOf(const Value& value, const Value& usual) {
    if (value.uses > 1 || usual.uses < kFewestInGroup || usual.text.size() > kLongestCompared)
        return false;
    // One letter in short values, a tenth of them in long ones.
    const std::size_t most = std::max<std::size_t>(1, usual.text.size() / kLettersPerSlip);
    if (distance(value.text, usual.text, most) > most) return false;
    // Figures of like size are no slips of each other.
    return !readNumber(value.text) || !readNumber(usual.text);
}

void judgeDependencies(const Sheet& sheet, const std::vector<CodedColumn>& columns,
                       std::set<CellKey>& told, FindingList& list) {
    const std::size_t rows = sheet.table.rows.size();
    struct Told {
        Violation violation;
        const CodedColumn* by = nullptr;
        std::size_t of = 0;
        bool strict = false;
        bool slip = false;
        std::size_t witnesses = 1;
    };
    std::map<CellKey, Told> violations;
    std::vector<const CodedColumn*> determined;
    for (const CodedColumn& column : columns) {
        if (determined.size() == kMostDetermined) break;
        // A column in which most values are different determines everything, and says nothing.
        const std::size_t cells = column.cells.size();
        if (cells < kFewestProfiled || column.values.size() < 2 || column.values.size() * 2 > cells)
            continue;
        determined.push_back(&column);
    }
    // By row, with a mark for none, so that a group finds its rows without a search. Rows times
    // columns of four bytes; the first 64 columns at most.
    std::vector<std::vector<std::uint32_t>> values;
    for (const CodedColumn* column : determined) {
        values.emplace_back(rows, kNoValue);
        for (const auto& [row, id] : column->cells) values.back()[row] = id;
    }
    // One for all dependencies, so that it is not allocated for each of some thousand pairs.
    std::vector<std::size_t> uses;
    for (std::size_t by = 0; by < determined.size() && by < kMostDeterminants; ++by) {
        const Groups groups = groupsOf(*determined[by]);
        // Rows that contradict one column in several others are of something else altogether.
        std::map<std::size_t, std::size_t> contradictions;
        std::vector<std::pair<CellKey, Told>> fresh;
        for (std::size_t of = 0; of < determined.size(); ++of) {
            if (of == by) continue;
            uses.resize(determined[of]->values.size());
            const auto dependency = dependencyOf(groups, values[of], uses);
            if (!dependency) continue;
            const bool strict =
                dependency->groups >= kManyGroups &&
                dependency->violations.size() * kRowsPerStrictViolation <= dependency->rows;
            for (const Violation& violation : dependency->violations) {
                ++contradictions[violation.row];
                fresh.push_back({{violation.row, determined[of]->column->index},
                                 {violation, determined[by], of, strict}});
            }
        }
        // A row is told by its first witness; later ones only count.
        for (auto& [key, entry] : fresh) {
            if (contradictions[key.first] > 1) continue;
            if (const auto known = violations.find(key); known != violations.end()) {
                ++known->second.witnesses;
                continue;
            }
            const Value& value = determined[entry.of]->values[values[entry.of][key.first]];
            const Value& usual = determined[entry.of]->values[entry.violation.usual];
            entry.slip = isSlipOf(value, usual);
            if (entry.strict || entry.slip) violations.emplace(key, entry);
        }
    }
    // Of two columns that contradict each other in a row the one that more columns speak against is
    // wrong, or else the right one: keys stand on the left.
    std::map<std::size_t, std::pair<std::size_t, std::size_t>> wrong; // By row: witnesses, column.
    for (const auto& [key, entry] : violations) {
        auto& most = wrong[key.first];
        most = std::max(most, {entry.witnesses, key.second});
    }
    for (const auto& [key, entry] : violations) {
        const bool certainSide = entry.witnesses > 1 || entry.by->column->index < key.second;
        if (!entry.slip && (!certainSide || wrong[key.first].second != key.second)) continue;
        if (!told.insert(key).second) continue;
        const CodedColumn& of = *determined[entry.of];
        const Value& value = of.values[values[entry.of][key.first]];
        const Value& usual = of.values[entry.violation.usual];
        const std::string place = cellPlace(key.first, *of.column);
        list.addAt(entry.slip ? kDependencyMedium : kDependencyLow, place, value.text,
                   quoted(value.text) + " in " + place + " stands beside " +
                       quoted(entry.by->values[entry.violation.group].text) + " of the " +
                       entry.by->column->place() + ", which has " + quoted(usual.text) + " in " +
                       std::to_string(entry.violation.agreeing) + " other rows.");
    }
}

// ---- times of day -------------------------------------------------------------------------------

/// How a cell with a time of day is written: "Dec 02, 7:10 p.m." as "M 9, 9:9 a.m.". Empty for
/// other cells.
std::string timeFormOf(std::string_view value) {
    if (value.size() > kLongestShaped) return {};
    // The form of a time of day is what stays when digits are one "9", months one "M", and both
    // halves of the day the same one. A cell without "9:99" is none.
    bool time = false;
    std::string form;
    for (std::size_t i = 0; i < value.size();) {
        const char c = value[i];
        if (text::isAsciiDigit(c)) {
            const std::size_t begin = i;
            while (i < value.size() && text::isAsciiDigit(value[i])) ++i;
            if (i - begin <= 2 && i + 2 < value.size() && value[i] == ':' &&
                text::isAsciiDigit(value[i + 1]) && text::isAsciiDigit(value[i + 2]))
                time = true;
            // A year of four digits is not written like one of two.
            form += i - begin > 2 ? 'Y' : '9';
            continue;
        }
        if (text::isAsciiLetter(c)) {
            const std::size_t begin = i;
            // Dots within "a.m." belong to the word; the last of a longer one does not.
            while (i < value.size() && (text::isAsciiLetter(value[i]) ||
                                        (value[i] == '.' && i - begin < 4 && i > begin)))
                ++i;
            std::string word(value.substr(begin, i - begin));
            const std::string lower = text::lowerAscii(word);
            if (lower[0] == 'p' && (lower == "p" || lower == "pm" || lower.starts_with("p.m")))
                word[0] = word[0] == 'P' ? 'A' : 'a';
            const bool half = lower == "a" || lower == "p" || lower == "am" || lower == "pm" ||
                              lower.starts_with("a.m") || lower.starts_with("p.m");
            form += half ? word : word.size() == 1 ? word : std::string("M");
            continue;
        }
        // Runs of blanks are one.
        if (c != ' ' || (!form.empty() && form.back() != ' ')) form += c;
        ++i;
    }
    if (!time) return {};
    // Hours and seconds come and go with the length of a duration.
    return form == "9:9:9" ? "9:9" : form;
}

void judgeTimes(const CodedColumn& column, std::set<CellKey>& told, FindingList& list) {
    struct Form {
        std::size_t uses = 0;
        std::string_view example;
    };
    std::map<std::string, Form> forms;
    std::vector<std::string> byValue;
    std::size_t times = 0;
    for (const Value& value : column.values) {
        byValue.push_back(timeFormOf(value.text));
        if (byValue.back().empty()) continue;
        times += value.uses;
        Form& form = forms[byValue.back()];
        form.uses += value.uses;
        if (form.example.empty()) form.example = value.text;
    }
    if (times < kFewestTimes || times * 5 < column.cells.size() * kTimesOfFive || forms.size() < 2)
        return;
    const auto usual = std::ranges::max_element(
        forms, [](const auto& a, const auto& b) { return a.second.uses < b.second.uses; });
    // No form prevails, so there is no stray: the mix itself is told, once.
    if (usual->second.uses * 3 < times * kAlikeOfThree) {
        std::string mix;
        std::size_t shown = 0;
        for (const auto& [form, tally] : forms) {
            // Four examples show the mix; evidence is bounded anyway.
            if (++shown > 4) break;
            if (!mix.empty()) mix += ", ";
            mix += std::to_string(tally.uses) + " like " + quoted(tally.example);
        }
        list.addAt(kMixedTimes, column.column->place(), mix,
                   "The " + column.column->place() + " writes its times in " +
                       std::to_string(forms.size()) + " forms: " + mix + ".");
        return;
    }
    for (const auto& [row, id] : column.cells) {
        if (byValue[id].empty() || byValue[id] == usual->first) continue;
        if (!told.emplace(row, column.column->index).second) continue;
        const Value& value = column.values[id];
        const std::string place = cellPlace(row, *column.column);
        list.addAt(kMixedTimes, place, value.text,
                   "The time " + quoted(value.text) + " in " + place + " is not written like the " +
                       std::to_string(usual->second.uses) + " others of the " +
                       column.column->place() + ", such as " + quoted(usual->second.example) + ".");
    }
}

// ---- percent signs and units --------------------------------------------------------------------

// By value: it is rearranged. Never empty, see the caller.
double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

void judgePercentSigns(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    if (!column.isNumeric()) return;
    std::array<std::vector<double>, 2> values; // Without the sign, and with it.
    for (const SheetCell& cell : column.cells) {
        // Zero has no size, and is written without a sign more often than other numbers.
        if (!sheet.isData(cell.row) || !cell.number || cell.number->value == 0) continue;
        // With a currency or unit of its own the column is no list of shares.
        if (!cell.number->currency.empty() || !cell.number->unit.empty()) return;
        values[cell.number->percent ? 1 : 0].push_back(std::abs(column.valueOf(*cell.number)));
    }
    const std::size_t all = values[0].size() + values[1].size();
    if (all < kFewestPercents || values[0].empty() || values[1].empty()) return;
    const bool signUsual = values[1].size() > values[0].size();
    // Half and half is a list of two kinds of figures.
    if (values[signUsual ? 1 : 0].size() * 5 < all * kUsualOfFive) return;
    // A list of several measures, each in a row of its own, has figures of several sizes.
    const double ratio = medianOf(values[0]) / medianOf(values[1]);
    if (ratio > kSameQuantity || ratio * kSameQuantity < 1) return;
    for (const SheetCell& cell : column.cells) {
        if (!sheet.isData(cell.row) || !cell.number || cell.number->value == 0) continue;
        if (cell.number->percent == signUsual) continue;
        const std::string place = cellPlace(cell.row, column);
        const std::string_view value = textOf(sheet, column, cell.row);
        list.addAt(kMixedPercent, place, value,
                   quoted(value) + " in " + place + (signUsual ? " lacks the" : " has a") +
                       " percent sign, which " + std::to_string(values[signUsual ? 1 : 0].size()) +
                       " of " + std::to_string(all) + " numbers of the " + column.place() +
                       (signUsual ? " have." : " do not have."));
    }
}

/// One name for the spellings of a unit; the text in small letters where it is no known one.
std::string unitNamed(std::string_view spelling) {
    constexpr std::array<std::array<std::string_view, 7>, 20> kUnits{{
        {"oz", "ounce", "ounces"},
        {"lb", "lbs", "pound", "pounds"},
        {"kg", "kgs", "kilo", "kilos", "kilogram", "kilograms"},
        {"g", "gr", "gram", "grams"},
        {"min", "mins", "minute", "minutes"},
        {"h", "hr", "hrs", "hour", "hours"},
        {"s", "sec", "secs", "second", "seconds"},
        {"km", "kilometer", "kilometers", "kilometre", "kilometres"},
        {"m", "meter", "meters", "metre", "metres"},
        {"cm", "centimeter", "centimeters", "centimetre", "centimetres"},
        {"mm", "millimeter", "millimeters", "millimetre", "millimetres"},
        {"in", "inch", "inches"},
        {"ft", "foot", "feet"},
        {"mi", "mile", "miles"},
        {"l", "ltr", "liter", "liters", "litre", "litres"},
        {"ml", "milliliter", "milliliters", "millilitre", "millilitres"},
        {"day", "days", "d"},
        {"week", "weeks", "wk", "wks"},
        {"month", "months", "mo", "mos"},
        {"year", "years", "yr", "yrs", "y"},
    }};
    // Case and a dot at the end are matters of spelling, not of the unit.
    std::string lower = text::lowerAscii(spelling);
    while (!lower.empty() && lower.back() == '.') lower.pop_back();
    for (const auto& unit : kUnits) {
        for (const std::string_view name : unit) {
            if (!name.empty() && name == lower) return std::string(unit[0]);
        }
    }
    return lower;
}

/// One and many of a unit are one spelling.
std::string withoutPlural(std::string unit) {
    // Only from four letters on: "ms" and "lbs" keep their ends.
    if (unit.size() > 3 && unit.back() == 's') unit.pop_back();
    return unit;
}

void judgeUnits(const CodedColumn& column, std::set<CellKey>& told, FindingList& list) {
    // Among numbers with a unit that is known, others are strays of another kind.
    if (column.cells.size() < kFewestMeasures || column.column->isNumeric()) return;
    struct Spelling {
        std::size_t uses = 0;
        std::string_view example;
    };
    std::map<std::string, std::map<std::string, Spelling>> units; // By name, then by spelling.
    std::vector<std::string> byValue;
    std::size_t measures = 0;
    for (const Value& value : column.values) {
        byValue.push_back(unitOf(value.text));
        if (byValue.back().empty()) continue;
        Spelling& spelling = units[unitNamed(byValue.back())][withoutPlural(byValue.back())];
        spelling.uses += value.uses;
        if (spelling.example.empty()) spelling.example = value.text;
        measures += value.uses;
    }
    // Fewer than four of five: the column holds something else, and some figures in it.
    if (measures * 5 < column.cells.size() * kTimesOfFive) return;
    for (const auto& [name, spellings] : units) {
        if (spellings.size() < 2) continue;
        std::size_t all = 0;
        for (const auto& [spelling, tally] : spellings) all += tally.uses;
        if (all < kFewestMeasures) continue;
        const auto usual = std::ranges::max_element(
            spellings, [](const auto& a, const auto& b) { return a.second.uses < b.second.uses; });
        if (usual->second.uses * 4 < all * kSpeltOfFour) {
            std::string mix;
            for (const auto& [spelling, tally] : spellings) {
                if (!mix.empty()) mix += ", ";
                mix += std::to_string(tally.uses) + " like " + quoted(tally.example);
            }
            list.addAt(kUnitSpellingMedium, column.column->place(), mix,
                       "The " + column.column->place() + " spells one unit in " +
                           std::to_string(spellings.size()) + " ways: " + mix + ".");
            continue;
        }
        for (const auto& [row, id] : column.cells) {
            if (byValue[id].empty() || unitNamed(byValue[id]) != name ||
                withoutPlural(byValue[id]) == usual->first)
                continue;
            if (!told.emplace(row, column.column->index).second) continue;
            const Value& value = column.values[id];
            const std::string place = cellPlace(row, *column.column);
            list.addAt(kUnitSpellingLow, place, value.text,
                       quoted(value.text) + " in " + place + " spells its unit unlike the " +
                           std::to_string(usual->second.uses) + " others of the " +
                           column.column->place() + ", such as " + quoted(usual->second.example) +
                           ".");
        }
    }
}

/// Several ways of saying that there is no value.
void judgeMissingMarks(const Sheet& sheet, const SheetColumn& column, FindingList& list) {
    std::map<std::string_view, std::size_t> marks;
    for (const SheetCell& cell : column.cells) {
        if (sheet.isData(cell.row) && cell.kind == CellKind::noValue)
            ++marks[textOf(sheet, column, cell.row)];
    }
    if (marks.size() < 2 || column.cells.size() < kFewestProfiled) return;
    std::string mix;
    for (const auto& [mark, uses] : marks) {
        if (!mix.empty()) mix += ", ";
        mix += std::to_string(uses) + " " + quoted(mark);
    }
    list.addAt(kMissingMarks, column.place(), mix,
               "The " + column.place() + " marks what is missing in " +
                   std::to_string(marks.size()) + " ways: " + shortened(mix) + ".");
}

} // namespace

void judgeProfiles(const Sheet& sheet, FindingList& list) {
    std::vector<CodedColumn> columns;
    // Those rules that look at a column as a whole need no numbering of its values.
    for (const SheetColumn& column : sheet.columns) {
        if (column.cells.empty()) continue;
        judgeMissingMarks(sheet, column, list);
        judgePercentSigns(sheet, column, list);
        CodedColumn values = coded(sheet, column);
        if (values.cells.size() >= kFewestTimes) columns.push_back(std::move(values));
    }
    // One slip is told once, by the rule that knows most of it. In the order of the calls below.
    std::set<CellKey> told;
    for (const CodedColumn& column : columns) {
        judgeTimes(column, told, list);
        judgeUnits(column, told, list);
        judgeNearDuplicates(column, told, list);
        judgePattern(column, told, list);
        judgeCapitals(column, told, list);
    }
    judgeDependencies(sheet, columns, told, list);
}

} // namespace trevix
