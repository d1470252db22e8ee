// Headings, lists, tables, unclosed parts and spellings.

#include "critics/document/document_rule_table.h"
#include "critics/document/document_rules.h"
#include "critics/text/language_slips.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kHeadingOrder =
    declared<WorkKind::document>("document.heading_order", Severity::medium);
constexpr GradedRule kSecondTitle = declared<WorkKind::document>("document.second_title");
constexpr GradedRule kDuplicateHeading = declared<WorkKind::document>("document.duplicate_heading");
constexpr GradedRule kEmptyHeading = declared<WorkKind::document>("document.empty_heading");
constexpr GradedRule kGluedHeading = declared<WorkKind::document>("document.glued_heading");
constexpr GradedRule kEmptySection = declared<WorkKind::document>("document.empty_section");
constexpr GradedRule kListOrder = declared<WorkKind::document>("document.list_order");
constexpr GradedRule kTableColumns =
    declared<WorkKind::document>("document.table_columns", Severity::medium);
constexpr GradedRule kUnclosedFence = declared<WorkKind::document>("document.unclosed_code");
constexpr GradedRule kUnclosedComment = declared<WorkKind::document>("document.unclosed_comment");
constexpr GradedRule kSpelling = declared<WorkKind::document>("document.spelling_mix");

// Marks of emphasis and code do not make another heading.
std::string headingKey(std::string_view text) {
    std::string key;
    for (const char c : text) {
        if (c == '*' || c == '`' || c == '_') continue;
        key += text::lowerAscii(c);
    }
    return std::string(text::trimmed(key));
}

/// For each heading whether something stands below it and in front of the next one.
std::vector<bool> haveContent(const DocumentView& document) {
    const auto& headings = document.outline.headings;
    const auto& lines = document.outline.lines;
    std::vector<bool> content;
    for (std::size_t i = 0; i < headings.size(); ++i) {
        const std::size_t end = i + 1 < headings.size() ? headings[i + 1].line : lines.size();
        const std::size_t begin = std::min(headings[i].line, end);
        content.push_back(
            std::any_of(lines.begin() + static_cast<std::ptrdiff_t>(begin),
                        lines.begin() + static_cast<std::ptrdiff_t>(end), [](LineKind kind) {
                            return kind != LineKind::blank && kind != LineKind::heading &&
                                   kind != LineKind::rule && kind != LineKind::definition;
                        }));
    }
    return content;
}

/// Words of a heading; fewer name a section.
constexpr std::size_t kFewestOfSentence = 5;

/// A heading that stands too deep, and the level of the one above it.
struct Skip {
    std::size_t heading = 0; ///< Index.
    int above = 0;
};

/// Whether it is the second line of a title: a sentence right below it.
bool isTagline(const DocumentView& document, const Skip& skip, const std::vector<bool>& content) {
    if (skip.heading != 1 || skip.above != 1 || content[0]) return false;
    const Heading& heading = document.outline.headings[1];
    return text::wordsIn(document.source.text(), heading.begin, heading.end).size() >=
           kFewestOfSentence;
}

using LevelCounts = std::array<std::size_t, 7>; ///< Headings of each level.

/// Whether the levels between are nowhere in the document, which has several headings of the lower
/// one: then a size was chosen, and the outline lacks nothing.
bool isChosenSize(const LevelCounts& counts, int above, int level) {
    constexpr std::size_t kSeveral = 3;
    const auto begin = counts.begin() + above + 1;
    const auto end = counts.begin() + level;
    return counts[static_cast<std::size_t>(level)] >= kSeveral &&
           std::all_of(begin, end, [](std::size_t count) { return count == 0; });
}

