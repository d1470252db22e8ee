// Traces of work that was not finished: placeholders, editing marks, unresolved merges, and things
// that should have been taken out before anybody reads the text.

#include "critics/text/prose_rules.h"
#include "critics/text/secret_shapes.h"
#include "critics/text/text_rule_table.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kPlaceholder = declared<WorkKind::text>("text.placeholder", Severity::high);
constexpr GradedRule kEditingMark = declared<WorkKind::text>("text.editing_mark");
constexpr GradedRule kEncoding = declared<WorkKind::text>("text.encoding");

constexpr std::string_view kIsPlaceholder = "is a placeholder that still waits for its content";

constexpr std::array<std::string_view, 44> kSlots = {
    "name",         "first name",    "last name",     "full name",      "surname",
    "date",         "company",       "company name",  "client",         "client name",
    "customer",     "customer name", "recipient",     "recipient name", "sender",
    "amount",       "email",         "email address", "phone",          "phone number",
    "address",      "title",         "job title",     "position",       "department",
    "city",         "country",       "project",       "project name",   "product",
    "product name", "placeholder",   "tbd",           "todo",           "xxx",
    "tba",          "link",          "url",           "signature",      "start date",
    "end date",     "price",         "insert",        "fill in"};

/// Angle brackets also name the arguments of commands and HTML elements; these words do not.
constexpr std::array<std::string_view, 11> kInAngles = {
    "name",        "first name",    "last name",      "full name", "date",   "company name",
    "client name", "customer name", "recipient name", "amount",    "surname"};

constexpr std::array<std::string_view, 8> kSlotStarts = {
    "insert ", "your ", "enter ", "fill in ", "add your ", "name of ", "placeholder ", "to be "};

constexpr std::array<std::string_view, 6> kPhrases = {"your text here",      "text goes here",
                                                      "click to add title",  "click to add text",
                                                      "click here to enter", "placeholder text"};

/// Parts of the text that fills a layout; a paragraph of it is one gap.
constexpr std::array<std::string_view, 2> kFiller = {"lorem ipsum", "dolor sit amet"};

/// In a manual a word in brackets names an argument; these never do.
constexpr std::array<std::string_view, 6> kNoArguments = {"tbd", "tba",         "todo",
                                                          "xxx", "placeholder", "insert"};

constexpr std::array<std::string_view, 16> kNumbered = {
    "chapter", "part",    "volume", "vol",   "book", "bowl",  "canto",    "psalm",
    "section", "article", "act",    "scene", "pope", "louis", "olympiad", "amendment"};

constexpr std::array<std::string_view, 11> kAfterMention = {"file",  "files",   "list",     "lists",
                                                            "app",   "comment", "comments", "item",
                                                            "items", "marker",  "markers"};

/// Inner text in small letters, with underscores as blanks and single blanks.
std::string slotName(std::string_view inner) {
    std::string slot;
    for (const char c : text::trimmed(inner)) {
        const char plain =
            c == '_' || c == '\n' || c == '\r' || c == '\t' ? ' ' : text::lowerAscii(c);
        if (plain == ' ' && !slot.empty() && slot.back() == ' ') continue;
        slot += plain;
    }
    return slot;
}

bool isSlot(const std::string& slot) {
    if (text::isOneOf(slot, kSlots)) return true;
    return std::any_of(kSlotStarts.begin(), kSlotStarts.end(), [&](std::string_view start) {
        return slot.size() > start.size() && slot.compare(0, start.size(), start) == 0;
    });
}

// Bytes between the brackets of a gap: its name, not a sentence. Also bounds how far each is
// followed.
constexpr std::size_t kLongestSlot = 80;

/// Where the bracket at `at` is closed on the same line, or npos.
std::size_t closerNear(std::string_view text, std::size_t at, char closer) {
    const std::string_view near = text.substr(at + 1, kLongestSlot);
    const std::size_t found = near.find_first_of(std::string{closer, text[at], '\n'});
    if (found == std::string_view::npos || near[found] != closer) return std::string_view::npos;
    return at + 1 + found;
}

