#include "critics/text/prose_languages.h"

#include "critics/language/language_teller.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace trevix {

namespace {

// Words; a shorter block is a heading, a label or a name, and has the language of the whole.
constexpr std::size_t kFewestWordsToTell = 8;
constexpr std::size_t kMostWordsAsked = 200; // Of dictionaries, where nothing else tells.
constexpr std::size_t kMostToldBytes = 16 * 1024;
// Percent of the words that the dictionary of the language knows, and by how many more than any
// other. Learners' English has 85 and more known words; a language that a neighbour is taken for
// has 20 to 40.
constexpr std::size_t kKnownShare = 50;
constexpr std::size_t kAheadBy = 20;
// Percent of the words; what is less is a quotation and needs no line in the coverage.
constexpr std::size_t kWorthSaying = 10;

/// The prose between two offsets, blanks for what is masked.
std::string plain(const ProseView& view, std::size_t begin, std::size_t end) {
    std::string text(view.masked().substr(begin, end - begin));
    std::replace(text.begin(), text.end(), kMasked, ' ');
    return text;
}

ToldLanguage byDictionaries(const ProseView& view, const DictionaryShelf& shelf) {
    const std::size_t asked = std::min(view.words.size(), kMostWordsAsked);
    ToldLanguage best;
    std::size_t most = 0;
    std::size_t next = 0;
    std::size_t counted = 0;
    for (const NaturalLanguage language : kSpelledLanguages) {
        const SpellingBooks& books = shelf.of(language);
        std::size_t known = 0;
        counted = 0;
        for (std::size_t i = 0; i < asked; ++i) {
            if (view.words[i].digits || view.words[i].letters < 2) continue;
            ++counted;
            if (books.know(view.wordText(i))) ++known;
        }
        if (known > most) {
            next = most;
            most = known;
            best = {language, std::string(name(language))};
        } else {
            next = std::max(next, known);
        }
    }
    const bool sure =
        most * 100 >= counted * kKnownShare && (most - next) * 100 >= counted * kAheadBy;
    const bool all = counted > 0 && most == counted && next < most;
    return counted > 0 && (sure || all) ? best : ToldLanguage();
}

/// Whether the words of a block speak for `own` rather than for `whole`, as far as both have
/// dictionaries: names and code make languages look like others.
bool knowsMore(const ProseView& view, const WordRange& range, const ToldLanguage& own,
               const ToldLanguage& whole, const LanguageTools& tools) {
    if (tools.shelf == nullptr) return true;
    const SpellingBooks& ours = tools.shelf->of(own.language);
    const SpellingBooks& theirs = tools.shelf->of(whole.language);
    if (whole.language == NaturalLanguage::unknown || theirs.books.empty()) return true;
    std::size_t asked = 0;
    std::size_t left = 0;
    std::size_t right = 0;
    for (std::size_t i = range.begin; i < range.end && asked < kMostWordsAsked; ++i) {
        if (view.words[i].digits || view.words[i].letters < 2) continue;
        ++asked;
        if (ours.know(view.wordText(i))) ++left;
        if (theirs.know(view.wordText(i))) ++right;
    }
    // Without a dictionary of its own, half of the words being unknown speaks for another language.
    return ours.books.empty() ? right * 2 < asked : left > right;
}

} // namespace

std::vector<WordRange> wordsOfBlocks(const ProseView& view) {
    std::vector<WordRange> ranges;
    ranges.reserve(view.prose.blocks.size());
    std::size_t word = 0;
    for (const Block& block : view.prose.blocks) {
        while (word < view.words.size() && view.words[word].offset < block.begin) ++word;
        WordRange range{word, word};
        while (range.end < view.words.size() && view.words[range.end].end() <= block.end) {
            ++range.end;
        }
        word = range.end;
        ranges.push_back(range);
    }
    return ranges;
}

ProseLanguages languagesOf(const ProseView& view, const LanguageTools& tools) {
    ProseLanguages languages;
    std::string whole;
    for (const Block& block : view.prose.blocks) {
        if (block.kind == BlockKind::table || block.begin >= block.end) continue;
        if (whole.size() >= kMostToldBytes) break;
        whole += plain(view, block.begin, std::min(block.end, block.begin + kMostToldBytes)) + "\n";
    }
    languages.whole = tellLanguage(whole);
    if (languages.whole.language == NaturalLanguage::unknown && tools.shelf != nullptr) {
        languages.whole = byDictionaries(view, *tools.shelf);
    }

    const std::vector<WordRange> ranges = wordsOfBlocks(view);
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        const Block& block = view.prose.blocks[i];
        ToldLanguage own;
        if (ranges[i].end - ranges[i].begin >= kFewestWordsToTell) {
            own = tellLanguage(
                plain(view, block.begin, std::min(block.end, block.begin + kMostToldBytes)));
        }
        const bool other = own.language != NaturalLanguage::unknown && own != languages.whole &&
                           knowsMore(view, ranges[i], own, languages.whole, tools);
        languages.blocks.push_back(other ? own : languages.whole);
    }
    return languages;
}

void noteLanguages(const ProseView& view, const ProseLanguages& languages,
                   const LanguageTools& tools, Coverage& coverage) {
    const std::vector<WordRange> ranges = wordsOfBlocks(view);
    std::map<std::string, std::pair<NaturalLanguage, std::size_t>> shares;
    std::size_t all = 0;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (view.prose.blocks[i].kind == BlockKind::table) continue;
        const std::size_t words = ranges[i].end - ranges[i].begin;
        const ToldLanguage& told = languages.blocks[i];
        auto& share = shares[told.name];
        share.first = told.language;
        share.second += words;
        all += words;
    }
    std::size_t known = 0;
    for (const auto& [shown, share] : shares) {
        const auto [language, words] = share;
        if (words == 0) continue;
        const bool worth = words * 100 >= all * kWorthSaying;
        if (language == NaturalLanguage::english && worth)
            coverage.checked(ownRules("grammar, English"));
        if (language == NaturalLanguage::unknown) {
            if (worth) coverage.missed({"spelling", "the language could not be told", ""});
            continue;
        }
        if (tools.shelf == nullptr) {
            if (worth) coverage.missed({"spelling, " + shown, "no dictionary is at hand", ""});
            continue;
        }
        const SpellingBooks& books = tools.shelf->of(language);
        if (!books.books.empty()) {
            known += words;
            if (!worth) continue;
            coverage.checked({tools.shelf->engine(), tools.shelf->version(),
                              "spelling, " + shown + " (" + books.names + ")"});
        } else if (worth) {
            coverage.missed({"spelling, " + shown, books.why, books.remedy});
        }
    }
    coverage.known = coverage.known || (tools.shelf != nullptr && known > 0 && known * 2 >= all);
}

} // namespace trevix
