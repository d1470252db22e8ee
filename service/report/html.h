// A piece of a page that is well formed however it came about.
//
// Text becomes a piece by being escaped, and in no other way; markup comes from `element` and from
// the embedded files alone. So nothing of the graded work can become part of a page. Values; any
// thread.

#pragma once

#include "service/report/page_files.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace trevix {

class Html {
public:
    Html() = default;
    /// The text, escaped, see htmlText().
    Html(std::string_view text);
    Html(const std::string& text) : Html(std::string_view(text)) {}
    Html(const char* text) : Html(std::string_view(text)) {}

    [[nodiscard]] bool empty() const { return m_markup.empty(); }
    [[nodiscard]] const std::string& markup() const { return m_markup; }

    Html& operator+=(const Html& more);

private:
    friend Html element(std::string_view, std::initializer_list<struct Attribute>,
                        std::initializer_list<Html>);
    friend Html voidElement(std::string_view, std::initializer_list<struct Attribute>);
    friend Html filled(const page_files::PageFile&,
                       std::initializer_list<std::pair<std::string_view, Html>>);

    std::string m_markup;
};

struct Attribute {
    std::string_view name;
    std::string value; ///< Escaped where it is written.
};

/// `tag` with its attributes around `content`, which is written piece after piece.
[[nodiscard]] Html element(std::string_view tag, std::initializer_list<Attribute> attributes,
                           std::initializer_list<Html> content);

/// A tag without content or end: "br", "input".
[[nodiscard]] Html voidElement(std::string_view tag, std::initializer_list<Attribute> attributes);

[[nodiscard]] inline Html lineBreak() {
    return voidElement("br", {});
}

/// The file's markup with every "{{name}}" replaced by the piece of that name. A name that no piece
/// has is replaced by nothing, and a piece that the file does not name is left out.
[[nodiscard]] Html filled(const page_files::PageFile& file,
                          std::initializer_list<std::pair<std::string_view, Html>> pieces = {});

} // namespace trevix
