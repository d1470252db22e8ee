// Pages in HTML, by the tree that their grammar makes of them.
//
// A page can also be a template, a fragment, or be changed by its scripts. What those could make
// right is not told: the text is not yet the page.

#include "critics/code/code_rule_table.h"
#include "critics/code/code_rules.h"
#include "text/letters.h"
#include "text/one_of.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace trevix {

namespace text = kelvane::text;

namespace {

constexpr GradedRule kSyntax = declared<WorkKind::code>("code.syntax");
constexpr GradedRule kUnpaired = declared<WorkKind::code>("code.unpaired_tag", Severity::medium);
constexpr GradedRule kSpareEnd = declared<WorkKind::code>("code.unpaired_tag", Severity::low);
constexpr GradedRule kNested = declared<WorkKind::code>("code.nested_element");
constexpr GradedRule kRepeated = declared<WorkKind::code>("code.repeated_attribute");
constexpr GradedRule kTwoIds = declared<WorkKind::code>("code.repeated_id");
constexpr GradedRule kNoTarget = declared<WorkKind::code>("code.missing_target");
constexpr GradedRule kPlainForm = declared<WorkKind::code>("code.plain_form");
constexpr GradedRule kPlainScript = declared<WorkKind::code>("code.plain_address");
constexpr GradedRule kUnrendered = declared<WorkKind::code>("code.unrendered_value");
constexpr GradedRule kFiller = declared<WorkKind::code>("code.filler_text");
constexpr GradedRule kImageText = declared<WorkKind::code>("code.image_text");

// HTML, 13.1.2: elements that have no content, those of today and those of old.
constexpr std::array<std::string_view, 20> kVoid = {
    "area", "base",  "basefont", "bgsound", "br",   "col",  "command", "embed",  "frame", "hr",
    "img",  "input", "isindex",  "keygen",  "link", "meta", "param",   "source", "track", "wbr"};
// HTML, 13.1.2.4: those whose end tag may be left out.
constexpr std::array<std::string_view, 21> kEndsItself = {
    "body", "caption", "colgroup", "dd",  "dt",    "head", "html",  "li", "optgroup", "option", "p",
    "rb",   "rp",      "rt",       "rtc", "tbody", "td",   "tfoot", "th", "thead",    "tr"};
// Elements that matter to what stands in them, each a bit of Element::within.
constexpr std::array<std::string_view, 14> kAround = {"a",        "button", "form", "label", "svg",
                                                      "template", "code",   "kbd",  "pre",   "samp",
                                                      "tt",       "var",    "td",   "th"};
using Around = std::uint32_t;

constexpr Around bitOf(std::string_view name) {
    const auto found = std::ranges::find(kAround, name);
    return found == kAround.end() ? 0 : Around{1} << static_cast<unsigned>(found - kAround.begin());
}

constexpr Around maskOf(std::initializer_list<std::string_view> names) {
    Around mask = 0;
    for (const std::string_view name : names) mask |= bitOf(name);
    return mask;
}

// Of the same kind inside one another they are taken apart by browsers, and for people they are
// one.
constexpr Around kNeverInItself = maskOf({"a", "button", "form", "label"});
// What stands in these is about programs, where values without one are right.
constexpr Around kOfPrograms = maskOf({"code", "kbd", "pre", "samp", "tt", "var", "td", "th"});
// What stands in these has ids of its own, or has them from a drawing program.
constexpr Around kApart = maskOf({"svg", "template"});

using Index = SyntaxTree::Index;

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

struct Attribute {
    std::string name; ///< In small letters.
    std::string_view value;
    Index node = SyntaxTree::kNone;
};

struct Element {
    std::string name; ///< In small letters.
    std::vector<Attribute> attributes;
    Index node = SyntaxTree::kNone;
    Index tag = SyntaxTree::kNone; ///< Its start tag.
    std::size_t around = kNowhere; ///< Index of the element that it stands in.
    std::size_t form = kNowhere;   ///< Index of the innermost form around it.
    Around outside = 0;            ///< What it stands in, at whatever distance.
    Around within = 0;             ///< The same, and itself.
    bool hasEnd = false;
    bool closesItself = false; ///< "<a/>"