/// Whether tasks are spoken of: a title of a list of them ("TODO", "## TODO tests") with something
/// below it, or, in a manual, a word in the middle of a sentence.
bool speaksOfTasks(const ProseView& view, const text::Word& word) {
    constexpr std::ptrdiff_t kMostBlanks = 1; // "Garden TODO"; more words are a sentence.
    // Bytes: a longer line is no title, and one word after another would look through all of it.
    constexpr std::size_t kLongestTitle = 200;
    const std::size_t number = view.source.lineAt(word.offset);
    const std::string_view whole = view.source.line(number);
    if (whole.size() <= kLongestTitle) {
        const std::string_view line = text::trimmed(whole);
        const std::size_t begin = word.offset - view.source.lineStart(number);
        const std::string_view behind = text::trimmed(whole.substr(begin + word.length));
        // "Price: TODO" and "# TODO: the price" wait for what is missing.
        const bool labelled = whole.substr(0, begin).find(':') != std::string_view::npos ||
                              (behind.starts_with(':') && behind.size() > 1);
        const bool title =
            line.starts_with('#') || (behind.find_first_not_of(':') == std::string_view::npos &&
                                      std::ranges::count(line, ' ') <= kMostBlanks);
        if (title && !labelled) {
            std::string_view next;
            for (std::size_t i = 1; i <= 2 && next.empty() && number + i < view.source.lineCount();
                 ++i)
                next = text::trimmed(view.source.line(number + i));
            return !next.empty() && !next.starts_with('#');
        }
    }
    const std::string_view text = view.masked();
    return view.isTechnical() && word.offset > 1 && text[word.offset - 1] == ' ' &&
           text::isAsciiWord(text[word.offset - 2]);
}

/// "TODO: read the second table", "XXX this is slow", "from XXX import YYY": in a manual a note of
/// what is left to do, as `code.todo` has it, or what stands for any name.
bool isNoteOfManual(const ProseView& view, const text::Word& word, bool inTable) {
    if (!view.isTechnical()) return false;
    const std::string_view own = view.masked().substr(word.offset, word.length);
    if (own.starts_with("XX")) return true;
    // In a table of days "TBD" says that one is not fixed.
    if (own == "TBD") return inTable;
    if (own != "TODO" && own != "FIXME") return false;
    const std::size_t number = view.source.lineAt(word.offset);
    const std::string_view line = view.source.line(number);
    const std::size_t begin = word.offset - view.source.lineStart(number);
    constexpr std::size_t kLongestLead = 20; // Bytes of marks; also bounds how far is looked.
    // "… is slow. TODO: measure it", "their remark: FIXME: it leaks": behind the end of a sentence.
    constexpr std::string_view kEnds = ".:;!?)";
    const std::string_view whole = view.masked();
    if (word.offset > 1 && whole[word.offset - 1] == ' ' &&
        kEnds.find(whole[word.offset - 2]) != std::string_view::npos &&
        whole.substr(word.end()).starts_with(": ")) {
        return true;
    }
    if (begin > kLongestLead ||
        line.substr(0, begin).find_first_not_of(" \t#*-+/.[(") != std::string_view::npos) {
        return false;
    }
    return line.find_first_of(" \t", begin + word.length) != std::string_view::npos;
}

bool wordMarksGap(const ProseView& view, std::size_t index) {
    const text::Word& word = view.words[index];
    const std::string_view text = view.masked();
    const std::string_view own = view.wordText(index);
    const bool crosses = own.size() >= 3 && own.find_first_not_of('X') == std::string_view::npos;
    if (!crosses && own != "TBD" && own != "TODO" && own != "FIXME") return false;

    const char before = word.offset > 0 ? text[word.offset - 1] : ' ';
    const char after = word.end() < text.size() ? text[word.end()] : ' ';
    const bool quoted = (before == '"' && after == '"') || (before == '\'' && after == '\'') ||
                        (before == '"' && text.substr(word.end(), 2) == ":\"") ||
                        text.substr(word.end(), 3) == "”";
    // "$XXX", "SOL_XXX", "fooXXX-1", "\\XXX": what stands for any letters in a name.
    constexpr std::string_view kOfNames = "_#/$\\%.=-";
    if (kOfNames.find(before) != std::string_view::npos && crosses) return false;
    if (quoted || before == '_' || after == '_' || before == '#' || before == '/') return false;
    if (index + 1 < view.words.size() && !crosses &&
        view.words[index + 1].offset == word.end() + 1 &&
        text::isOneOf(text::lowerAscii(view.wordText(index + 1)), kAfterMention)) {
        return false;
    }
    if (!crosses && own != "TBD" && speaksOfTasks(view, word)) return false;
    if (crosses && own.size() == 3 && index > 0) {
        // The Roman number thirty.
        const text::Word& previous = view.words[index - 1];
        const std::string lower = text::lowerAscii(view.wordText(index - 1));
        const bool adjacent = word.offset - previous.end() <= 2;
        if (adjacent && previous.capitalised && text::isOneOf(lower, kNumbered)) return false;
    }
    return true;
}