void checkLevels(const DocumentView& document, const std::vector<bool>& content,
                 FindingList& findings) {
    const auto& headings = document.outline.headings;
    // How many there are of each level has to be known before the first is judged.
    LevelCounts counts{};
    for (const Heading& heading : headings) ++counts[static_cast<std::size_t>(heading.level)];
    const std::size_t titles = counts[1];
    // Where every chapter is of the first level, none of them is a second title; a chapter has
    // something in it.
    const bool chapters = titles > 2 || (titles == headings.size() && content[0]);
    bool titled = false;
    std::vector<Skip> skips;
    for (std::size_t i = 0; i < headings.size(); ++i) {
        const Heading& heading = headings[i];
        const std::size_t length = heading.end - heading.begin;
        if (heading.level == 1 && titled && !chapters) {
            findings.add(kSecondTitle, heading.begin, length, "is a second title of the document");
        }
        titled = titled || heading.level == 1;
        // A title in the front matter is the heading above all others.
        if (i == 0 && !document.outline.frontTitle) continue;
        // The first heading is measured by the title of the front matter.
        const int above = i == 0 ? 1 : headings[i - 1].level;
        if (heading.level <= above + 1 || length == 0) continue; // Told as wordless.
        skips.push_back({i, above});
    }
    // Like a slip that is alone in a page; code and tables are pages of the document too.
    constexpr std::size_t kSoundForEach = 8;
    const std::string_view text = document.source.text();
    const bool rare = headings.size() >= kSoundForEach * skips.size() ||
                      areFew(skips.size(), text::wordsIn(text, 0, text.size()).size());
    for (const Skip& skip : skips) {
        const Heading& heading = headings[skip.heading];
        const bool soft = rare || isChosenSize(counts, skip.above, heading.level) ||
                          isTagline(document, skip, content);
        findings.add(soft ? softened(kHeadingOrder) : kHeadingOrder, heading.begin,
                     heading.end - heading.begin,
                     "is a heading of level " + std::to_string(heading.level) +
                         " right below one of level " + std::to_string(skip.above));
    }
}

bool hasWords(const DocumentView& document, const Heading& heading) {
    const std::string_view text =
        document.source.text().substr(heading.begin, heading.end - heading.begin);
    return std::any_of(text.begin(), text.end(), [](char c) {
        return text::isAsciiWord(c) || static_cast<unsigned char>(c) >= 0x80;
    });
}

/// Whether the line beside this one begins with the same mark: comments of a configuration.
bool standsAmongComments(const DocumentView& document, const Heading& heading) {
    const auto begins = [&](std::size_t line) {
        const std::string_view own = text::trimmed(document.source.line(line));
        return own.starts_with("# ") || own == "#";
    };
    if (!begins(heading.line)) return false;
    return (heading.line > 0 && begins(heading.line - 1)) ||
           (heading.line + 1 < document.source.lineCount() && begins(heading.line + 1));
}

/// Whether the words are the heading of a section. "# backup --all /srv" is a line for a shell, and
/// "# -*- mode -*-" one for an editor; in a text without other marks both look like headings.
bool namesSection(const DocumentView& document, const Heading& heading) {
    if (!hasWords(document, heading)) return false;
    const std::string_view text =
        document.source.text().substr(heading.begin, heading.end - heading.begin);
    if (text.starts_with("-*-")) return false;
    for (std::size_t i = text.find(" -"); i != std::string_view::npos; i = text.find(" -", i + 1)) {
        const std::string_view option = text.substr(i + 2);
        const std::size_t dashes = option.starts_with('-') ? 1 : 0;
        if (option.size() > dashes && text::isAsciiLetter(option[dashes])) return false;
    }
    return true;
}

/// Whether the heading says all there is to say: it leads elsewhere by a link or shows a picture,
/// or a program puts the text in its place ("%OPTIONS%", "::: shop.Shelf").
bool standsForItself(const DocumentView& document, const Heading& heading) {
    const std::string_view text =
        document.source.text().substr(heading.begin, heading.end - heading.begin);
    if (text.find("](") != std::string_view::npos || text.find("][") != std::string_view::npos ||
        text.find("<a href") != std::string_view::npos ||
        text.find("<img ") != std::string_view::npos) {
        return true;
    }
    const auto within = [&](std::string_view opener, std::string_view closer) {
        return text.size() > opener.size() + closer.size() && text.starts_with(opener) &&
               text.ends_with(closer);
    };
    return (within("%", "%") && text.find(' ') == std::string_view::npos) ||
           text.starts_with("::: ") || within("<%", "%>") || within("{%", "%}");
}