    [[nodiscard]] const Attribute* attribute(std::string_view of) const {
        const auto found = std::ranges::find(attributes, of, &Attribute::name);
        return found == attributes.end() ? nullptr : &*found;
    }
    [[nodiscard]] std::string_view valueOf(std::string_view of) const {
        const Attribute* const found = attribute(of);
        return found ? found->value : std::string_view();
    }
};

/// Marks by which a text is put together before it is a page.
bool isTemplate(std::string_view text) {
    constexpr std::array<std::string_view, 9> kMarks = {
        "{{", "{%", "<%", "<?php", "<?=", "${", "{#", "@{", "[%"};
    return std::ranges::any_of(
        kMarks, [&](std::string_view mark) { return text.find(mark) != std::string_view::npos; });
}

/// The elements of a page, what stands in what, and what is written in them.
class Page {
public:
    Page(const SyntaxTree& tree, std::string_view text) : m_tree(tree), m_text(text) {
        std::vector<std::size_t> open; // elements, the innermost last
        for (Index i = 0; i < m_tree.nodes.size(); ++i) {
            while (!open.empty() && i >= m_tree[elements[open.back()].node].behind) {
                open.pop_back();
            }
            const std::string_view kind = m_tree[i].kind;
            const std::size_t inside = open.empty() ? kNowhere : open.back();
            if (kind.ends_with("element")) {
                if (!addElement(i, inside)) continue;
                open.push_back(elements.size() - 1);
            } else if (kind == "erroneous_end_tag") {
                spareEnds.emplace_back(i, inside);
            } else if (kind == "text") {
                texts.emplace_back(i, inside);
                m_isTemplate = m_isTemplate || isTemplate(textOf(i));
            } else if (kind == "ERROR" || kind.ends_with("tag")) {
                m_isTemplate = m_isTemplate || isTemplate(textOf(i));
            }
        }
    }

    std::vector<Element> elements; ///< In the order of the text.
    /// Nodes, each with the element around it or kNowhere.
    std::vector<std::pair<Index, std::size_t>> spareEnds;
    std::vector<std::pair<Index, std::size_t>> texts;

    [[nodiscard]] std::string_view textOf(Index node) const { return m_tree.textOf(node, m_text); }
    /// Whether a text is all that stands between the tags of its element.
    [[nodiscard]] bool isAllOf(Index node) const {
        return node > 0 && m_tree.is(m_tree.nextSibling(node), "end_tag") &&
               m_tree[m_tree[node].parent].kind.ends_with("element") &&
               m_tree.nextSibling(m_tree.firstChild(m_tree[node].parent)) == node;
    }
    [[nodiscard]] std::size_t begin(Index node) const { return m_tree[node].begin; }
    [[nodiscard]] bool isTemplated() const { return m_isTemplate; }
    [[nodiscard]] bool hasScripts() const {
        return std::ranges::any_of(elements, [](const Element& element) {
            return element.name == "script" || std::ranges::any_of(element.attributes, [](auto& a) {
                       return a.name.starts_with("on");
                   });
        });
    }
    /// From its beginning to its end, and so all targets.
    [[nodiscard]] bool isWhole() const {
        return std::ranges::any_of(elements, [](const Element& element) {
            return (element.name == "body" || element.name == "html") && element.hasEnd;
        });
    }
    /// What an element is, and what it stands in.
    [[nodiscard]] Around within(std::size_t element) const {
        return element == kNowhere ? 0 : elements[element].within;
    }

private:
    bool addElement(Index node, std::size_t inside) {
        Element element;
        element.node = node;
        for (Index at = m_tree.firstChild(node); at != SyntaxTree::kNone;
             at = m_tree.nextSibling(at)) {
            const std::string_view kind = m_tree[at].kind;
            if (kind == "end_tag") element.hasEnd = true;
            if (kind != "start_tag" && kind != "self_closing_tag") continue;
            element.tag = at;
            element.closesItself = kind == "self_closing_tag";
            readTag(at, element);
        }
        // "< 5" is no tag, though the grammar has it for one.
        if (element.tag == SyntaxTree::kNone || element.name.empty() ||
            !text::isAsciiLetter(textOf(element.tag).substr(0, 2).back())) {
            return false;
        }
        element.around = inside;
        if (inside != kNowhere) {
            element.outside = elements[inside].within;
            element.form = elements[inside].name == "form" ? inside : elements[inside].form;
        }
        element.within = element.outside | bitOf(element.name);
        elements.push_back(std::move(element));
        return true;
    }

