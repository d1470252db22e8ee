// Links, anchors, notes, and references by number.

#include "critics/document/document_rule_table.h"
#include "critics/document/document_rules.h"
#include "critics/text/language_slips.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <string>
#include <unordered_set>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kEmptyLink = declared<WorkKind::document>("document.empty_link");
constexpr GradedRule kReversedLink = declared<WorkKind::document>("document.reversed_link");
constexpr GradedRule kLinkText = declared<WorkKind::document>("document.link_text");
constexpr GradedRule kBrokenAddress = declared<WorkKind::document>("document.broken_address");
constexpr GradedRule kBrokenAnchor =
    declared<WorkKind::document>("document.broken_anchor", Severity::medium);
constexpr GradedRule kImageText = declared<WorkKind::document>("document.image_text");
constexpr GradedRule kMissingNote = declared<WorkKind::document>("document.missing_note");
constexpr GradedRule kUnusedNote = declared<WorkKind::document>("document.unused_note");
constexpr GradedRule kMissingDefinition =
    declared<WorkKind::document>("document.missing_definition");
constexpr GradedRule kMissingReference = declared<WorkKind::document>("document.missing_reference");

// Targets that stand for one that was to come.
bool isGapTarget(std::string_view target) {
    constexpr std::array<std::string_view, 14> kGaps = {
        "",    "#", "todo", "tbd",     "url",      "link",  "xxx",
        "...", "…", "path", "http://", "https://", "#todo", "insert-link-here"};
    return std::find(kGaps.begin(), kGaps.end(), text::lowerAscii(target)) != kGaps.end();
}

/// "https://http://x.org", "http://https//x.org"; not "https://httpd.apache.org". The start of an
/// address in small letters.
bool namesSchemeAsHost(std::string_view lower) {
    const std::size_t scheme = lower.find("://");
    if (scheme == std::string_view::npos) return false;
    std::string_view host = lower.substr(scheme + 3);
    if (!host.starts_with("http")) return false;
    host.remove_prefix(host.starts_with("https") ? 5 : 4);
    return host.empty() || host.front() == ':' || host.front() == '/';
}

/// Why the address cannot work, or nothing.
std::string_view addressFault(const Link& link) {
    const std::string_view target = link.target;
    // A program puts the address in its place.
    if (target.starts_with("{{") || target.starts_with("{%")) return {};
    const bool blank = target.find_first_of(" \t") != std::string_view::npos;
    if (blank && !link.bracketed) return "contains a blank";
    // 16 bytes hold every scheme that is looked for.
    const std::string lower = text::lowerAscii(target.substr(0, 16));
    for (const std::string_view slip : {"http:/", "https:/", "ftp:/"}) {
        if (lower.compare(0, slip.size(), slip) == 0 &&
            (lower.size() <= slip.size() || lower[slip.size()] != '/')) {
            return "has one slash behind its scheme where two belong";
        }
    }
    for (const std::string_view slip : {"http//", "https//", "htp://", "htps://", "httpp://",
                                        "httsp://", "http;//", "https;//", "ttp://", "ttps://"}) {
        if (lower.compare(0, slip.size(), slip) == 0) return "has a misspelt scheme";
    }
    if (namesSchemeAsHost(lower)) return "has a misspelt scheme";
    const std::size_t scheme = lower.compare(0, 7, "http://") == 0    ? 7
                               : lower.compare(0, 8, "https://") == 0 ? 8
                                                                      : 0;
    if (scheme == 0) return {};
    std::string_view host = target.substr(scheme);
    host = host.substr(0, host.find_first_of("/?#"));
    // Names of users may stand before the host.
    host = host.substr(host.rfind('@') == std::string_view::npos ? 0 : host.rfind('@') + 1);
    if (host.empty()) return "names no host";
    // Two dots in a row, or marks at its beginning, no name may have (RFC 1123, 2.1).
    if (host.front() == '.' || host.front() == '-' || host.find("..") != std::string_view::npos ||
        host.find(',') != std::string_view::npos) {
        return "names a host that cannot exist";
    }
    return {};
}

