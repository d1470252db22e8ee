#include "critics/text/prose_rules.h"

#include "critics/text/calendar.h"
#include "critics/text/english_words.h"
#include "critics/text/grammar_rules.h"
#include "critics/text/prose_languages.h"
#include "critics/text/spelling_rules.h"
#include "critics/text/technical_prose.h"
#include "critics/text/text_rule_table.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmpty = declared<WorkKind::text>("text.empty");
constexpr GradedRule kNearlyEmpty = declared<WorkKind::text>("text.nearly_empty");
constexpr GradedRule kDoubledWord = declared<WorkKind::text>("text.doubled_word", Severity::medium);
constexpr GradedRule kLongSentence = declared<WorkKind::text>("text.long_sentence");
constexpr GradedRule kRepeated =
    declared<WorkKind::text>("text.repeated_sentence", Severity::medium);
constexpr GradedRule kUnfinished = declared<WorkKind::text>("text.unfinished_sentence");
constexpr GradedRule kWeekday = declared<WorkKind::text>("text.weekday");
constexpr GradedRule kImpossibleDate = declared<WorkKind::text>("text.impossible_date");
constexpr GradedRule kDateOrder = declared<WorkKind::text>("text.date_order");

// Where these come from stands with the rules in text_rule_table.h.
constexpr std::size_t kMostWordsInSentence = 45;
constexpr std::size_t kFewestRepeatedWords = 8; // In a sentence that may not come twice.
// The same beside code: a reference describes like things in like words.
constexpr std::size_t kFewestRepeatedInManuals = 20;
// Bytes; shorter lines are lists or tables set with line breaks, where a word may stand twice.
constexpr std::size_t kProseLine = 30;

/// Words that sound sentences have twice in a row.
constexpr std::array<std::string_view, 35> kDoubledByRight = {
    "had",  "that",  "very", "no",    "bye",   "ha",     "so",   "knock", "blah",
    "bla",  "yada",  "tut",  "her",   "can",   "really", "many", "long",  "far",
    "hear", "there", "now",  "never", "die",   "der",    "das",  "den",   "dem",
    "sie",  "nous",  "vous", "dat",   "piano", "one",    "etc",  "hint"};

constexpr std::array<std::string_view, 24> kNeverLast = {
    "and",   "or",     "but",   "the",  "a",    "an",       "because", "which",
    "our",   "your",   "their", "its",  "my",   "than",     "and/or",  "whose",
    "while", "unless", "und",   "oder", "weil", "although", "et",      "every"};

constexpr std::array<std::string_view, 20> kChanges = {
    "moved",   "moves",   "move",    "moving",    "changed",     "change",    "changes",
    "shifted", "shift",   "brought", "pulled",    "advanced",    "corrected", "updated",
    "delayed", "slipped", "pushed",  "postponed", "rescheduled", "verschoben"};

/// Verbs that keep their "to" in place of a verb behind "what" and "as": "do what you have to to
/// win".
constexpr std::array<std::string_view, 7> kStandFor = {"have", "need",   "needs", "want",
                                                       "has",  "wanted", "had"};
constexpr std::array<std::string_view, 6> kAskFor = {"what",  "whatever", "as",
                                                     "which", "whom",     "that"};
constexpr std::size_t kClause = 6; // Words in which what is asked for stands before its verb.

using TextSet = std::unordered_set<std::string_view>;

/// The lists above, hashed once: every word of a text is asked for.
struct WordLists {
    TextSet doubledByRight{kDoubledByRight.begin(), kDoubledByRight.end()};
    TextSet neverLast{kNeverLast.begin(), kNeverLast.end()};
    TextSet changes{kChanges.begin(), kChanges.end()};
};

const WordLists& wordLists() {
    static const WordLists lists;
    return lists;
}

bool isIn(const TextSet& words, std::string_view text) {
    return words.count(text) > 0;
}