    void readTag(Index tag, Element& element) const {
        for (Index at = m_tree.firstChild(tag); at != SyntaxTree::kNone;
             at = m_tree.nextSibling(at)) {
            if (m_tree.is(at, "tag_name")) element.name = text::lowerAscii(textOf(at));
            if (!m_tree.is(at, "attribute")) continue;
            Attribute attribute;
            attribute.node = at;
            for (Index of = m_tree.firstChild(at); of != SyntaxTree::kNone;
                 of = m_tree.nextSibling(of)) {
                if (m_tree.is(of, "attribute_name")) attribute.name = text::lowerAscii(textOf(of));
                if (m_tree.is(of, "attribute_value")) attribute.value = textOf(of);
                if (m_tree.is(of, "quoted_attribute_value") && textOf(of).size() >= 2) {
                    attribute.value = textOf(of).substr(1, textOf(of).size() - 2);
                }
            }
            element.attributes.push_back(std::move(attribute));
        }
    }

    const SyntaxTree& m_tree;
    std::string_view m_text;
    bool m_isTemplate = false;
};

void addAt(const Page& page, GradedRule rule, Index node, std::string_view says,
           FindingList& findings) {
    findings.add(rule, page.begin(node), page.textOf(node).size(), says);
}

/// Tags that do not end, by the text: what a browser makes of them leaves little of the tree
/// behind.
class TagScan {
public:
    TagScan(std::string_view text, FindingList& findings) : m_text(text), m_findings(findings) {}

    void run() {
        std::size_t at = m_text.find('<');
        while (at != std::string_view::npos) {
            at = m_text.find('<', isAt(at, "<!--") ? past("-->", at + 4) : pastTag(at));
        }
    }

private:
    [[nodiscard]] bool isAt(std::size_t at, std::string_view what) const {
        return m_text.substr(at, what.size()) == what;
    }
    /// Behind the next `what` from `at` on; the end without one.
    [[nodiscard]] std::size_t past(std::string_view what, std::size_t at) const {
        const std::size_t found = m_text.find(what, at);
        return found == std::string_view::npos ? m_text.size() : found + what.size();
    }

    /// Behind the tag at `open`, or behind what is no tag.
    std::size_t pastTag(std::size_t open) {
        const bool ends = isAt(open, "</");
        const std::size_t begin = open + (ends ? 2 : 1);
        std::size_t at = begin;
        while (at < m_text.size() && text::isAsciiWord(m_text[at])) ++at;
        const std::string name = text::lowerAscii(m_text.substr(begin, at - begin));
        if (name.empty() || text::isAsciiDigit(name.front())) return begin;
        char before = '\0'; // the last that is no blank
        while (at < m_text.size() && m_text[at] != '>') {
            const char c = m_text[at];
            if (c == '<') {
                tell(open, at, "is not ended by “>” before the next tag begins");
                return at;
            }
            ++at;
            const bool value = (c == '"' || c == '\'') && before == '=';
            if (!text::isSpace(static_cast<unsigned char>(c))) before = c;
            if (value && !passQuote(open, c, at)) return at;
            if (!value && c == '"' && closesNothing(open, at - 1)) {
                tell(open, at, "has a quote that was not opened");
            }
        }
        // Of other tags a selection may have cut off the end.
        if (at == m_text.size() && ends && (name == "html" || name == "body")) {
            tell(open, at, "is not ended by “>”");
        }
        return ends ? at : pastContent(open, name, at);
    }