/// "--output <name>" or "key=<name>": a description of a command, not a gap.
bool argumentOfCommand(std::string_view text, std::size_t at) {
    const std::size_t begin = at > kLongestSlot ? at - kLongestSlot : 0;
    std::string_view before = text.substr(begin, at - begin);
    while (!before.empty() && before.back() == ' ') before.remove_suffix(1);
    if (before.empty()) return false;
    if (before.back() == '=') return true;
    // Nothing is left behind the end of a line or a tab.
    return before.substr(before.find_last_of(" \t\n") + 1).starts_with('-');
}

bool startsLine(std::string_view text, std::size_t at) {
    const std::size_t before = text.find_last_not_of(" \t", at == 0 ? 0 : at - 1);
    return at == 0 || before == std::string_view::npos || text[before] == '\n';
}

void checkBracketedSlot(const ProseView& view, std::size_t at, FindingList& findings) {
    const std::string_view text = view.masked();
    const char open = text[at];
    const auto isArgument = [&](const std::string& slot) {
        return view.isTechnical() && slot.find(' ') == std::string::npos &&
               !text::isOneOf(slot, kNoArguments);
    };
    if (open == '[') {
        // "rows[name]"
        if (at > 0 && text::isAsciiWord(text[at - 1])) return;
        const std::size_t close = closerNear(text, at, ']');
        if (close == std::string_view::npos) return;
        const char after = close + 1 < text.size() ? text[close + 1] : ' ';
        if (after == '(' || after == '[' || after == ':') return; // A link, not a gap.
        const std::string slot = slotName(text.substr(at + 1, close - at - 1));
        if (isArgument(slot)) return;
        if (isSlot(slot) || slot == "citation needed" || slot == "source?" || slot == "??" ||
            slot == "check" || slot == "...") {
            // "[...]" marks an omission in quotations; only the words are gaps.
            if (slot != "...") findings.add(kPlaceholder, at, close + 1 - at, kIsPlaceholder);
        }
    } else if (open == '<') {
        const std::size_t close = closerNear(text, at, '>');
        if (close == std::string_view::npos) return;
        if (argumentOfCommand(text, at)) return;
        // "branch.<name>.merge", "--with-<name>": a part of a name.
        const std::string_view behind = text.substr(close + 1, 1);
        if (at > 0 && std::string_view("./-_:@=").find(text[at - 1]) != std::string_view::npos)
            return;
        if (!behind.empty() &&
            std::string_view("./-_:@=(").find(behind[0]) != std::string_view::npos &&
            text.substr(close + 2, 1).find_first_of(" \n") == std::string_view::npos &&
            close + 2 < text.size()) {
            return;
        }
        if (view.isTechnical() && !startsLine(text, at)) return;
        const std::string slot = slotName(text.substr(at + 1, close - at - 1));
        if (text::isOneOf(slot, kInAngles) || (isSlot(slot) && slot.find("your ") == 0) ||
            (isSlot(slot) && slot.find("insert ") == 0)) {
            findings.add(kPlaceholder, at, close + 1 - at, kIsPlaceholder);
        }
    } else if (open == '{' && at + 1 < text.size() && text[at + 1] == '{') {
        const std::size_t close = text.substr(0, at + kLongestSlot).find("}}", at);
        if (close == std::string_view::npos) return;
        const std::string_view inner = text::trimmed(text.substr(at + 2, close - at - 2));
        const bool name = !inner.empty() && std::all_of(inner.begin(), inner.end(), [](char c) {
            return text::isAsciiWord(c) || c == '.' || c == ' ' || c == '-';
        });
        // A manual shows what a template holds.
        const GradedRule rule = view.isTechnical() ? softened(kPlaceholder) : kPlaceholder;
        if (name && inner != "and" && inner != "or")
            findings.add(rule, at, close + 2 - at, kIsPlaceholder);
    } else if (open == '{') {
        const std::size_t close = closerNear(text, at, '}');
        if (close == std::string_view::npos) return;
        const std::string slot = slotName(text.substr(at + 1, close - at - 1));
        if (isSlot(slot) && !isArgument(slot)) {
            findings.add(kPlaceholder, at, close + 1 - at, kIsPlaceholder);
        }
    }
}