/// Only blanks, and at most one line break between two lines of running text.
bool onlyParted(const ProseView& view, const text::Word& left, const text::Word& right) {
    const std::string_view text = view.masked();
    if (right.offset - left.end() > 200) return false;
    const std::string_view gap = text.substr(left.end(), right.offset - left.end());
    if (gap == " " || gap == "\xC2\xA0") return true;
    const std::size_t lineBreak = gap.find('\n');
    if (lineBreak == std::string_view::npos) return false;
    if (gap.find_first_not_of(" \t\r\n") != std::string_view::npos) return false;
    if (gap.find('\n', lineBreak + 1) != std::string_view::npos) return false;
    const std::size_t line = view.source.lineAt(left.offset);
    return text::trimmed(view.source.line(line)).size() >= kProseLine;
}

std::uint64_t hashOf(std::string_view text) {
    std::uint64_t hash = 1469598103934665603ULL;
    bool blank = false;
    for (const char c : text) {
        if (c == ' ' || c == '\n' || c == '\t' || c == '\r') {
            blank = true;
            continue;
        }
        if (blank) hash = (hash ^ 0x20U) * 1099511628211ULL;
        blank = false;
        hash = (hash ^ static_cast<unsigned char>(text::lowerAscii(c))) * 1099511628211ULL;
    }
    return hash;
}

bool sameButForSpacing(std::string_view a, std::string_view b) {
    std::size_t i = 0;
    std::size_t j = 0;
    const auto blankAt = [](std::string_view text, std::size_t& at) {
        const std::size_t start = at;
        while (at < text.size() &&
               (text[at] == ' ' || text[at] == '\n' || text[at] == '\t' || text[at] == '\r')) {
            ++at;
        }
        return at > start;
    };
    while (i < a.size() && j < b.size()) {
        if (blankAt(a, i) != blankAt(b, j)) return false;
        if (i >= a.size() || j >= b.size()) break;
        if (text::lowerAscii(a[i++]) != text::lowerAscii(b[j++])) return false;
    }
    return i == a.size() && j == b.size();
}

void checkLongSentence(const Sentence& sentence, FindingList& findings) {
    if (sentence.words <= kMostWordsInSentence) return;
    findings.add(kLongSentence, sentence.begin, sentence.end - sentence.begin,
                 "is a sentence of " + std::to_string(sentence.words) + " words, more than the " +
                     std::to_string(kMostWordsInSentence) + " that a reader can hold together");
}

void checkRepeatedSentences(const ProseView& view, FindingList& findings) {
    const std::string_view text = view.masked();
    const auto textOf = [&](std::size_t i) {
        const Sentence& sentence = view.sentences[i];
        return text.substr(sentence.begin, sentence.end - sentence.begin);
    };
    std::unordered_map<std::uint64_t, std::size_t> first;
    constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::size_t previousOriginal = kNone;
    const std::size_t fewest = view.isTechnical() ? kFewestRepeatedInManuals : kFewestRepeatedWords;
    for (std::size_t i = 0; i < view.sentences.size(); ++i) {
        const std::string_view own = textOf(i);
        std::size_t original = kNone;
        const bool masked = own.find(kMasked) != std::string_view::npos;
        if (view.sentences[i].words >= fewest && !masked && own.back() != ':') {
            const auto [entry, added] = first.try_emplace(hashOf(own), i);
            if (!added && sameButForSpacing(textOf(entry->second), own)) original = entry->second;
        }
        // A repeated paragraph is one finding, not one for each of its sentences.
        const bool goesOn =
            original != kNone && previousOriginal != kNone && original == previousOriginal + 1;
        if (original != kNone && !goesOn) {
            findings.add(view.isTechnical() ? softened(kRepeated) : kRepeated,
                         view.sentences[i].begin, own.size(),
                         "stands word for word in " +
                             view.source.linePlace(view.sentences[original].begin) + " already");
        }
        previousOriginal = original;
    }
}

/// Bytes of blanks at the beginning of the line that holds the offset.
std::size_t indentAt(const ProseView& view, std::size_t offset) {
    const std::string_view line = view.source.line(view.source.lineAt(offset));
    return std::min(line.find_first_not_of(" \t"), line.size());
}