    /// Whether a quote inside of a tag that is no value's first ends a word without a quote in it.
    [[nodiscard]] bool closesNothing(std::size_t open, std::size_t quote) const {
        const std::string_view before = m_text.substr(open, quote - open);
        const std::size_t mark = before.find_last_of(" \t\r\n\"'");
        return mark != std::string_view::npos && mark + 1 < before.size() &&
               text::isSpace(static_cast<unsigned char>(before[mark]));
    }

    /// What these elements hold is text, up to their end and whatever it looks like.
    std::size_t pastContent(std::size_t open, std::string_view name, std::size_t from) {
        constexpr std::array<std::string_view, 4> kHoldText = {"script", "style", "textarea",
                                                               "title"};
        if (!text::isOneOf(name, kHoldText)) return from;
        // "<script/>" and "<title/>" are whole where they stand in a drawing.
        if (from > 0 && m_text[from - 1] == '/') return from;
        // Compared in small letters, as "</SCRIPT>" ends it too.
        const std::string end = "</" + std::string(name);
        bool pageEnds = false;
        std::size_t at = from;
        while (at < m_text.size()) {
            const std::string there = text::lowerAscii(m_text.substr(at, end.size()));
            if (there == end) return at;
            pageEnds = pageEnds || there.starts_with("</body") || there.starts_with("</html");
            at = std::min(m_text.find('<', at + 1), m_text.size());
        }
        // Without the end of the page it is a piece that was cut off.
        if (pageEnds)
            tell(open, std::min(from + 1, m_text.size()), "takes in the rest of the page");
        return at;
    }

    /// From behind a quote to behind its partner. False where it has none: then the next quote, if
    /// any, opens what it seems to close.
    bool passQuote(std::size_t open, char quote, std::size_t& at) {
        const std::size_t close = m_text.find(quote, at);
        const std::string_view value = m_text.substr(at, close - at);
        const bool ends =
            close != std::string_view::npos &&
            (close + 1 >= m_text.size() || !(text::isAsciiWord(m_text[close + 1]) ||
                                             m_text[close + 1] == '/' || m_text[close + 1] == '.'));
        const std::size_t tagEnd = value.find('>');
        const bool takesTag =
            tagEnd != std::string_view::npos && value.find('<') != std::string_view::npos;
        const bool takesAttribute = value.ends_with('=') && close != std::string_view::npos;
        if (ends || !(takesTag || takesAttribute)) {
            at = std::min(close, m_text.size() - 1) + 1;
            return close != std::string_view::npos;
        }
        const std::size_t shown = takesTag ? tagEnd : value.size();
        tell(open, at + shown, "has a quote that is not closed");
        at += shown;
        return false;
    }

    void tell(std::size_t open, std::size_t end, std::string_view says) {
        m_findings.add(kSyntax, open, end - open, says);
    }