/// Letters and digits in small letters: enough to tell whether an anchor means a heading, whatever
/// way a renderer makes anchors of headings.
std::string anchorKey(std::string_view text) {
    std::string key;
    for (std::size_t i = 0; i < text.size();) {
        const text::Decoded point = text::decodeFront(text.substr(i));
        // One pass over code points, since letters beyond ASCII count.
        if (point.codePoint >= 0x80 || text::isAsciiDigit(text[i]) ||
            text::isAsciiLetter(text[i])) {
            if (point.codePoint < 0x80) {
                key += text::lowerAscii(text[i]);
            } else if (text::isLetter(point.codePoint)) {
                key += text.substr(i, point.length);
            }
        }
        i += point.length;
    }
    return key;
}

std::string unescaped(std::string_view target) {
    const auto hex = [](char c) -> int {
        if (text::isAsciiDigit(c)) return c - '0';
        const char lower = text::lowerAscii(c);
        return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
    };
    std::string plain;
    for (std::size_t i = 0; i < target.size(); ++i) {
        if (target[i] == '%' && i + 2 < target.size() && hex(target[i + 1]) >= 0 &&
            hex(target[i + 2]) >= 0) {
            plain += static_cast<char>(hex(target[i + 1]) * 16 + hex(target[i + 2]));
            i += 2;
        } else {
            plain += target[i];
        }
    }
    return plain;
}

/// What GitHub makes of a heading's text: letters, digits, "-" and "_" in small letters, blanks as
/// "-", all else left out.
std::string slugOf(std::string_view title) {
    std::string slug;
    const std::string lower = text::lowercased(title);
    for (std::size_t i = 0; i < lower.size();) {
        const text::Decoded point = text::decodeFront(std::string_view(lower).substr(i));
        if (lower[i] == ' ') {
            slug += '-';
        } else if (lower[i] == '-' || lower[i] == '_' ||
                   (point.codePoint != text::kNoCodePoint &&
                    (text::isLetter(point.codePoint) || text::isDigit(point.codePoint)))) {
            slug += lower.substr(i, point.length);
        }
        i += point.length;
    }
    return slug;
}

struct Anchors {
    std::unordered_set<std::string> exact; ///< Slugs as GitHub makes them, and ids as written.
    std::unordered_set<std::string> keys;  ///< Whatever else a renderer may make of them.

    [[nodiscard]] bool has(const std::string& fragment) const {
        if (exact.count(fragment) > 0) return true;
        // Anchors tell capitals apart, and no renderer makes any of headings.
        const bool capitals = std::any_of(fragment.begin(), fragment.end(),
                                          [](char c) { return c >= 'A' && c <= 'Z'; });
        return !capitals && hasButForCapitals(fragment);
    }
    /// Which some pages that show a document put right.
    [[nodiscard]] bool hasButForCapitals(const std::string& fragment) const {
        return keys.count(anchorKey(fragment)) > 0;
    }
};

/// What a heading says of its own anchor, and where in its text that begins.
struct OwnAnchor {
    std::size_t begin = static_cast<std::size_t>(-1);
    std::string_view id; ///< Empty when other things are said alone.
};

/// "Part {#part .wide}", "Part {: #part }", "Part # {: .wide #part}".
OwnAnchor ownAnchorOf(std::string_view title) {
    title = text::trimmed(title);
    const std::size_t open = title.rfind('{');
    if (open == std::string_view::npos || title.back() != '}') return {};
    std::string_view inner = title.substr(open + 1, title.size() - open - 2);
    if (inner.starts_with(':')) inner.remove_prefix(1);
    inner = text::trimmed(inner);
    if (inner.empty() || (inner.front() != '#' && inner.front() != '.')) return {};
    // A closing row of marks stands before it.
    OwnAnchor own{text::trimmed(title.substr(0, open)).find_last_not_of('#') + 1, {}};
    const std::size_t mark = inner.starts_with('#') ? 0 : inner.find(" #");
    if (mark == std::string_view::npos) return own;
    const std::string_view id = inner.substr(inner.find('#', mark) + 1);
    own.id = id.substr(0, id.find_first_of(" \t"));
    return own;
}