/// Whether the heading is all there is to say: a sentence with its full stop, or the licence by its
/// name ("MIT Licensed").
bool saysItself(const Heading& heading) {
    const std::string title(text::trimmed(heading.shown));
    const std::vector<text::Word> words = text::wordsIn(title, 0, title.size());
    if (title.ends_with('.') && words.size() >= kFewestOfSentence) return true;
    const bool named = std::any_of(words.begin(), words.end(), [](const text::Word& word) {
        return word.allUpper() && word.letters >= 3; // "MIT", "BSD"
    });
    return named && std::any_of(words.begin(), words.end(), [&](const text::Word& word) {
               return text::lowerAscii(title.substr(word.offset, word.length)).starts_with("licen");
           });
}

/// Whether the heading is the name of something in code: "`run`", ".show(stream?)", "key.left".
bool namesCode(const DocumentView& document, const Heading& heading) {
    const std::string_view own =
        document.source.text().substr(heading.begin, heading.end - heading.begin);
    if (own.size() > 2 && own.front() == '`' && own.back() == '`') return true;
    const std::string_view text = text::trimmed(heading.shown);
    const std::size_t open = text.find('(');
    const std::string_view name = text.substr(0, open);
    if (name.empty() || name.find(' ') != std::string_view::npos) return false;
    if (open != std::string_view::npos) return text.ends_with(')');
    const std::size_t dot = name.find_first_of(".:_");
    return dot != std::string_view::npos && dot + 1 < name.size();
}

/// "Gap" above "gap": what is told of, and its name in code.
bool isLikeInSmallLetters(const Heading& heading, const Heading& next) {
    const std::string title(text::trimmed(heading.shown));
    const std::string name(text::trimmed(next.shown));
    return title != name && text::lowerAscii(title) == name;
}

/// Whether the sections behind this heading, of its own level, are what it is about: two and more
/// names in code below "Core methods".
bool namesGroup(const DocumentView& document, std::size_t heading) {
    const auto& headings = document.outline.headings;
    constexpr std::size_t kFewest = 2;
    if (heading + kFewest >= headings.size() || namesCode(document, headings[heading]))
        return false;
    for (std::size_t i = heading + 1; i <= heading + kFewest; ++i) {
        if (headings[i].level != headings[heading].level || !namesCode(document, headings[i]))
            return false;
    }
    return true;
}

/// "######" right below a line of text: how other markups underline a title.
bool isUnderline(const DocumentView& document, const Heading& heading) {
    constexpr std::size_t kFewest = 4; // Marks.
    const std::string_view own = text::trimmed(document.source.line(heading.line));
    return heading.line > 0 && own.size() >= kFewest &&
           own.find_first_not_of('#') == std::string_view::npos &&
           document.outline.lines[heading.line - 1] == LineKind::prose;
}

void checkDuplicateHeadings(const DocumentView& document, FindingList& findings) {
    // Names seen below the heading that is open at each level; other chapters may repeat them.
    std::array<std::map<std::string, std::size_t>, 7> seen;
    for (const Heading& heading : document.outline.headings) {
        const auto level = static_cast<std::size_t>(heading.level);
        for (std::size_t deeper = level + 1; deeper < seen.size(); ++deeper) seen[deeper].clear();
        const std::string key =
            headingKey(document.source.text().substr(heading.begin, heading.end - heading.begin));
        if (key.empty() || !hasWords(document, heading)) continue;
        const auto [entry, added] = seen[level].try_emplace(key, heading.line);
        if (added) continue;
        findings.add(kDuplicateHeading, heading.begin, heading.end - heading.begin,
                     "heads a section in line " + std::to_string(entry->second + 1) + " already");
    }
}

