#include "service/report/html.h"

#include "service/report/html_text.h"

#include <algorithm>

namespace trevix {

namespace {

std::string openTag(std::string_view tag, std::initializer_list<Attribute> attributes) {
    // Tags and names of attributes are literals of this program, so they are not escaped; all
    // values are.
    std::string markup("<");
    markup.append(tag);
    for (const Attribute& attribute : attributes) {
        markup.append(" ").append(attribute.name).append("=\"");
        markup.append(htmlText(attribute.value)).append("\"");
    }
    return markup.append(">");
}

} // namespace

Html::Html(std::string_view text) : m_markup(htmlText(text)) {}

Html& Html::operator+=(const Html& more) {
    m_markup += more.m_markup;
    return *this;
}

Html element(std::string_view tag, std::initializer_list<Attribute> attributes,
             std::initializer_list<Html> content) {
    Html made;
    std::string& markup = made.m_markup;
    markup = openTag(tag, attributes);
    for (const Html& piece : content) made += piece;
    markup.append("</").append(tag).append(">");
    return made;
}

Html voidElement(std::string_view tag, std::initializer_list<Attribute> attributes) {
    Html made;
    made.m_markup = openTag(tag, attributes);
    return made;
}

// What is filled in is not looked at again: a text that holds "{{content}}" stays that text.
Html filled(const page_files::PageFile& file,
            std::initializer_list<std::pair<std::string_view, Html>> pieces) {
    constexpr std::string_view kOpen = "{{";
    constexpr std::string_view kClose = "}}";
    Html made;
    std::string_view rest = file.markup;
    // Only files of ours are read here, so a name without a piece is a slip of ours, and stays
    // empty.
    while (true) {
        const auto open = rest.find(kOpen);
        const auto close = rest.find(kClose, open);
        made.m_markup += rest.substr(0, close == std::string_view::npos ? close : open);
        if (close == std::string_view::npos) return made;
        const auto name = rest.substr(open + kOpen.size(), close - open - kOpen.size());
        const auto* const piece = std::find_if(
            pieces.begin(), pieces.end(), [&](const auto& each) { return each.first == name; });
        if (piece != pieces.end()) made += piece->second;
        rest.remove_prefix(close + kClose.size());
    }
}

} // namespace trevix