Anchors anchorsOf(const DocumentView& document) {
    Anchors anchors;
    std::map<std::string, std::size_t> uses;
    const auto add = [&](std::string_view title) {
        const std::string slug = slugOf(text::trimmed(title));
        // As GitHub has it: the second heading of one text gets "-1", the third "-2".
        const std::size_t earlier = uses[slug]++;
        const std::string again = earlier == 0 ? "" : std::to_string(earlier);
        anchors.exact.insert(earlier == 0 ? slug : slug + "-" + again);
        anchors.keys.insert(anchorKey(title) + again);
    };
    const auto addOwn = [&](std::string_view id) {
        anchors.exact.insert(std::string(id));
        anchors.keys.insert(anchorKey(id));
    };
    const std::string_view text = document.source.text();
    for (const Heading& heading : document.outline.headings) {
        // As it is shown: the anchor of a heading that is a link has nothing of its target.
        std::string_view title = heading.shown;
        // Some renderers let a heading name its own anchor.
        if (const OwnAnchor own = ownAnchorOf(title); own.begin < title.size()) {
            if (!own.id.empty()) addOwn(own.id);
            title = title.substr(0, own.begin);
        }
        add(title);
        // Others make words of pictures too.
        if (heading.described != heading.shown) anchors.keys.insert(anchorKey(heading.described));
    }
    for (const std::string_view attribute : {"id=", "name="}) {
        for (std::size_t at = text.find(attribute); at != std::string_view::npos;
             at = text.find(attribute, at + 1)) {
            // 100 bytes: an id is a word or two.
            std::string_view value = text.substr(at + attribute.size(), 100);
            const bool quoted = !value.empty() && (value[0] == '"' || value[0] == '\'');
            // HTML lets a value without blanks stand bare.
            addOwn(quoted ? value.substr(1, value.find(value[0], 1) - 1)
                          : value.substr(0, value.find_first_of(" \t\n\"'=<>`")));
        }
    }
    return anchors;
}

struct NumberedKind {
    std::string_view word;
    std::string_view shortWord;
    std::string_view shown;
};

constexpr std::array kKinds = {NumberedKind{"table", "tab", "Table"},
                               NumberedKind{"figure", "fig", "Figure"},
                               NumberedKind{"section", "sect", "Section"}};
constexpr std::size_t kSection = 2;

/// "3" or "3.2" at `at`; empty when no number stands there.
std::string_view numberAt(std::string_view text, std::size_t at) {
    std::size_t end = at;
    // 12 bytes hold any number that sections have.
    while (end < text.size() && end - at < 12) {
        const bool point = text[end] == '.' && end > at && end + 1 < text.size() &&
                           text::isAsciiDigit(text[end + 1]);
        if (!text::isAsciiDigit(text[end]) && !point) break;
        ++end;
    }
    // "3D" and "2nd" are no numbers.
    if (end < text.size() && text::isAsciiLetter(text[end])) return {};
    return text.substr(at, end - at);
}

/// Behind the word and its blank: " 3", ". 3" or a blank that does not break.
std::size_t numberStart(std::string_view text, std::size_t at) {
    if (at < text.size() && text[at] == '.') ++at;
    if (text.substr(at, 2) == "\xC2\xA0") return at + 2;
    return at < text.size() && (text[at] == ' ' || text[at] == '\n') ? at + 1 : text.size();
}

std::size_t kindOf(std::string_view word) {
    const std::string lower = text::lowerAscii(word);
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
        if (lower == kKinds[i].word || lower == kKinds[i].shortWord) return i;
    }
    return kKinds.size();
}

/// Which words lead their line, with nothing in front of them but blanks and marks. Remembers the
/// line that was asked for last: all words of one line ask, and a line can be as long as the text.
class LineLeads {
public:
    explicit LineLeads(const SourceText& source) : m_source(source) {}

    // Words come in the order of the text, so the line that was asked for last is the one asked for
    // next.
    bool has(const text::Word& word) {
        const std::size_t line = m_source.lineAt(word.offset);
        if (line != m_line) {
            m_line = line;
            const std::size_t marks = m_source.line(line).find_first_not_of(" \t*_#>![|");
            m_first = marks == std::string_view::npos ? m_source.lineEnd(line)
                                                      : m_source.lineStart(line) + marks;
        }
        return word.offset <= m_first;
    }

private:
    const SourceText& m_source;
    std::size_t m_line = static_cast<std::size_t>(-1);
    std::size_t m_first = 0; ///< Behind the marks.
};

/// "Table 3: ..." at the start of a line, bold or not, or as the text of a picture.
bool isCaption(std::string_view text, const text::Word& word, std::size_t numberEnd,
               LineLeads& leads) {
    if (!leads.has(word)) return false;
    if (numberEnd >= text.size()) return true;
    // Four bytes: a blank and a dash of three.
    const std::string_view rest = text.substr(numberEnd, 4);
    constexpr std::string_view kBehind = ":.|)*_]\n\r-";
    if (kBehind.find(rest[0]) != std::string_view::npos) return true;
    return rest.substr(0, 3) == "–" || rest.substr(0, 3) == "—" || rest.substr(1, 3) == "–" ||
           rest.substr(1, 3) == "—" || rest.substr(0, 2) == " -";
}