struct EditingMark {
    std::string_view mark;
    bool atLineStart;
};

constexpr std::array kEditingMarks = {
    EditingMark{"commented [", true},    EditingMark{"formatted: font", true},
    EditingMark{"[note to self", false}, EditingMark{"note to self:", true},
    EditingMark{"[editor:", false},      EditingMark{"[author:", false},
    EditingMark{"[comment:", false},     EditingMark{"{++", false},
    EditingMark{"{--", false},           EditingMark{"{~~", false},
    EditingMark{"{>>", false},           EditingMark{"{==", false},
};

/// Two or three code points that come from reading UTF-8 as a one-byte character set.
std::size_t garbledLength(std::string_view text, std::size_t at) {
    const text::Decoded first = text::decodeFront(text.substr(at));
    const std::size_t next = at + first.length;
    if (first.codePoint == text::kNoCodePoint || next >= text.size()) return 0;
    const text::Decoded second = text::decodeFront(text.substr(next));
    if (second.codePoint == text::kNoCodePoint) return 0;
    const auto in = [&](std::int32_t low, std::int32_t high) {
        return second.codePoint >= low && second.codePoint <= high;
    };
    if (first.codePoint == 0xC3 && in(0x80, 0xBF)) return first.length + second.length;
    if (first.codePoint == 0xC3 &&
        (second.codePoint == 0x2030 || second.codePoint == 0x0152 || second.codePoint == 0x0153 ||
         second.codePoint == 0x0178 || second.codePoint == 0x201E || second.codePoint == 0x2013 ||
         second.codePoint == 0x2018 || second.codePoint == 0x20AC)) {
        return first.length + second.length;
    }
    if (first.codePoint == 0xC2 && in(0xA0, 0xBB)) return first.length + second.length;
    if (first.codePoint == 0xE2 && second.codePoint == 0x20AC) {
        const std::size_t third = next + second.length;
        if (third >= text.size()) return 0;
        const text::Decoded last = text::decodeFront(text.substr(third));
        const bool garbled = last.codePoint >= 0x80 && !text::isLetter(last.codePoint);
        const bool letter = last.codePoint == 0x153 || last.codePoint == 0x161;
        return garbled || letter ? first.length + second.length + last.length : 0;
    }
    return 0;
}

/// "??? example", "???+ note \"On rain\"" at `marks`, the start of a line: the head of a part that
/// folds, as MkDocs has it.
bool opensFold(std::string_view text, std::size_t marks) {
    constexpr std::array<std::string_view, 28> kKinds = {
        "abstract", "attention", "bug",     "caution", "check",   "cite",     "danger",
        "done",     "error",     "example", "fail",    "failure", "faq",      "help",
        "hint",     "important", "info",    "missing", "note",    "question", "quote",
        "snippet",  "success",   "summary", "tip",     "tldr",    "todo",     "warning"};
    std::size_t at = marks;
    while (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\t')) --at;
    if (at > 0 && text[at - 1] != '\n') return false;
    std::string_view line = text.substr(marks + 3);
    line = line.substr(0, line.find('\n'));
    if (line.starts_with('+')) line.remove_prefix(1);
    if (!line.starts_with(' ')) return false;
    line = text::trimmed(line);
    const std::string_view kind = line.substr(0, line.find(' '));
    const std::string_view title = text::trimmed(line.substr(kind.size()));
    return text::isOneOf(kind, kKinds) &&
           (title.empty() || (title.size() > 1 && title.front() == '"' && title.back() == '"'));
}

/// Whether the replacement character at `at` is spoken of: alone between quotation marks, brackets
/// or marks of code, beside its number, or as one of two ("\uFFFD or ?"). Between other words a
/// dash was lost.
bool isSpokenOf(std::string_view text, std::size_t at) {
    constexpr std::size_t kLength = 3;  // Bytes of U+FFFD.
    constexpr std::size_t kBeside = 40; // Bytes: some words between it and its number.
    constexpr std::string_view kOpening = "`'\"([<";
    constexpr std::string_view kClosing = "`'\")]>";
    const std::size_t begin = at < kBeside ? 0 : at - kBeside;
    if (text.substr(begin, at - begin + kLength + kBeside).find("U+FFFD") !=
        std::string_view::npos) {
        return true;
    }
    if (at == 0 || at + kLength >= text.size()) return false;
    if (text[at - 1] == ' ' && text.substr(at + kLength).starts_with(" or ")) return true;
    const std::size_t pair = kOpening.find(text[at - 1]);
    return pair != std::string_view::npos && text[at + kLength] == kClosing[pair];
}

} // namespace