/// Whether whoever fills in a form is asked for something: "Which room?", "Witnesses:".
bool asks(const Heading& heading) {
    const std::string_view title = text::trimmed(heading.shown);
    return title.ends_with('?') || title.ends_with(':');
}

void checkEmptySections(const DocumentView& document, const std::vector<bool>& content,
                        FindingList& findings) {
    const auto& headings = document.outline.headings;
    // Headings alone are the plan of a document, or a title that somebody selected.
    if (std::find(content.begin(), content.end(), true) == content.end()) return;
    constexpr std::size_t kFewestOfForm =
        2; // Fields without anything; one is a question left open.
    std::size_t fields = 0;
    for (std::size_t i = 0; i < headings.size(); ++i) {
        fields += !content[i] && asks(headings[i]) ? 1U : 0U;
    }
    for (std::size_t i = 0; i < headings.size(); ++i) {
        const bool last = i + 1 == headings.size();
        if (content[i] || (!last && headings[i + 1].level > headings[i].level)) continue;
        if (fields >= kFewestOfForm && asks(headings[i])) continue;
        // Several names of one thing share what stands below the last of them; names in code may
        // have lines between them, and so may a name and its like in code ("Gap", "gap").
        const bool shares =
            !last && headings[i + 1].level == headings[i].level &&
            (headings[i + 1].line == headings[i].line + 1 ||
             (namesCode(document, headings[i]) && namesCode(document, headings[i + 1])) ||
             isLikeInSmallLetters(headings[i], headings[i + 1]) || namesGroup(document, i));
        if (shares || !namesSection(document, headings[i]) ||
            standsForItself(document, headings[i]) || saysItself(headings[i])) {
            continue;
        }
        // A title that is underlined with dashes above chapters with "=", or between two lines.
        const bool between =
            headings[i].line > 0 && document.outline.lines[headings[i].line - 1] == LineKind::rule;
        if (i == 0 && !last && (headings[i + 1].level < headings[i].level || between)) continue;
        findings.add(kEmptySection, headings[i].begin, headings[i].end - headings[i].begin,
                     "heads a section without any content");
    }
}

void checkHeadingTexts(const DocumentView& document, FindingList& findings) {
    const auto& headings = document.outline.headings;
    const bool comments = std::any_of(headings.begin(), headings.end(), [&](const Heading& each) {
        return each.begin >= each.end && standsAmongComments(document, each);
    });
    for (const Heading& heading : headings) {
        // Who leaves one line of a comment empty may leave another one so.
        const bool comment = comments && text::trimmed(document.source.line(heading.line)) == "#";
        if (heading.begin < heading.end || comment || standsAmongComments(document, heading) ||
            isUnderline(document, heading)) {
            continue;
        }
        const std::size_t begin = document.source.lineStart(heading.line);
        findings.add(kEmptyHeading, begin, document.source.line(heading.line).size(),
                     "is a heading without words");
    }
    for (const Reference& line : document.outline.gluedHeadings) {
        findings.add(kGluedHeading, line.offset, line.length,
                     "is no heading without a blank behind its marks");
    }
}

struct OpenList {
    std::size_t indent = 0;
    int first = 0;
    int last = 0;
    char mark = '.';
    bool interrupted = false;
};

struct Item {
    int number = 0;
    char mark = '.';
};

std::optional<Item> itemNumber(std::string_view content) {
    std::size_t digits = 0;
    int number = 0;
    // 999 at most: larger numbers are years.
    while (digits < content.size() && digits < 4 && text::isAsciiDigit(content[digits])) {
        number = number * 10 + (content[digits] - '0');
        ++digits;
    }
    // A number needs a mark and a blank behind it.
    if (digits == 0 || digits > 3 || digits + 1 >= content.size()) return std::nullopt;
    const char mark = content[digits];
    if ((mark != '.' && mark != ')') || content[digits + 1] != ' ') return std::nullopt;
    return Item{number, mark};
}