/// Whether what follows the block is set off as a quotation or an example is: by its indentation,
/// or as code.
bool isFollowedByExample(const ProseView& view, const Block& block, const Block& next) {
    if (indentAt(view, next.begin) > indentAt(view, block.begin)) return true;
    const std::string_view between = view.masked().substr(block.end, next.begin - block.end);
    return between.find(kMasked) != std::string_view::npos;
}

/// "for a while", "a little while": the noun.
bool isAWhile(const ProseView& view, std::size_t word) {
    if (word == 0 || view.wordText(word) != "while") return false;
    return text::isOneOf(text::lowerAscii(view.wordText(word - 1)),
                         std::array<std::string_view, 9>{"a", "long", "short", "little", "good",
                                                         "great", "the", "worth", "any"});
}

void checkUnfinishedSentences(const ProseView& view, FindingList& findings) {
    const std::string_view text = view.masked();
    for (std::size_t i = 0; i < view.sentences.size(); ++i) {
        const Sentence& sentence = view.sentences[i];
        const bool lastOfBlock =
            i + 1 == view.sentences.size() || view.sentences[i + 1].block != sentence.block;
        const Block& block = view.prose.blocks[sentence.block];
        if (!lastOfBlock || sentence.ended || sentence.words < 4) continue;
        if (block.kind == BlockKind::heading || text[block.begin] == '#') continue;
        const bool last = sentence.block + 1 == view.prose.blocks.size();
        // "one, two, and" may go on in the next item of a list.
        if (!last && block.kind == BlockKind::listItem) continue;
        if (!last) {
            const Block& next = view.prose.blocks[sentence.block + 1];
            if (next.kind == BlockKind::listItem || isFollowedByExample(view, block, next)) {
                continue;
            }
        }
        const auto after = std::upper_bound(
            view.words.begin(), view.words.end(), sentence.end,
            [](std::size_t offset, const text::Word& word) { return offset < word.end(); });
        if (after == view.words.begin()) continue;
        const text::Word& word = *(after - 1);
        const bool atEnd = word.end() == sentence.end && word.offset >= sentence.begin;
        if (isAWhile(view, static_cast<std::size_t>(after - view.words.begin()) - 1)) continue;
        if (atEnd &&
            isIn(wordLists().neverLast, text::lowerAscii(text.substr(word.offset, word.length))) &&
            !word.capitalised) {
            findings.add(kUnfinished, sentence.begin, sentence.end - sentence.begin,
                         "breaks off at “" + std::string(text.substr(word.offset, word.length)) +
                             "”");
        } else if (last && sentence.words > 6 && text[sentence.end - 1] == ',') {
            findings.add(kUnfinished, sentence.begin, sentence.end - sentence.begin,
                         "breaks off at a comma");
        }
    }
}

bool tellsAChange(const ProseView& view, const WrittenDate& date) {
    const auto at = std::lower_bound(
        view.words.begin(), view.words.end(), date.begin,
        [](const text::Word& word, std::size_t offset) { return word.offset < offset; });
    const auto count = std::min<std::ptrdiff_t>(8, at - view.words.begin());
    return std::any_of(at - count, at, [&](const text::Word& word) {
        return isIn(wordLists().changes,
                    text::lowerAscii(view.masked().substr(word.offset, word.length)));
    });
}

bool connectsRange(const ProseView& view, const WrittenDate& from, const WrittenDate& to) {
    if (to.begin < from.end || to.begin - from.end > 16) return false;
    const std::string_view gap = text::trimmed(view.masked().substr(from.end, to.begin - from.end));
    const std::string joint = text::lowerAscii(gap);
    constexpr std::array<std::string_view, 13> kJoints = {
        "to", "until", "till",  "through",  "thru", "–",      "—",
        "-",  "bis",   "up to", "jusqu'au", "au",   "bis zum"};
    if (std::find(kJoints.begin(), kJoints.end(), joint) != kJoints.end()) return true;
    if (joint != "and") return false;
    const std::size_t begin = from.begin > 16 ? from.begin - 16 : 0;
    const std::string before = text::lowerAscii(view.masked().substr(begin, from.begin - begin));
    return before.find("between") != std::string::npos;
}

