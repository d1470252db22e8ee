#include "critics/text/word_frames.h"

#include "critics/text/frame_table.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <vector>

namespace trevix {

namespace {

constexpr std::size_t kNoMatch = static_cast<std::size_t>(-1);

// Above those of english_words.h.
/// "wanted", "configured": by its ending, where that is no accident.
constexpr std::uint64_t kEndsInEd = std::uint64_t{1} << 35U;
/// "crazier".
constexpr std::uint64_t kEndsInIer = std::uint64_t{1} << 34U;
constexpr std::uint64_t kNumber = std::uint64_t{1} << 33U;
constexpr std::uint64_t kAnything = std::uint64_t{1} << 32U;

struct WordSort {
    std::string_view name;
    std::uint64_t classes;
    std::string_view words; ///< Those that belong to it beside the classes, parted by bars.
};

constexpr std::array kWordSorts = {
    WordSort{"@any", kAnything, ""},
    WordSort{"@adj", kAdjective, ""},
    WordSort{"@adv", kAdverb, ""},
    WordSort{"@base", kPureBase, ""},
    WordSort{"@verb", kBase, "be|have|do"},
    WordSort{"@ing", kIng, "working|using|testing|looking|trying|running|reading|talking|starting"},
    WordSort{"@past", kPast, ""},
    WordSort{"@ed", kEndsInEd, ""},
    WordSort{"@third", kThird, ""},
    WordSort{"@thirds", kAnyThird, ""},
    WordSort{"@comp", kComparative | kEndsInIer, "simpler"},
    WordSort{"@sup", kSuperlative, ""},
    WordSort{"@noun", kSingular | kPlural | kMass, ""},
    WordSort{"@mass", kMass, ""},
    WordSort{"@one", kSingular, ""},
    WordSort{"@many", kPlural, ""},
    WordSort{"@modal", kModal, ""},
    WordSort{"@det", kDeterminer, ""},
    WordSort{"@prep", kPreposition, ""},
    WordSort{"@number", kNumber, "two|three|four|five|six|seven|eight|nine|ten|twenty"},
    WordSort{"@subj", 0, "i|you|he|she|it|we|they"},
    WordSort{"@obj", 0, "me|you|him|her|it|us|them"},
    WordSort{"@poss", 0, "my|your|his|her|its|our|their"},
    WordSort{"@self", 0,
             "myself|yourself|himself|herself|itself|ourselves|yourselves|themselves|oneself"},
    WordSort{"@measure", kMeasure, ""},
    WordSort{"@be", 0, "am|is|are|was|were"},
    WordSort{"@being", 0,
             "am|is|are|was|were|be|been|i'm|you're|he's|she's|it's|we're|they're|that's|isn't|"
             "aren't|wasn't|weren't"},
};

struct Item {
    enum class Kind { word, maybe, notNext, notBefore, mark, end, stop };
    Kind kind = Kind::word;
    std::uint64_t classes = 0;
    std::vector<std::string_view> words;
};

void takeWord(Item& item, std::string_view word) {
    if (!word.starts_with('@')) {
        item.words.push_back(word);
        return;
    }
    const auto sort = std::ranges::find(kWordSorts, word, &WordSort::name);
    if (sort == kWordSorts.end()) return;
    item.classes |= sort->classes;
    std::string_view words = sort->words;
    while (!words.empty()) {
        const std::size_t bar = std::min(words.find('|'), words.size());
        item.words.push_back(words.substr(0, bar));
        words.remove_prefix(std::min(bar + 1, words.size()));
    }
}

Item itemOf(std::string_view written) {
    Item item;
    if (written == "@mark") return {Item::Kind::mark, 0, {}};
    if (written == "@end") return {Item::Kind::end, 0, {}};
    if (written == "@stop") return {Item::Kind::stop, 0, {}};
    if (written.starts_with('-')) item.kind = Item::Kind::notNext;
    if (written.starts_with('^')) item.kind = Item::Kind::notBefore;
    if (item.kind != Item::Kind::word) written.remove_prefix(1);
    if (written.ends_with('?')) {
        item.kind = Item::Kind::maybe;
        written.remove_suffix(1);
    }
    while (!written.empty()) {
        const std::size_t bar = std::min(written.find('|'), written.size());
        takeWord(item, written.substr(0, bar));
        written.remove_prefix(std::min(bar + 1, written.size()));
    }
    return item;
}

struct Compiled {
    const WordFrame* frame = nullptr;
    std::vector<Item> items;
};

bool endsInEd(std::string_view word) {
    constexpr std::size_t kShortest = 5;
    constexpr std::array<std::string_view, 10> kOthers = {"embed",   "hundred", "sacred", "naked",
                                                          "shred",   "kindred", "wicked", "rugged",
                                                          "crooked", "hatred"};
    return word.size() >= kShortest && word.ends_with("ed") && !word.ends_with("eed") &&
           std::ranges::find(kOthers, word) == kOthers.end();
}

bool endsInIer(std::string_view word) {
    constexpr std::size_t kShortest = 6;
    constexpr std::array<std::string_view, 10> kOthers = {
        "barrier", "carrier", "soldier", "courier", "frontier",
        "premier", "cashier", "terrier", "earlier", "modifier"};
    return word.size() >= kShortest && word.ends_with("ier") && !word.ends_with("fier") &&
           std::ranges::find(kOthers, word) == kOthers.end();
}

bool fits(const EnglishSentence& s, std::size_t i, const Item& item) {
    if (i >= s.size()) return false;
    if (std::ranges::find(item.words, s.word(i)) != item.words.end()) return true;
    if ((item.classes & kAnything) != 0) return true;
    if ((item.classes & kNumber) != 0 && s.digits(i)) return true;
    if ((item.classes & kEndsInEd) != 0 && endsInEd(s.word(i)) && !s.has(i, kAdjective | kBase)) {
        return true;
    }
    if ((item.classes & kEndsInIer) != 0 && endsInIer(s.word(i))) return true;
    return s.has(i, static_cast<std::uint32_t>(item.classes));
}

bool markBefore(const EnglishSentence& s, std::size_t i) {
    return i == 0 || i >= s.size() || s.gap(i) != ' ';
}

/// "time-consuming", "get_name": the word goes on, and is another.
bool goesOn(const EnglishSentence& s, std::size_t i) {
    constexpr std::string_view kJoints = "-_/=@";
    return i < s.size() && kJoints.find(s.gap(i)) != std::string_view::npos;
}

/// The index behind the last word that the items from `k` on take, from `at` on.
std::size_t behind(const EnglishSentence& s, std::size_t first, std::size_t at,
                   const std::vector<Item>& items, std::size_t k) {
    if (k == items.size()) return at;
    const Item& item = items[k];
    const bool joined = at == first || s.glued(at);
    switch (item.kind) {
    case Item::Kind::word:
        return joined && fits(s, at, item) ? behind(s, first, at + 1, items, k + 1) : kNoMatch;
    case Item::Kind::maybe: {
        if (joined && fits(s, at, item)) {
            const std::size_t taken = behind(s, first, at + 1, items, k + 1);
            if (taken != kNoMatch) return taken;
        }
        return behind(s, first, at, items, k + 1);
    }
    case Item::Kind::notNext:
        if (at < s.size() && s.glued(at) && fits(s, at, item)) return kNoMatch;
        break;
    case Item::Kind::notBefore:
        if (first > 0 && s.glued(first) && fits(s, first - 1, item)) return kNoMatch;
        break;
    case Item::Kind::mark:
        if (!markBefore(s, at)) return kNoMatch;
        break;
    case Item::Kind::end:
        if (at == 0 || !s.endsPhrase(at - 1)) return kNoMatch;
        break;
    case Item::Kind::stop:
        if (!markBefore(s, at)) return kNoMatch;
        break;
    }
    return behind(s, first, at, items, k + 1);
}

/// The frames by the words that they can begin with; those that begin with a class stand apart.
struct Frames {
    Frames() {
        for (const WordFrame& frame : wordFrames()) {
            Compiled compiled{&frame, {}};
            std::string_view rest = frame.words;
            while (!rest.empty()) {
                const std::size_t blank = std::min(rest.find(' '), rest.size());
                compiled.items.push_back(itemOf(rest.substr(0, blank)));
                rest.remove_prefix(std::min(blank + 1, rest.size()));
            }
            all.push_back(std::move(compiled));
        }
        for (std::size_t n = 0; n < all.size(); ++n) addStarts(n);
    }