bool continuesList(const OpenList& list, int number) {
    // After a paragraph a list may begin anew at any number.
    if (number == list.last + 1 || list.interrupted) return true;
    // All items numbered alike are counted by whatever shows the document.
    return number == list.last && number == list.first && number <= 1;
}

struct SpellingPair {
    std::string_view one;
    std::string_view other;
    bool byCase; ///< The two differ only in capitals.
};

constexpr std::array kSpellings = {
    SpellingPair{"email", "e-mail", false},
    SpellingPair{"emails", "e-mails", false},
    SpellingPair{"website", "web site", false},
    SpellingPair{"online", "on-line", false},
    SpellingPair{"smartphone", "smart phone", false},
    SpellingPair{"database", "data base", false},
    SpellingPair{"color", "colour", false},
    SpellingPair{"colors", "colours", false},
    SpellingPair{"behavior", "behaviour", false},
    SpellingPair{"organize", "organise", false},
    SpellingPair{"organization", "organisation", false},
    SpellingPair{"analyze", "analyse", false},
    SpellingPair{"canceled", "cancelled", false},
    SpellingPair{"optimize", "optimise", false},
    SpellingPair{"GitHub", "Github", true},
    SpellingPair{"JavaScript", "Javascript", true},
    SpellingPair{"TypeScript", "Typescript", true},
    SpellingPair{"YouTube", "Youtube", true},
    SpellingPair{"LinkedIn", "Linkedin", true},
    SpellingPair{"PostgreSQL", "Postgresql", true},
    SpellingPair{"MySQL", "MySql", true},
};

struct Sightings {
    std::size_t count = 0;
    std::size_t first = 0;
};

bool standsAt(std::string_view text, std::size_t offset, std::string_view word, bool byCase) {
    const bool same =
        byCase ? text.substr(offset, word.size()) == word : text::hasAt(text, offset, word);
    if (!same) return false;
    const std::size_t end = offset + word.size();
    return end >= text.size() || (!text::isAsciiWord(text[end]) && text[end] != '-');
}

} // namespace

void checkHeadings(const DocumentView& document, FindingList& findings) {
    // One look for the content of all sections, as two rules ask for it.
    const std::vector<bool> content = haveContent(document);
    if (!content.empty()) checkLevels(document, content, findings);
    checkDuplicateHeadings(document, findings);
    checkEmptySections(document, content, findings);
    checkHeadingTexts(document, findings);
}

void checkNumberedLists(const DocumentView& document, FindingList& findings) {
    const auto& lines = document.outline.lines;
    std::vector<OpenList> open;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view raw = document.source.line(i);
        const std::string_view content = text::trimmed(raw);
        const auto indent = static_cast<std::size_t>(content.data() - raw.data());
        if (lines[i] == LineKind::heading || lines[i] == LineKind::rule) open.clear();
        // Prose behind a blank line and no deeper ends what it stands beside, or goes on with it:
        // the next number tells which.
        if (lines[i] == LineKind::prose && i > 0 && lines[i - 1] == LineKind::blank) {
            for (OpenList& list : open) {
                if (indent <= list.indent) list.interrupted = true;
            }
        }
        if (lines[i] != LineKind::listItem) continue;
        // Indented by one more may be a slip of the same list.
        while (!open.empty() && open.back().indent > indent + 1) open.pop_back();
        const bool same = !open.empty() && open.back().indent + 1 >= indent;
        const auto item = itemNumber(content);
        if (!item) {
            if (same) open.pop_back(); // A bullet ends the numbers beside it.
            continue;
        }
        const bool starts = i == 0 || lines[i - 1] != LineKind::prose || same;
        if (!starts) continue; // "… in\n12. March" is no item.
        if (!same || open.back().mark != item->mark) {
            if (same) open.pop_back();
            open.push_back({indent, item->number, item->number, item->mark, false});
            continue;
        }
        OpenList& list = open.back();
        // A list that begins again at 1 is another one.
        const bool fresh = item->number == 1 && list.last != 1;
        if (!continuesList(list, item->number) && !fresh) {
            findings.add(kListOrder, document.source.lineStart(i) + indent, content.size(),
                         "follows number " + std::to_string(list.last) + " of the same list");
        }
        if (fresh || (list.interrupted && item->number != list.last + 1)) {
            list.first = item->number;
        }
        list.interrupted = false;
        list.last = item->number;
    }
}

