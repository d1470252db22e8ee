#include "service/report/html_text.h"

#include <gtest/gtest.h>

#include <string>

namespace trevix {
namespace {

TEST(HtmlText, EscapesAndShows) {
    const struct {
        std::string text;
        std::string html;
    } cases[] = {
        {"", ""},
        {"plain, ümlaut, 漢字, 🦀", "plain, ümlaut, 漢字, 🦀"},
        {"<script>alert(\"x\")</script>", "&lt;script&gt;alert(&quot;x&quot;)&lt;/script&gt;"},
        {"a & b 'c'", "a &amp; b &#39;c&#39;"},
        {"&amp;", "&amp;amp;"},
        {"two\nlines\tand a tab", "two\nlines\tand a tab"},
        {std::string("nul\0end", 7), "nul\u2400end"},
        {"esc\x1b[31m\r\x7f", "esc\u241b[31m\u240d\u2421"},
        {"\u0085", "⟨U+0085⟩"},
        {"right\u202eleft\u2066\u200f", "right⟨U+202E⟩left⟨U+2066⟩⟨U+200F⟩"},
        {"zero\u200bwidth\ufeff", "zero⟨U+200B⟩width⟨U+FEFF⟩"},
        {"👩\u200d💻", "👩\u200d💻"}, // joiners belong to what they join
        {"bad\xff\xc3", "bad\ufffd\ufffd"},
        {"\xe2\x82 cut", "\ufffd\ufffd cut"},
        {"\xc0\xbc"
         "script",
         "\ufffd\ufffdscript"}, // an overlong "<"
    };
    for (const auto& [text, html] : cases) EXPECT_EQ(htmlText(text), html);
}

} // namespace
} // namespace trevix