bool endsBeforeStart(const WrittenDate& from, const WrittenDate& to) {
    if (from.year && to.year) {
        if (*from.year != *to.year) return *from.year > *to.year;
        return from.month != to.month ? from.month > to.month : from.day > to.day;
    }
    // Without both years, only days of one month can be compared: winter runs into the next year.
    return from.month == to.month && from.day > to.day && !from.year;
}

std::string inFigures(int year, int month, int day) {
    const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
    return std::to_string(year) + "-" + two(month) + "-" + two(day);
}

/// Whether a run of masked bytes holds something else than an address.
bool masksCode(std::string_view source, std::string_view masked) {
    for (std::size_t i = masked.find(kMasked); i != std::string_view::npos;
         i = masked.find(kMasked, i)) {
        std::size_t end = i;
        while (end < masked.size() && masked[end] == kMasked) ++end;
        const std::string_view run = source.substr(i, end - i);
        const bool address = run.find("://") != std::string_view::npos ||
                             run.find('@') != std::string_view::npos || run.starts_with("www.") ||
                             run.starts_with('>') || run.starts_with('<');
        if (!address) return true;
        i = end;
    }
    return false;
}

} // namespace

ProseView::ProseView(const SourceText& text, Prose parts)
    : source(text),
      prose(std::move(parts)),
      words(text::wordsIn(prose.masked, 0, prose.masked.size())),
      sentences(sentencesOf(prose)),
      m_technical(masksCode(source.text(), prose.masked) || isTechnicalProse(prose.masked, words)) {
}

bool ProseView::isPartedByLine(const text::Word& word) const {
    constexpr std::array<std::string_view, 3> kHyphens = {"-", "\u2010", "\u00AD"};
    constexpr std::size_t kMargin = 80; // Bytes of blanks in front of what goes on.
    const std::string_view text = masked();
    const auto endsLine = [&](std::size_t at) {
        at += at < text.size() && text[at] == '\r' ? 1U : 0U;
        return at < text.size() && text[at] == '\n';
    };
    std::size_t begin = word.offset;
    while (begin > 0 && word.offset - begin < kMargin &&
           (text[begin - 1] == ' ' || text[begin - 1] == '\t')) {
        --begin;
    }
    const bool leads = begin > 0 && text[begin - 1] == '\n';
    begin -= leads ? 1U : 0U;
    begin -= leads && begin > 0 && text[begin - 1] == '\r' ? 1U : 0U;
    return std::ranges::any_of(kHyphens, [&](std::string_view hyphen) {
        if (text.substr(word.end(), hyphen.size()) == hyphen &&
            endsLine(word.end() + hyphen.size()))
            return true;
        return leads && begin > hyphen.size() && text.substr(0, begin).ends_with(hyphen) &&
               text::isAsciiLetter(text[begin - hyphen.size() - 1]);
    });
}

std::string_view ProseView::wordText(std::size_t word) const {
    return masked().substr(words[word].offset, words[word].length);
}

Critique proseCritique(const ProseView& view) {
    Critique critique;
    critique.extent.words = view.words.size();
    critique.coverage.checked(ownRules("what was left behind in prose, dates, repetition"));
    return critique;
}

bool checkAmount(const ProseView& view, FindingList& findings) {
    const std::string_view text = text::trimmed(view.source.text());
    if (text.empty()) {
        findings.addWith(kEmpty, 0, "blanks only", "is all there is");
        return true;
    }
    const std::vector<text::Word> all =
        text::wordsIn(view.source.text(), 0, view.source.text().size());
    if (all.empty()) {
        findings.add(kEmpty, 0, view.source.text().size(), "is all there is, without one word");
        return true;
    }
    if (all.size() < 3 && text.size() < 20) {
        findings.add(kNearlyEmpty, 0, view.source.text().size(),
                     "is all there is, too little to judge");
    }
    return false;
}