void checkPlaceholders(const ProseView& view, FindingList& findings) {
    const std::string_view text = view.masked();
    std::size_t block = 0;                         // Of the word that is looked at.
    std::size_t part = 0;                          // The same, for the words that mark a gap.
    std::size_t filled = view.prose.blocks.size(); // Whose filler was told.
    for (std::size_t i = 0; i < view.words.size(); ++i) {
        if (wordMarksGap(view, i)) {
            const text::Word& word = view.words[i];
            std::size_t end = word.end();
            while (end < text.size() && (text[end] == '-' || text[end] == 'X')) ++end;
            // "[TBD]" is found as a bracket below.
            const bool inBracket = word.offset > 0 && text[word.offset - 1] == '[' &&
                                   end < text.size() && text[end] == ']';
            const bool continues = word.offset > 0 && text[word.offset - 1] == '-';
            if (!inBracket && !continues) {
                while (part + 1 < view.prose.blocks.size() &&
                       view.prose.blocks[part].end <= word.offset) {
                    ++part;
                }
                const bool inTable = part < view.prose.blocks.size() &&
                                     view.prose.blocks[part].kind == BlockKind::table;
                findings.add(isNoteOfManual(view, word, inTable) ? softened(kPlaceholder)
                                                                 : kPlaceholder,
                             word.offset, word.length, kIsPlaceholder);
            }
        } else if (i + 1 < view.words.size() && view.wordText(i) == "Dear" &&
                   view.words[i + 1].allUpper() && view.wordText(i + 1) == "NAME") {
            findings.add(kPlaceholder, view.words[i].offset,
                         view.words[i + 1].end() - view.words[i].offset, kIsPlaceholder);
        }
        const text::Word& word = view.words[i];
        for (const std::string_view phrase : kPhrases) {
            if (text::hasAt(text, word.offset, phrase)) {
                findings.add(kPlaceholder, word.offset, phrase.size(), kIsPlaceholder);
                break;
            }
        }
        for (const std::string_view filler : kFiller) {
            if (!text::hasAt(text, word.offset, filler)) continue;
            const std::vector<Block>& blocks = view.prose.blocks;
            while (block < blocks.size() && blocks[block].end <= word.offset) ++block;
            if (block < blocks.size() && block == filled) break;
            findings.add(kPlaceholder, word.offset, filler.size(), kIsPlaceholder);
            filled = block;
            break;
        }
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool secondBrace = c == '{' && i > 0 && text[i - 1] == '{';
        if ((c == '[' || c == '<' || c == '{') && !secondBrace) {
            checkBracketedSlot(view, i, findings);
        }
        const bool questions = c == '?' && text.substr(i, 3) == "???";
        if (questions && (i == 0 || text[i - 1] == ' ' || text[i - 1] == '\n')) {
            const std::size_t after = text.find_first_not_of('?', i);
            // "????-*.diff" is a pattern of names.
            const bool pattern =
                after != std::string_view::npos &&
                std::string_view("-*._/[").find(text[after]) != std::string_view::npos &&
                text.substr(after + 1, 1).find_first_of(" \n") != 0 && after + 1 < text.size();
            if (!pattern && !opensFold(text, i)) findings.add(kPlaceholder, i, 3, kIsPlaceholder);
            if (after == std::string_view::npos) break;
            i = after - 1;
        }
    }
}

