#include "critics/text/grammar_rules.h"

#include "critics/text/text_rule_table.h"

#include <algorithm>

namespace trevix {

namespace {

// Words; in fewer there is no sentence to be wrong.
constexpr std::size_t kFewestWords = 2;
// Words; what is longer is a list or no prose, and is read in pieces of this length.
constexpr std::size_t kMostWords = 400;
// Words; shorter notes begin as they like.
constexpr std::size_t kFewestForStart = 5;
// Bytes from the begin of a sentence in which its dots stand.
constexpr std::size_t kDotsWithin = 8;

constexpr GradedRule kCapital = declared<WorkKind::text>("text.capital", Severity::medium);

/// A title, a name or a shout: most of its words have capitals.
bool isTitle(const EnglishSentence& sentence) {
    std::size_t capitals = 0;
    for (std::size_t i = 0; i < sentence.size(); ++i) capitals += sentence.capital(i) ? 1U : 0U;
    return sentence.size() >= 3 ? capitals * 2 > sentence.size() + 1 : capitals == sentence.size();
}

/// Whether the block ends as a sentence does, so that the next one begins anew.
bool endsSentence(const ProseView& view, std::size_t block) {
    const Block& own = view.prose.blocks[block];
    const std::string_view content =
        text::trimmed(view.masked().substr(own.begin, own.end - own.begin));
    return !content.empty() &&
           (content.back() == '.' || content.back() == '!' || content.back() == '?');
}

bool beginsWithDots(const ProseView& view, std::size_t offset) {
    const std::string_view rest = text::trimmed(view.masked().substr(offset, kDotsWithin));
    return rest.starts_with("..") || rest.starts_with("\u2026");
}

/// A sentence that begins with a small letter. Names may, so the word must be a common one.
void checkSmallStart(const EnglishSentence& sentence, bool goesOn, GrammarReport& report) {
    if (sentence.size() < kFewestForStart || sentence.capital(0) || sentence.digits(0)) return;
    if (goesOn) return; // "... and so it ended": the beginning was left out.
    constexpr std::uint32_t kCommon = kFunction | kDeterminer | kPlural | kSingular | kAdjective |
                                      kIng | kPureBase | kObject | kMass;
    if (!sentence.has(0, kCommon) || sentence.gap(1) != ' ') {
        if (!sentence.has(0, kCommon) || sentence.gap(1) != ',') return;
    }
    report.add(report.forHabit(kCapital), sentence, 0, 0, "begins a sentence with a small letter");
}

/// "Likewise, The theory": a little word with a capital behind a comma, where nothing is quoted and
/// no name goes on.
void checkInnerCapitals(const ProseView& view, const EnglishSentence& sentence,
                        GrammarReport& report) {
    for (std::size_t i = 1; i + 1 < sentence.size(); ++i) {
        if (sentence.gap(i) != ',' || !sentence.capital(i) || sentence.allUpper(i)) continue;
        if (!sentence.is(i, {"the", "this",  "that",  "these", "those", "when",  "if",    "because",
                             "but", "we",    "they",  "he",    "she",   "it",    "there", "my",
                             "our", "their", "which", "who",   "where", "while", "so"})) {
            continue;
        }
        if (!sentence.glued(i + 1) || sentence.capital(i + 1)) continue;
        // A quotation begins with a capital.
        if (view.masked()[sentence.offset(i) - 1] != ' ') continue;
        // Speech without its marks begins like that; so do the entries of a list.
        if (sentence.before(i, {"said", "says", "say", "saying", "asked", "thought", "wrote",
                                "replied", "told", "answered", "think", "thinking", "reads"}))
            continue;
        if (sentence.capital(i - 1) && i > 1) continue;
        report.add(kCapital, sentence, i, i, "has a capital inside a sentence");
    }
}

} // namespace

void GrammarReport::add(GradedRule rule, const EnglishSentence& sentence, std::size_t first,
                        std::size_t last, const std::string& says) {
    last = std::min(last, sentence.size() - 1);
    for (std::size_t i = first; i <= last; ++i) {
        if (m_spokenOf.contains(sentence.offset(i))) return;
    }
    for (std::size_t i = first; i <= last; ++i) m_spokenOf.insert(sentence.offset(i));
    m_slips.add(rule, sentence.offset(first), sentence.length(first, last), says);
}

std::set<std::size_t> checkGrammar(const ProseView& view, const ProseLanguages& languages,
                                   const DictionaryShelf* shelf, LanguageSlips& slips) {
    OpenWords open(shelf);
    const bool technical = view.isTechnical();
    GrammarReport report(slips, technical, isCasual(view));
    std::size_t word = 0;
    for (const Sentence& sentence : view.sentences) {
        while (word < view.words.size() && view.words[word].offset < sentence.begin) ++word;
        std::size_t last = word;
        while (last < view.words.size() && view.words[last].end() <= sentence.end) ++last;
        const std::size_t begin = word;
        word = last;
        if (languages.blocks[sentence.block].language != NaturalLanguage::english) continue;
        const BlockKind kind = view.prose.blocks[sentence.block].kind;
        if (kind == BlockKind::heading || kind == BlockKind::table) continue;
        for (std::size_t at = begin; at < last; at += kMostWords) {
            const EnglishSentence own(view, at, std::min(last, at + kMostWords), open);
            if (own.size() < kFewestWords || isTitle(own)) continue;
            const bool whole = sentence.ended && kind == BlockKind::paragraph;
            if (whole && at == begin && sentence.begin == view.prose.blocks[sentence.block].begin &&
                !technical && (sentence.block == 0 || endsSentence(view, sentence.block - 1))) {
                checkSmallStart(own, beginsWithDots(view, sentence.begin), report);
            }
            if (whole && !technical) checkInnerCapitals(view, own, report);
            checkConfusedWords(own, report);
            checkUsage(own, report);
            checkVerbForms(own, report);
            checkAgreement(own, report);
            checkComparison(own, report);
            checkNumber(own, report);
            checkArticles(own, whole, report);
            checkWordFrames(own, report);
        }
    }
    return report.spokenOf();
}

} // namespace trevix