/// "opt-in in", "headers_install INSTALL_PATH", ":param param:", "book\nbook.txt", "Colormap
/// colormap", what a line parts: one of the two belongs to something longer, or is a type and its
/// value.
bool isOfLongerName(const ProseView& view, const text::Word& left, const text::Word& right) {
    constexpr std::string_view kJoints = "-_/:@$.=%";
    const std::string_view text = view.masked();
    if (left.offset > 0 && kJoints.find(text[left.offset - 1]) != std::string_view::npos) {
        return true;
    }
    if (view.isPartedByLine(left)) return true;
    // "book.txt"
    if (right.end() + 1 < text.size() && text[right.end()] == '.' &&
        text::isAsciiWord(text[right.end() + 1])) {
        return true;
    }
    if (right.end() + 1 < text.size() &&
        std::string_view("-_/:=(").find(text[right.end()]) != std::string_view::npos &&
        text[right.end() + 1] > ' ') {
        return true;
    }
    return view.isTechnical() && left.capitalised != right.capitalised && left.offset > 1 &&
           text[left.offset - 1] == ' ' &&
           (text::isAsciiWord(text[left.offset - 2]) || text[left.offset - 2] == ',');
}

/// "the paper you referred to to write it", "do what you need to to stay dry".
bool endsClauseWithTo(const ProseView& view, std::size_t first) {
    if (first == 0) return false;
    const auto lower = [&](std::size_t i) {
        return text::lowerAscii(view.wordText(i).substr(0, 20));
    };
    const std::string verb = lower(first - 1);
    if (keepsTo(verb)) return true;
    if (!text::isOneOf(verb, kStandFor)) return false;
    for (std::size_t i = first - 1; i > 0 && first - i <= kClause; --i) {
        if (text::isOneOf(lower(i - 1), kAskFor)) return true;
    }
    return false;
}

/// "To record record profits": a verb, and a noun that is written alike and goes on. Of everyday
/// words ("to go go home") the second is a slip.
bool isVerbWithItsNoun(const ProseView& view, std::size_t first) {
    constexpr std::size_t kFewestLetters = 5; // Shorter words are everyday verbs.
    if (first == 0 || first + 2 >= view.words.size()) return false;
    if (view.words[first].letters < kFewestLetters) return false;
    const std::string next = text::lowerAscii(view.wordText(first + 2));
    return text::lowerAscii(view.wordText(first - 1)) == "to" &&
           onlyParted(view, view.words[first + 1], view.words[first + 2]) &&
           (classesOf(next) & (kFunction | kBe | kModal | kDeterminer | kObject)) == 0;
}

void checkDoubledWords(const ProseView& view, FindingList& findings) {
    struct Doubled {
        std::size_t begin;
        std::size_t end;
        bool soft;
    };
    std::vector<Doubled> found;
    for (std::size_t i = 0; i + 1 < view.words.size(); ++i) {
        const text::Word& left = view.words[i];
        const text::Word& right = view.words[i + 1];
        if (left.digits || right.digits || left.length > 60) continue;
        if (!onlyParted(view, left, right)) continue;
        const std::string_view own = view.wordText(i);
        if (!text::sameWord(own, view.wordText(i + 1))) continue;
        const std::string lower = text::lowerAscii(own);
        if (isIn(wordLists().doubledByRight, lower)) continue;
        if (left.letters == 1 && lower != "a" && lower != "i") continue;
        if (isOfLongerName(view, left, right)) continue;
        // Names such as "Walla Walla"; two capitals at the start of a sentence are rare.
        if (left.capitalised && right.capitalised && lower != "the" && lower != "a") continue;
        // Three in a row are meant.
        const bool third =
            (i + 2 < view.words.size() && text::sameWord(own, view.wordText(i + 2)) &&
             onlyParted(view, right, view.words[i + 2]) && left.length > 3) ||
            (i > 0 && text::sameWord(own, view.wordText(i - 1)) && left.length > 3 &&
             onlyParted(view, view.words[i - 1], left));
        if (third || (lower == "to" && endsClauseWithTo(view, i))) continue;
        const bool little = (classesOf(lower) & (kFunction | kBe | kModal | kDeterminer)) != 0;
        const bool soft = !little && (view.isTechnical() || isVerbWithItsNoun(view, i));
        found.push_back({left.offset, right.end(), soft});
    }
    const auto grave = std::ranges::count(found, false, &Doubled::soft);
    const bool few = view.words.size() >= kWordsOfACertainSlip * static_cast<std::size_t>(grave);
    for (const Doubled& each : found) {
        findings.add(each.soft || few ? softened(kDoubledWord) : kDoubledWord, each.begin,
                     each.end - each.begin, "says the same word twice");
    }
}