    void addStarts(std::size_t n) {
        for (const Item& item : all[n].items) {
            if (item.kind != Item::Kind::word && item.kind != Item::Kind::maybe) continue;
            if (item.classes != 0) {
                anywhere.push_back(n);
                return;
            }
            for (const std::string_view word : item.words) byFirst[word].push_back(n);
            if (item.kind == Item::Kind::word) return;
        }
    }

    std::vector<Compiled> all;
    std::unordered_map<std::string_view, std::vector<std::size_t>> byFirst;
    std::vector<std::size_t> anywhere;
};

const Frames& frames() {
    static const Frames made;
    return made;
}

} // namespace

std::span<const WordFrame> wordFrames() {
    return kWordFrames;
}

bool isWellFormed(const WordFrame& frame) {
    bool takes = false;
    std::string_view rest = frame.words;
    while (!rest.empty()) {
        const std::size_t blank = std::min(rest.find(' '), rest.size());
        const std::string_view written = rest.substr(0, blank);
        const Item item = itemOf(written);
        const bool empty = item.words.empty() && item.classes == 0;
        const bool place = item.kind == Item::Kind::mark || item.kind == Item::Kind::end ||
                           item.kind == Item::Kind::stop;
        const auto classes = static_cast<std::size_t>(std::ranges::count(written, '@'));
        std::size_t known = place ? 1 : 0;
        for (const WordSort& sort : kWordSorts) {
            // The longest name of a class ends at a bar, a question mark or the end.
            for (std::size_t at = written.find(sort.name); at != std::string_view::npos;
                 at = written.find(sort.name, at + 1)) {
                const std::size_t end = at + sort.name.size();
                known += end == written.size() || written[end] == '|' || written[end] == '?';
            }
        }
        // A text's words are parted at hyphens too.
        const bool fused = written.find('-', 1) != std::string_view::npos;
        if ((empty && !place) || known != classes || fused) return false;
        takes = takes || item.kind == Item::Kind::word;
        rest.remove_prefix(std::min(blank + 1, rest.size()));
    }
    return takes;
}

std::optional<FrameMatch> frameAt(const EnglishSentence& s, std::size_t i) {
    const auto tried = [&](std::size_t n) -> std::optional<FrameMatch> {
        const Compiled& compiled = frames().all[n];
        const std::size_t end = behind(s, i, i, compiled.items, 0);
        if (end == kNoMatch || end == i || goesOn(s, end)) return std::nullopt;
        return FrameMatch{compiled.frame, i, end - 1};
    };
    if (const auto found = frames().byFirst.find(s.word(i)); found != frames().byFirst.end()) {
        for (const std::size_t n : found->second) {
            if (auto match = tried(n)) return match;
        }
    }
    for (const std::size_t n : frames().anywhere) {
        if (auto match = tried(n)) return match;
    }
    return std::nullopt;
}

} // namespace trevix