    std::string_view m_text;
    FindingList& m_findings;
};

void checkPairs(const Page& page, FindingList& findings) {
    const auto isClosed = [&](std::size_t around) {
        return around != kNowhere && page.elements[around].hasEnd;
    };
    for (const Element& element : page.elements) {
        if (element.hasEnd || element.closesItself) continue;
        if (text::isOneOf(element.name, kVoid) || text::isOneOf(element.name, kEndsItself)) {
            continue;
        }
        // A fragment may leave to another what it began; inside of what it also ends, it may not.
        if (!isClosed(element.around)) continue;
        addAt(page, kUnpaired, element.tag,
              "has no end tag before that of “" + page.elements[element.around].name +
                  "”; add “</" + element.name + ">”",
              findings);
    }
    for (const auto& [node, around] : page.spareEnds) {
        if (!isClosed(around)) continue;
        std::string name = text::lowerAscii(page.textOf(node));
        std::erase_if(name, [](char c) { return c == '<' || c == '/' || c == '>' || c == ' '; });
        // The end of a paragraph that a block has ended before makes an empty one; that of an
        // element without content makes nothing.
        const bool harmless = name == "p" || text::isOneOf(name, kVoid);
        addAt(page, harmless ? kSpareEnd : kUnpaired, node, "ends what is not open there",
              findings);
    }
}

void checkNesting(const Page& page, FindingList& findings) {
    for (const Element& element : page.elements) {
        // One that is left open is told as such.
        if (!element.hasEnd) continue;
        if ((bitOf(element.name) & element.outside & kNeverInItself) == 0) continue;
        addAt(page, kNested, element.tag, "stands in another “" + element.name + "”", findings);
    }
}

void checkAttributes(const Page& page, FindingList& findings) {
    for (const Element& element : page.elements) {
        std::unordered_set<std::string_view> names;
        for (const Attribute& attribute : element.attributes) {
            if (attribute.name.empty() || names.insert(attribute.name).second) continue;
            addAt(page, kRepeated, attribute.node,
                  "is not read: its element has that attribute already", findings);
        }
    }
}

void checkIds(const Page& page, FindingList& findings) {
    std::unordered_map<std::string_view, Index> first;
    for (const Element& element : page.elements) {
        const Attribute* const id = element.attribute("id");
        if (!id || id->value.empty() || (element.within & kApart) != 0) continue;
        if (first.try_emplace(id->value, id->node).second) continue;
        addAt(page, kTwoIds, id->node,
              "names an element as an earlier one is named; links, labels and scripts find the "
              "first",
              findings);
    }
}

void checkTargets(const Page& page, FindingList& findings) {
    // Scripts make targets, or take the link for a button.
    if (!page.isWhole() || page.hasScripts()) return;
    std::unordered_set<std::string> targets = {"", "top"};
    for (const Element& element : page.elements) {
        targets.emplace(element.valueOf("id"));
        if (element.name == "a") targets.emplace(element.valueOf("name"));
    }
    for (const Element& element : page.elements) {
        const Attribute* const link = element.attribute("href");
        if (link && element.name == "a" && link->value.starts_with('#')) {
            const std::string_view raw = link->value.substr(1);
            const std::string target = text::unescaped(raw).value_or(std::string(raw));
            // "#:~:text=" and "#!/" are no names of elements.
            const bool isName = !target.starts_with(':') && !target.starts_with('!') &&
                                target.find('&') == std::string::npos;
            if (isName && !targets.contains(target) && !targets.contains(std::string(raw))) {
                addAt(page, kNoTarget, link->node, "leads to no element of the page", findings);
            }
        }
        const Attribute* const of = element.attribute("for");
        if (of && element.name == "label" && !targets.contains(std::string(of->value))) {
            addAt(page, kNoTarget, of->node, "labels no element of the page", findings);
        }
    }
}

void checkForms(const Page& page, FindingList& findings) {
    std::unordered_set<std::size_t> told;
    for (const Element& field : page.elements) {
        if (field.name != "input" || field.form == kNowhere ||
            text::lowerAscii(field.valueOf("type")) != "password") {
            continue;
        }
        const Attribute* const action = page.elements[field.form].attribute("action");
        if (!action || !isPlainAddress(action->value) || !told.insert(field.form).second) continue;
        addAt(page, kPlainForm, action->node,
              "is where a password goes, unencrypted for all on the way; use https", findings);
    }
}

void checkScripts(const Page& page, FindingList& findings) {
    for (const Element& element : page.elements) {
        const Attribute* const source = element.attribute("src");
        if (element.name != "script" || !source || !isPlainAddress(source->value)) continue;
        addAt(page, kPlainScript, source->node,
              "runs what anybody on the way may have changed; use https", findings);
    }
}

bool isValueWithoutOne(std::string_view word) {
    constexpr std::array<std::string_view, 3> kValues = {"undefined", "NaN", "[object Object]"};
    return text::isOneOf(word, kValues);
}

/// Whether a piece between the slashes and marks of an address is the name of a value that was not
/// there.
bool hasUnrenderedPiece(std::string_view address) {
    std::size_t begin = 0;
    while (begin <= address.size()) {
        const std::size_t end = std::min(address.find_first_of("/?&=#", begin), address.size());
        if (isValueWithoutOne(address.substr(begin, end - begin))) return true;
        begin = end + 1;
    }
    return false;
}

/// "$NaN", "Hello undefined": what only a value can stand behind.
bool showsUnrendered(std::string_view written) {
    if (written.find("[object Object]") != std::string_view::npos) return true;
    constexpr std::array<std::string_view, 10> kBefore = {
        "$", "€", "£", "Hello ", "Hello, ", "Hi ", "Hi, ", "Dear ", "Welcome ", "Welcome back, "};
    for (const std::string_view value : {"undefined", "null", "NaN"}) {
        for (std::size_t at = written.find(value); at != std::string_view::npos;
             at = written.find(value, at + 1)) {
            const std::size_t behind = at + value.size();
            if (behind < written.size() && text::isAsciiWord(written[behind])) continue;
            const std::string_view before = written.substr(0, at);
            if (std::ranges::any_of(kBefore, [&](auto word) { return before.ends_with(word); })) {
                return true;
            }
        }
    }
    return false;
}

void checkValues(const Page& page, FindingList& findings) {
    for (const auto& [node, around] : page.texts) {
        const bool all = page.isAllOf(node) && isValueWithoutOne(text::trimmed(page.textOf(node)));
        if ((page.within(around) & kOfPrograms) != 0 ||
            !(all || showsUnrendered(page.textOf(node))))
            continue;
        addAt(page, kUnrendered, node, "shows a value that was not there", findings);
    }
    for (const Element& element : page.elements) {
        for (const std::string_view name : {"href", "src", "action"}) {
            const Attribute* const address = element.attribute(name);
            if (!address || !hasUnrenderedPiece(address->value)) continue;
            addAt(page, kUnrendered, address->node, "has a value in it that was not there",
                  findings);
        }
    }
}

void checkFiller(const Page& page, FindingList& findings) {
    for (const auto& [node, around] : page.texts) {
        if ((page.within(around) & kOfPrograms) != 0) continue;
        const std::string written = text::lowerAscii(page.textOf(node));
        if (written.find("lorem ipsum") == std::string::npos) continue;
        addAt(page, kFiller, node, "still holds the place of what is to be said", findings);
        return; // It comes in pieces, and one says it.
    }
}

void checkPictures(const Page& page, FindingList& findings) {
    for (const Element& picture : page.elements) {
        if (picture.name != "img" || picture.attribute("alt")) continue;
        const std::string role = text::lowerAscii(picture.valueOf("role"));
        const bool named = picture.attribute("aria-label") || picture.attribute("aria-labelledby");
        if (named || role == "presentation" || role == "none" ||
            picture.valueOf("aria-hidden") == "true") {
            continue;
        }
        addAt(page, kImageText, picture.tag,
              "has no alternative text; “alt=\"\"” says that it needs none", findings);
    }
}

} // namespace

void checkPage(const CodeView& view, const SyntaxTree& tree, FindingList& findings) {
    if (view.language != Language::html || tree.nodes.empty()) return;
    const Page page(tree, view.source.text());
    checkForms(page, findings);
    checkScripts(page, findings);
    if (page.isTemplated()) return;
    TagScan(view.source.text(), findings).run();
    checkPairs(page, findings);
    checkNesting(page, findings);
    checkAttributes(page, findings);
    checkIds(page, findings);
    checkTargets(page, findings);
    checkValues(page, findings);
    checkFiller(page, findings);
    checkPictures(page, findings);
}

} // namespace trevix