using Numbers = std::set<std::string, std::less<>>;

std::string withoutLastPoint(std::string_view number) {
    while (!number.empty() && number.back() == '.') number.remove_suffix(1);
    return std::string(number);
}

/// The numbers that headings carry, and lines such as "3.2 Results" that stand alone.
Numbers sectionNumbers(const DocumentView& document) {
    Numbers numbers;
    const std::string_view text = document.source.text();
    for (const Heading& heading : document.outline.headings) {
        std::size_t at = heading.begin;
        if (text::hasAt(text, at, "section ")) at += 8;
        const std::string_view number = numberAt(text, at);
        if (!number.empty()) numbers.insert(withoutLastPoint(number));
    }
    const auto& lines = document.outline.lines;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i] != LineKind::prose && lines[i] != LineKind::listItem) continue;
        // A number on a line of its own, with a capital behind it, is a heading that was not marked
        // as one.
        const bool alone = (i == 0 || lines[i - 1] == LineKind::blank) &&
                           (i + 1 == lines.size() || lines[i + 1] == LineKind::blank);
        const std::string_view line = text::trimmed(document.source.line(i));
        if (!alone || line.size() > 80 || line.back() == '.') continue;
        const std::string_view number = numberAt(line, 0);
        if (number.empty() || number.size() >= line.size()) continue;
        std::size_t title = number.size();
        while (title < line.size() && (line[title] == '.' || line[title] == ' ')) ++title;
        if (title < line.size() && title > number.size() && line[title] >= 'A' &&
            line[title] <= 'Z') {
            numbers.insert(withoutLastPoint(number));
        }
    }
    return numbers;
}

/// "Section 230 of the act" is somewhere else.
bool refersOutside(std::string_view text, std::size_t end, std::string_view before) {
    const std::string_view after = text.substr(end, 8);
    if (after.substr(0, 4) == " of " || after.substr(0, 4) == " in ") return true;
    const std::string lower = text::lowerAscii(before);
    return lower == "rfc" || lower == "iso" || lower == "act" || lower == "supplementary";
}

/// "shop.Shelf.add", "opt-shop.enable": the name of a thing in code, whose anchor a tool makes;
/// none that is made of a heading has a dot.
bool namesCode(std::string_view fragment) {
    for (std::size_t i = 1; i + 1 < fragment.size(); ++i) {
        if (fragment[i] == '.' && text::isAsciiLetter(fragment[i - 1]) &&
            text::isAsciiLetter(fragment[i + 1])) {
            return true;
        }
    }
    return false;
}

/// Links to headings that are not there; which of them weigh is known when all are.
struct DeadAnchors {
    std::vector<const Link*> otherCapitals; ///< Of a heading that is there.
    std::vector<const Link*> nowhere;

    /// Those that are few for the text weigh low: a page that has many links has a dead one soon.
    void reportTo(FindingList& findings, std::size_t words) const {
        add(findings, otherCapitals, areFew(otherCapitals.size(), words));
        add(findings, nowhere, words >= kWordsOfACertainSlip * nowhere.size());
    }

private:
    static void add(FindingList& findings, const std::vector<const Link*>& links, bool few) {
        for (const Link* link : links) {
            findings.add(few ? softened(kBrokenAnchor) : kBrokenAnchor, link->offset, link->length,
                         "leads to a heading that the document does not have");
        }
    }
};

void checkTarget(const DocumentView& document, const Link& link, const Anchors& anchors,
                 DeadAnchors& dead, FindingList& findings) {
    if (isGapTarget(link.target)) {
        findings.add(kEmptyLink, link.offset, link.length, "is a link that leads nowhere");
        return;
    }
    if (link.target[0] == '#') {
        std::string fragment = unescaped(link.target.substr(1));
        constexpr std::string_view kPrefix = "user-content-"; // GitHub's own, in the page.
        if (fragment.starts_with(kPrefix)) fragment.erase(0, kPrefix.size());
        const bool known =
            anchors.has(fragment) || fragment == "_top" || text::lowerAscii(fragment) == "top";
        // Without any heading the anchors come from elsewhere.
        if (known || document.outline.headings.empty() || namesCode(fragment)) return;
        (anchors.hasButForCapitals(fragment) ? dead.otherCapitals : dead.nowhere).push_back(&link);
        return;
    }
    const std::string_view fault = addressFault(link);
    if (!fault.empty()) {
        findings.add(kBrokenAddress, link.offset, link.length,
                     "has an address that " + std::string(fault));
    }
}

