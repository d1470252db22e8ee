#include "service/report/html.h"

#include <gtest/gtest.h>

namespace trevix {
namespace {

TEST(HtmlPiece, TextIsEscapedAndMarkupIsNot) {
    EXPECT_EQ(Html("a < b").markup(), "a &lt; b");
    const Html bold = element("b", {}, {"1 & 2"});
    EXPECT_EQ(bold.markup(), "<b>1 &amp; 2</b>");
    EXPECT_EQ(element("p", {}, {bold, lineBreak(), "\"x\""}).markup(),
              "<p><b>1 &amp; 2</b><br>&quot;x&quot;</p>");
}

TEST(HtmlPiece, AttributesAreEscaped) {
    EXPECT_EQ(element("i", {{"class", "a"}, {"title", "\"><script>"}}, {}).markup(),
              "<i class=\"a\" title=\"&quot;&gt;&lt;script&gt;\"></i>");
}

TEST(HtmlPiece, PiecesAreFilledInAndNotLookedAtAgain) {
    constexpr page_files::PageFile kFile{"<p>{{a}} {{b}}, {{a}}{{gone}}</p>{{"};
    EXPECT_EQ(filled(kFile, {{"a", "{{b}}"}, {"b", "<"}, {"unasked", "x"}}).markup(),
              "<p>{{b}} &lt;, {{b}}</p>{{");
    EXPECT_EQ(filled({"{{a}}"}, {{"a", element("b", {}, {})}}).markup(), "<b></b>");
    EXPECT_TRUE(filled({""}).empty());
}

} // namespace
} // namespace trevix