void checkSentences(const ProseView& view, FindingList& findings) {
    for (const Sentence& sentence : view.sentences) checkLongSentence(sentence, findings);
    checkRepeatedSentences(view, findings);
    checkUnfinishedSentences(view, findings);
}

void checkDates(const ProseView& view, FindingList& findings) {
    const std::vector<WrittenDate> dates = findDates(view.masked(), view.words);
    for (std::size_t i = 0; i < dates.size(); ++i) {
        const WrittenDate& date = dates[i];
        const std::size_t length = date.end - date.begin;
        if (!date.possible) {
            findings.add(kImpossibleDate, date.begin, length, "is a date that does not exist");
            continue;
        }
        if (date.weekday && date.year) {
            const int actual = weekdayOf(*date.year, date.month, date.day);
            if (actual != *date.weekday) {
                findings.add(kWeekday, date.begin, length,
                             "names the wrong day of the week: " +
                                 inFigures(*date.year, date.month, date.day) + " is a " +
                                 std::string(weekdayName(actual)));
            }
        }
        if (date.firstDay && *date.firstDay > date.day && !tellsAChange(view, date)) {
            findings.add(kDateOrder, date.begin, length, "ends before it starts");
        }
        if (i + 1 == dates.size() || !dates[i + 1].possible) continue;
        const WrittenDate& next = dates[i + 1];
        if (connectsRange(view, date, next) && endsBeforeStart(date, next) &&
            !tellsAChange(view, date)) {
            findings.add(kDateOrder, date.begin, next.end - date.begin, "ends before it starts");
        }
    }
}

bool isCasual(const ProseView& view) {
    return std::none_of(
        view.sentences.begin(), view.sentences.end(), [&](const Sentence& sentence) {
            std::string_view own =
                view.masked().substr(sentence.begin, sentence.end - sentence.begin);
            constexpr std::string_view kBehind = " \t\r\n\"')]*_";
            own = own.substr(0, own.find_last_not_of(kBehind) + 1);
            for (const std::string_view quote : {"”", "’"}) {
                if (own.ends_with(quote)) own.remove_suffix(quote.size());
            }
            return own.ends_with('.') && !own.ends_with(".."); // Dots leave something open.
        });
}

void warmUpWordLists() {
    (void)wordLists();
}

void checkLanguage(const ProseView& view, const LanguageTools& tools, FindingList& findings,
                   Coverage& coverage) {
    const ProseLanguages languages = languagesOf(view, tools);
    LanguageSlips slips;
    const std::set<std::size_t> spokenOf = checkGrammar(view, languages, tools.shelf.get(), slips);
    checkSpelling(view, languages, tools, spokenOf, slips, coverage);
    slips.weighInto(findings, view.words.size());
    noteLanguages(view, languages, tools, coverage);
}

void checkProse(const ProseView& view, FindingList& findings) {
    checkPlaceholders(view, findings);
    checkEditingMarks(view, findings);
    checkDoubledWords(view, findings);
    checkPairs(view, findings);
    checkShouting(view, findings);
    checkSpacing(view, findings);
    checkSentences(view, findings);
    checkDates(view, findings);
}

} // namespace trevix