void checkTables(const DocumentView& document, FindingList& findings) {
    constexpr std::size_t kHabit = 3; // Rows, and the part of a table's rows that they are.
    const auto& rows = document.outline.rows;
    for (std::size_t begin = 0; begin < rows.size();) {
        std::size_t end = begin + 1;
        while (end < rows.size() && rows[end].line == rows[end - 1].line + 1) ++end;
        const auto endsEarly = [](const TableRow& row) { return row.cells < row.expected; };
        const auto early = static_cast<std::size_t>(
            std::count_if(rows.begin() + static_cast<std::ptrdiff_t>(begin),
                          rows.begin() + static_cast<std::ptrdiff_t>(end), endsEarly));
        const bool habit = early >= kHabit && early * kHabit >= end - begin;
        for (; begin < end; ++begin) {
            const TableRow& row = rows[begin];
            if (row.cells == row.expected) continue;
            findings.add(habit && endsEarly(row) ? softened(kTableColumns) : kTableColumns,
                         document.source.lineStart(row.line), document.source.line(row.line).size(),
                         "has " + std::to_string(row.cells) + " cells in a table of " +
                             std::to_string(row.expected) + " columns");
        }
    }
}

void checkUnclosedParts(const DocumentView& document, FindingList& findings) {
    const auto firstLine = [&](std::size_t offset) {
        return document.source.lineEnd(document.source.lineAt(offset)) - offset;
    };
    if (const auto fence = document.outline.unclosedFence) {
        findings.add(kUnclosedFence, *fence, firstLine(*fence),
                     "opens a code block that nothing closes");
    }
    if (const auto comment = document.outline.unclosedComment) {
        findings.add(kUnclosedComment, *comment, firstLine(*comment),
                     "opens a comment that nothing closes, so that all behind it is hidden");
    }
}

void checkSpellings(const DocumentView& document, FindingList& findings) {
    const std::string_view text = document.view.masked();
    std::array<std::array<Sightings, 2>, kSpellings.size()> seen{};
    for (const text::Word& word : document.view.words) {
        // A joined word is one longer word.
        const bool joined = word.offset > 0 && text[word.offset - 1] == '-';
        if (joined) continue;
        for (std::size_t i = 0; i < kSpellings.size(); ++i) {
            const SpellingPair& pair = kSpellings[i];
            // Most words are told apart by their first letter.
            if (text::lowerAscii(text[word.offset]) != text::lowerAscii(pair.one[0])) continue;
            const bool one = standsAt(text, word.offset, pair.one, pair.byCase);
            if (!one && !standsAt(text, word.offset, pair.other, pair.byCase)) continue;
            Sightings& sightings = seen[i][one ? 0 : 1];
            if (sightings.count++ == 0) sightings.first = word.offset;
        }
    }
    for (std::size_t i = 0; i < kSpellings.size(); ++i) {
        const Sightings& one = seen[i][0];
        const Sightings& other = seen[i][1];
        if (one.count == 0 || other.count == 0) continue;
        // In a tie the second of the pair is told.
        const bool otherIsRarer = other.count <= one.count;
        const std::string_view rare = otherIsRarer ? kSpellings[i].other : kSpellings[i].one;
        const std::string_view usual = otherIsRarer ? kSpellings[i].one : kSpellings[i].other;
        findings.add(kSpelling, otherIsRarer ? other.first : one.first, rare.size(),
                     "is spelt “" + std::string(usual) + "” elsewhere in the document");
    }
}

} // namespace trevix
