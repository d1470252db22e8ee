#include "platform/linux/rules/accessible_tree.h"

#include "text/one_of.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>

namespace kelvane {

namespace accessible {

bool mayAskChildren(AccessibleRole role, AccessibleStates states) {
    if ((states & kManagesDescendants) != 0) return false;
    if (role == kTable || role == kTreeTable || role == kPassword) return false;
    // What is on no screen is nothing the user works in. Containers of GTK 4 are only VISIBLE.
    return (states & (kShowing | kVisible)) != 0;
}

bool mayAskText(AccessibleRole role) {
    return role != kPassword;
}

bool tellsWholeTexts(std::string_view toolkit, std::string_view executable) {
    const auto program = executable.substr(executable.rfind('/') + 1);
    return toolkit != "VCL" && program != "soffice.bin" && program != "soffice";
}

bool maySearch(std::string_view toolkit) {
    return toolkit == "Gecko";
}

} // namespace accessible

std::vector<AccessibleRef> FocusSearch::admit(const AccessibleRef* parent,
                                              const std::vector<AccessibleRef>& found) {
    std::size_t depth = 0;
    if (parent != nullptr) {
        const auto above = m_places.find(*parent);
        if (above == m_places.end()) return {};
        depth = above->second.depth + 1;
    }
    std::vector<AccessibleRef> admitted;
    for (const auto& object : found) {
        if (m_places.size() >= m_mostObjects) break;
        if (object.path.ends_with("/null")) continue;
        if (m_places.emplace(object, Place{depth, m_places.size()}).second) {
            admitted.push_back(object);
        }
    }
    return admitted;
}

FocusSearch::Next FocusSearch::told(const AccessibleRef& object, AccessibleRole role,
                                    AccessibleStates states) const {
    if (!m_places.contains(object)) return {};
    return {.children = accessible::mayAskChildren(role, states),
            .selections = (states & accessible::kFocused) != 0 && accessible::mayAskText(role)};
}

void FocusSearch::toldSelections(const AccessibleRef& object, std::int32_t count) {
    const auto place = m_places.find(object);
    if (count < 0 || place == m_places.end()) return;
    if (!m_best || m_best->first < place->second) m_best.emplace(place->second, object);
}

std::optional<AccessibleRef> FocusSearch::focused() const {
    if (!m_best) return std::nullopt;
    return m_best->second;
}

namespace {

constexpr std::string_view kObject = "\xEF\xBF\xBC"; // U+FFFC

/// Where the next character of UTF-8 begins.
std::size_t after(std::string_view text, std::size_t at) {
    do ++at;
    while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U);
    return at;
}

/// Calls `each(character, place among the embedded objects or nothing)` for what is selected.
template <typename Each>
void forSelected(std::string_view text, std::pair<std::int32_t, std::int32_t> selection,
                 const Each& each) {
    const auto [from, to] = std::minmax(selection.first, selection.second);
    std::int32_t character = 0;
    std::size_t object = 0;
    for (std::size_t at = 0; at < text.size() && character < to; ++character) {
        const auto end = after(text, at);
        const auto bytes = text.substr(at, end - at);
        const bool isObject = bytes == kObject;
        if (character >= from) each(bytes, isObject ? std::optional(object) : std::nullopt);
        object += isObject ? 1U : 0U;
        at = end;
    }
}

void startLine(std::string& text) {
    if (!text.empty() && !text.ends_with('\n')) text += '\n';
}

/// False: with a hole.
bool append(const AccessibleText& read, std::string& text) {
    bool complete = true;
    for (const auto& selection : read.selections) {
        bool afterBlock = false;
        forSelected(read.text, selection, [&](std::string_view bytes, auto object) {
            if (!object) {
                if (std::exchange(afterBlock, false) && bytes != "\n") startLine(text);
                text += bytes;
                return;
            }
            if (*object >= read.embedded.size()) {
                complete = false;
                return;
            }
            const auto& piece = read.embedded[*object];
            if (piece.block || afterBlock) startLine(text);
            afterBlock = piece.block;
            complete = piece.whole && append(piece, text) && complete;
        });
    }
    return complete;
}

} // namespace

std::vector<std::size_t>
selectedObjects(std::string_view text,
                const std::vector<std::pair<std::int32_t, std::int32_t>>& selections) {
    std::set<std::size_t> found;
    for (const auto& selection : selections) {
        forSelected(text, selection, [&](std::string_view, auto object) {
            if (object) found.insert(*object);
        });
    }
    return {found.begin(), found.end()};
}

std::optional<std::string> selectedText(const AccessibleText& read) {
    std::string text;
    if (!read.whole || !append(read, text) || text.empty()) return std::nullopt;
    return text;
}

bool isBlock(AccessibleRole role) {
    // list item, paragraph, caption, document, heading, section, form, article, block quote
    static constexpr std::array<AccessibleRole, 9> kBlocks{32, 73, 81, 82, 83, 85, 87, 109, 105};
    return std::ranges::find(kBlocks, role) != kBlocks.end();
}

bool SilentNames::holds(const std::string& name, Moment now) const {
    const auto found = m_since.find(name);
    return found != m_since.end() && now - found->second < accessible::kForgotten;
}

WindowFacts accessibleFacts(WindowFacts facts, std::string_view application,
                            std::string_view title) {
    facts.title = std::string(title);
    const auto& file = facts.executable;
    facts.instance = file.substr(file.rfind('/') + 1); // npos + 1 is 0: the whole path.
    facts.wmClass = application.empty() ? facts.instance : std::string(application);
    return facts;
}

} // namespace kelvane