/// "[1] Author, title" at the start of lines is a list of sources that "[1]" in the text means.
void checkSources(const DocumentView& document, FindingList& findings) {
    const std::string_view text = document.view.masked();
    Numbers listed;
    std::set<std::size_t> entries;
    for (std::size_t i = 0; i < document.source.lineCount(); ++i) {
        const std::size_t start = document.source.lineStart(i);
        if (start + 3 >= text.size() || text[start] != '[') continue;
        const std::string_view number = numberAt(text, start + 1);
        const std::size_t close = start + 1 + number.size();
        if (number.empty() || text.substr(close, 2) != "] ") continue;
        listed.insert(std::string(number));
        entries.insert(start);
    }
    // One entry may be something in brackets; two are a list.
    if (listed.size() < 2) return;
    for (std::size_t at = text.find('['); at != std::string_view::npos;
         at = text.find('[', at + 1)) {
        const std::string_view number = numberAt(text, at + 1);
        const std::size_t close = at + 1 + number.size();
        // Up to 999 sources; longer numbers are years and the like.
        if (number.empty() || number.size() > 3 || close >= text.size() || text[close] != ']') {
            continue;
        }
        if (at > 0 && text::isAsciiWord(text[at - 1])) continue; // "list[3]"
        if (entries.count(at) > 0 || listed.find(number) != listed.end()) continue;
        findings.add(kMissingNote, at, close + 1 - at,
                     "cites a source that the list of sources does not have");
    }
}

/// "[^\\w]", and what has nothing before it on its line: a class of letters in a pattern.
bool isPattern(const DocumentView& document, const Reference& mark) {
    const std::size_t line = document.source.lineStart(document.source.lineAt(mark.offset));
    const std::string_view before = document.source.text().substr(line, mark.offset - line);
    return mark.id.find('\\') != std::string_view::npos ||
           before.find_first_not_of(" \t") == std::string_view::npos;
}

/// A label as CommonMark compares it: without regard to case, blanks and line breaks as one blank.
std::string labelKey(std::string_view label) {
    std::string key;
    for (const char c : text::trimmed(label)) {
        const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        if (blank && key.ends_with(' ')) continue;
        key += blank ? ' ' : text::lowerAscii(c);
    }
    return key;
}

/// Whether the brackets are none of a link: "row[i][j]", "[+][size][.]", "[a-z][a-z0-9]",
/// "[tab][tab]", or the name of a thing in code where nothing at all is defined, whose address a
/// tool puts in.
bool isOfCode(const DocumentView& document, const Reference& reference) {
    const std::string_view text = document.source.text();
    const auto isPartBefore = [](char c) { return text::isAsciiWord(c) || c == ']' || c == ')'; };
    if (reference.offset > 0 && isPartBefore(text[reference.offset - 1])) return true;
    const std::string_view own = text.substr(reference.offset, reference.length);
    // A third pair of brackets: a link has two.
    const std::size_t end = reference.offset + reference.length;
    if (text.substr(end).starts_with('[')) return true;
    // "[tab][tab]": a key pressed twice; who links names the address once.
    const std::size_t half = own.size() / 2;
    if (own.size() % 2 == 0 && own.substr(0, half) == own.substr(half)) return true;
    // "ping([data][, then])", "[run][store::Shelf::run]": arguments, and names that a tool knows.
    if (reference.id.starts_with(',') || (reference.id.find("::") != std::string_view::npos &&
                                          reference.id.find(' ') == std::string_view::npos)) {
        return true;
    }
    if (own.starts_with("[a-z") || own.starts_with("[A-Z") || own.starts_with("[0-9")) return true;
    return own.starts_with("[`") && document.outline.definitions.empty();
}

} // namespace