void checkEditingMarks(const ProseView& view, FindingList& findings) {
    const std::string_view text = view.masked();
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text::lowerAscii(text[i]);
        if (c != '[' && c != '{' && c != 'c' && c != 'f' && c != 'n') continue;
        for (const EditingMark& known : kEditingMarks) {
            if (known.mark[0] != c || !text::hasAt(text, i, known.mark)) continue;
            if (known.atLineStart && i > 0 && text[i - 1] != '\n') continue;
            const std::string_view rest = text.substr(i, 60);
            findings.add(kEditingMark, i, rest.substr(0, rest.find('\n')).size(),
                         "is a mark of editing that was left in the text");
            break;
        }
    }
}

void checkEncoding(const SourceText& source, FindingList& findings) {
    const std::string_view text = source.text();
    enum class Trouble { none, garbled, replaced, invalid, control };
    Trouble run = Trouble::none;
    std::size_t begin = 0;
    const auto close = [&](std::size_t end) {
        if (run == Trouble::none) return;
        const std::size_t length = end - begin;
        if (run == Trouble::garbled) {
            findings.add(kEncoding, begin, length, "was read in the wrong character encoding");
        } else if (run == Trouble::replaced) {
            findings.add(kEncoding, begin, length,
                         "stands where a character was lost in a conversion");
        } else if (run == Trouble::invalid) {
            findings.addWith(kEncoding, begin, std::to_string(length) + " bytes",
                             "is not text in UTF-8");
        } else {
            findings.addWith(kEncoding, begin, std::to_string(length) + " control bytes",
                             "has no place in text");
        }
        run = Trouble::none;
    };
    for (std::size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        Trouble now = Trouble::none;
        std::size_t length = 1;
        if (byte < 0x80) {
            const bool blank = byte == '\t' || byte == '\n' || byte == '\r' || byte == '\f' ||
                               byte == '\v' || byte == 0x1B;
            if (byte < 0x20 && !blank) now = Trouble::control;
        } else {
            const text::Decoded point = text::decodeFront(text.substr(i));
            length = point.length;
            if (point.codePoint == text::kNoCodePoint) {
                now = Trouble::invalid;
            } else if (point.codePoint == 0xFFFD) {
                if (!isSpokenOf(text, i)) now = Trouble::replaced;
            } else if (const std::size_t garbled = garbledLength(text, i); garbled > 0) {
                now = Trouble::garbled;
                length = garbled;
            } else if (point.codePoint >= 0x80 && point.codePoint < 0xA0 &&
                       point.codePoint != 0x85) {
                now = Trouble::control;
            }
        }
        if (now != run) {
            close(i);
            run = now;
            begin = i;
        }
        i += length;
    }
    close(text.size());
}

void checkConflictMarkers(const SourceText& source, GradedRule rule, FindingList& findings) {
    const auto marks = [](std::string_view line, char c) {
        return line.size() >= 7 && line.find_first_not_of(c) == 7 && line[7] == ' ';
    };
    bool open = false;
    bool parted = false;
    for (std::size_t i = 0; i < source.lineCount(); ++i) {
        const std::string_view line = source.line(i);
        if (line.size() < 7) continue;
        if (marks(line, '<')) {
            findings.add(rule, source.lineStart(i), line.size(),
                         "begins a merge conflict that was never resolved");
            open = true;
            parted = false;
        } else if (open && line == "=======") {
            parted = true;
        } else if (marks(line, '>') && open) {
            open = false;
        } else if (!open && line == "=======" && !parted && i + 1 < source.lineCount()) {
            // The cut-off end of a conflict: a middle line that some later line closes.
            const std::size_t limit = std::min(source.lineCount(), i + 200);
            for (std::size_t j = i + 1; j < limit; ++j) {
                const std::string_view later = source.line(j);
                if (later == "=======" || marks(later, '<')) break;
                if (!marks(later, '>')) continue;
                findings.add(rule, source.lineStart(j), later.size(),
                             "ends a merge conflict that was never resolved");
                break;
            }
        }
    }
}

void checkSecrets(const SourceText& source, GradedRule rule, FindingList& findings,
                  const std::function<bool(std::size_t)>& isExample) {
    const std::vector<Secret> secrets = findSecrets(source.text());
    for (const Secret& secret : secrets) findings.hide(secret.valueOffset, secret.valueLength);
    for (const Secret& secret : secrets) {
        const bool example = secret.byName && isExample && isExample(secret.valueOffset);
        findings.add(example ? softened(rule) : rule, secret.offset, secret.length,
                     "looks like " + std::string(secret.kind) + " that nobody else may see");
    }
}

} // namespace trevix