void checkLinks(const DocumentView& document, FindingList& findings) {
    const Anchors anchors = anchorsOf(document);
    DeadAnchors dead;
    for (const Link& link : document.outline.links) {
        checkTarget(document, link, anchors, dead, findings);
        if (!link.image && text::trimmed(link.text).empty() && !isGapTarget(link.target)) {
            findings.add(kLinkText, link.offset, link.length, "is a link that shows nothing");
        }
        if (link.image && text::trimmed(link.text).empty()) {
            findings.add(kImageText, link.offset, link.length,
                         "is a picture without words for those who cannot see it");
        }
    }
    for (const Reference& link : document.outline.reversed) {
        findings.add(kReversedLink, link.offset, link.length,
                     "is a link with its brackets the wrong way round");
    }
    std::set<std::string, std::less<>> defined;
    for (const Reference& definition : document.outline.definitions) {
        defined.insert(labelKey(definition.id));
    }
    std::set<std::string, std::less<>> used;
    for (const Reference& reference : document.outline.references) {
        used.insert(labelKey(reference.id));
    }
    for (std::size_t i = 0; i < document.outline.definedLinks.size(); ++i) {
        const Link& link = document.outline.definedLinks[i];
        // "[//]: # (…)" is how some write comments. Of definitions only those are judged that are
        // used, and those that lead within the document.
        const bool points = link.target.size() > 1 && link.target[0] == '#';
        const std::string id = labelKey(document.outline.definitions[i].id);
        if (points || used.count(id) > 0) checkTarget(document, link, anchors, dead, findings);
    }
    dead.reportTo(findings, document.view.words.size());
    for (const Reference& picture : document.outline.silentPictures) {
        findings.add(kImageText, picture.offset, picture.length,
                     "is a picture without words for those who cannot see it");
    }
    for (const Reference& reference : document.outline.references) {
        if (defined.count(labelKey(reference.id)) > 0 || isOfCode(document, reference)) {
            continue;
        }
        findings.add(kMissingDefinition, reference.offset, reference.length,
                     "is a link whose address is defined nowhere");
    }
}

void checkNotes(const DocumentView& document, FindingList& findings) {
    std::set<std::string, std::less<>> written;
    std::set<std::string, std::less<>> marked;
    for (const Reference& note : document.outline.notes) written.insert(std::string(note.id));
    for (const Reference& mark : document.outline.noteMarks) {
        marked.insert(std::string(mark.id));
        if (written.count(mark.id) > 0 || isPattern(document, mark)) continue;
        findings.add(kMissingNote, mark.offset, mark.length,
                     "points to a note that the document does not have");
    }
    for (const Reference& note : document.outline.notes) {
        if (marked.count(note.id) > 0) continue;
        findings.add(kUnusedNote, note.offset, note.length, "is a note that nothing points to");
    }
    checkSources(document, findings);
}

// Two passes: a caption may stand behind what refers to it.
void checkNumberedReferences(const DocumentView& document, FindingList& findings) {
    struct Mention {
        std::size_t offset;
        std::size_t end;
        std::size_t kind;
        std::string_view number;
    };
    const std::string_view text = document.source.text();
    std::array<Numbers, kKinds.size()> existing;
    existing[kSection] = sectionNumbers(document);
    std::vector<Mention> mentions;
    LineLeads leads(document.source);
    const std::vector<text::Word> all =
        text::wordsIn(text, 0, text.size()); // Captions of pictures too.
    for (std::size_t i = 0; i < all.size(); ++i) {
        const text::Word& word = all[i];
        // No word that is looked for is shorter or longer.
        if (!word.capitalised || word.length < 3 || word.length > 7) continue;
        const std::size_t kind = kindOf(text.substr(word.offset, word.length));
        if (kind == kKinds.size()) continue;
        const std::size_t start = numberStart(text, word.end());
        const std::string_view number = numberAt(text, start);
        if (number.empty()) continue;
        const std::size_t end = start + number.size();
        // A number on the next line belongs to something else.
        if (isCaption(text, word, end, leads) && text[start - 1] != '\n') {
            existing[kind].insert(std::string(number));
            continue;
        }
        const std::string_view before =
            i > 0 ? text.substr(all[i - 1].offset, all[i - 1].length) : std::string_view();
        if (document.view.masked()[word.offset] == kMasked || refersOutside(text, end, before)) {
            continue;
        }
        mentions.push_back({word.offset, end, kind, number});
    }
    for (const Mention& mention : mentions) {
        const Numbers& numbers = existing[mention.kind];
        // Without any caption the tables and figures are elsewhere.
        if (numbers.empty() || numbers.find(mention.number) != numbers.end()) continue;
        findings.add(kMissingReference, mention.offset, mention.end - mention.offset,
                     "does not exist in the document, which has " + std::to_string(numbers.size()) +
                         " with such a number");
    }
}

} // namespace trevix
