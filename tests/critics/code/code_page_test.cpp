// Pages in HTML: what is told of them, and what browsers and templates make right.

#include "critics/code/code_critic.h"
#include "tests/critics/critic_cases.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace trevix {
namespace {

using Rules = std::vector<std::string>;

struct PageCase {
    std::string_view name;
    std::string text;
    Rules rules;
};

void expectOnPages(const std::vector<PageCase>& cases) {
    std::vector<RuleCase> named;
    for (const PageCase& entry : cases) {
        named.push_back({entry.name, entry.text + "\n", entry.rules, "a.html"});
    }
    expectRules(named, critiqueCode);
}

TEST(CodePage, ASoundPageHasNothing) {
    expectOnPages(
        {{"with all that may be left out",
          "<!DOCTYPE html>\n<html lang=en>\n<head><title>A</title>\n"
          "<meta charset=utf-8><link rel=stylesheet href=a.css></head>\n"
          "<body>\n<h1 id=top-of>A</h1>\n<p>One<p>Two\n"
          "<ul><li>a<li>b</ul>\n<dl><dt>a<dd>b</dl>\n"
          "<table><thead><tr><th>a<tbody><tr><td>b<td>c</table>\n"
          "<select><optgroup label=x><option>a<option>b</select>\n"
          "<svg><path d=\"M0 0\"/><g id=a /><g id=a /></svg><br><hr/>\n"
          "<a href=\"#top-of\">up</a> <img src=a.png alt=\"\">\n</body>\n</html>",
          {}},
         {"marks in words and values",
          "<p title=\"a > b\">5 < 6 &amp; R&D, a&B</p>"
          "<button onclick=\"f('<b>')\">x</button><a href=x?a=1&b=2>y</a>",
          {}},
         {"a script of its own", "<script>if (a<b && \"<div>\") f(\"</p>\");</script><p>a</p>", {}},
         {"in capitals", "<DIV><P>A</DIV>", {}}});
}

TEST(CodePage, WhatIsOpenedIsEnded) {
    const Rules unpaired = {"code.unpaired_tag"};
    expectOnPages({{"before its parent", "<div><span>a</div>", unpaired},
                   {"at the end of a page", "<html><body><div><p>a</p></body></html>", unpaired},
                   {"ended twice", "<body><div>a</div></div></body>", unpaired},
                   {"a fragment's beginning", "<div><p>a</p>", {}},
                   {"a fragment's end", "<p>a</p></div>", {}},
                   {"a number", "<p>less than < 500px</p>", {}},
                   {"of a template", "<p>{{ a }}</p><div><b>a</div>", {}},
                   {"of another template", "<div>{% if a %}<b>{% endif %}a</div>", {}}});
    const auto behindBlock =
        critiqueCode(textPart("<body><p>a<div>b</div></p></body>\n", "a.html")).findings;
    EXPECT_EQ(onlyFinding(behindBlock, "code.unpaired_tag").severity, Severity::low);
}

TEST(CodePage, TagsAndTheirQuotesAreEnded) {
    const Rules syntax = {"code.syntax"};
    expectOnPages(
        {{"a tag", "<p class=x <b>c</b></p>", syntax},
         {"a quote", "<p><a href=\"x>text</a> <a href=\"y\">z</a></p>", syntax},
         {"to the end", "<body><div class=\"a>text</div></body>", syntax},
         {"before the next attribute", "<link rel=\"icon href=\"a.png\">", syntax},
         {"before a path", "<img alt=\"\" title=\"a src=\"/a.png\">", syntax},
         {"an end tag", "<div><p>a</p\n</div>", syntax},
         {"a script", "<html><head><script src=a.js></head><body>a</body></html>", syntax},
         {"a script's own end", "<head><script>f()</script\n</head>", syntax},
         {"a cut script", "<script>f(\"<p>\")", {}},
         {"a name in a drawing", "<body><svg><title/><g/></svg></body>", {}},
         {"no blank between", "<a href=\"x\"class=\"y\">a</a>", {}},
         {"a query", "<a href=\"x?a=\">a</a>", {}},
         {"blanks about the mark", "<p class = \"a b\" title =\"c > d\">x</p>", {}},
         {"cut off", "<p>a</p><div class=\"a", {}},
         {"in a remark", "<!-- <p class=x <b> --><p>a</p>", {}},
         {"in a text field", "<textarea><p class=x <b></textarea>", {}}});
}

TEST(CodePage, SomeElementsNeverStandInTheirLike) {
    const Rules nested = {"code.nested_element"};
    expectOnPages({{"a link", "<a href=x>a <b><a href=y>b</a></b></a>", nested},
                   {"a form", "<form><div><form></form></div></form>", nested},
                   {"beside it", "<a href=x>a</a> <a href=y>b</a>", {}},
                   {"others", "<div><div>a</div></div>", {}}});
}

TEST(CodePage, NamesAreGivenOnce) {
    expectOnPages({{"an attribute", "<img src=a alt=b src=c>", {"code.repeated_attribute"}},
                   {"in other letters", "<p class=a Class=b>x</p>", {"code.repeated_attribute"}},
                   {"an id", "<p id=a>x</p><p id=\"a\">y</p>", {"code.repeated_id"}},
                   {"ids that differ in letters", "<p id=a>x</p><p id=A>y</p>", {}},
                   {"in a template", "<p id=a>x</p><template><p id=a>y</p></template>", {}}});
}

TEST(CodePage, LinksLeadSomewhere) {
    const Rules target = {"code.missing_target"};
    const auto page = [](const std::string& body) {
        return "<html><body>" + body + "</body></html>";
    };
    expectOnPages({{"nowhere", page("<a href=\"#x\">x</a>"), target},
                   {"a label of nothing", page("<label for=n>N</label><input id=m>"), target},
                   {"to an id", page("<a href=\"#x\">x</a><h2 id=x>X</h2>"), {}},
                   {"to a name", page("<a href=\"#x\">x</a><a name=x>X</a>"), {}},
                   {"escaped", page("<a href=\"#%C3%A4\">x</a><h2 id=\"ä\">X</h2>"), {}},
                   {"to the top", page("<a href=\"#\">x</a><a href=\"#top\">y</a>"), {}},
                   {"to a passage", page("<a href=\"#:~:text=some%20words\">x</a>"), {}},
                   {"where a script runs", page("<script>f()</script><a href=\"#x\">x</a>"), {}},
                   {"where a click does", page("<a href=\"#x\" onclick=\"f()\">x</a>"), {}},
                   {"in a fragment", "<p><a href=\"#x\">x</a></p>", {}}});
}

TEST(CodePage, PasswordsAndScriptsGoEncrypted) {
    const auto form = [](const std::string& action) {
        return "<form action=\"" + action +
               "\" method=post><p><input type=Password name=p></p></form>";
    };
    expectOnPages(
        {{"a password", form("http://shop.test/login"), {"code.plain_form"}},
         {"of a template too",
          "<p>{{ a }}</p>" + form("http://shop.test/login"),
          {"code.plain_form"}},
         {"encrypted", form("https://shop.test/login"), {}},
         {"on this machine", form("http://localhost:8080/login"), {}},
         {"at its own address", form("/login"), {}},
         {"no password", "<form action=\"http://shop.test/\"><input name=q></form>", {}},
         {"a script", "<script src=\"http://shop.test/a.js\"></script>", {"code.plain_address"}},
         {"an encrypted one", "<script src=\"https://shop.test/a.js\"></script>", {}}});
}

TEST(CodePage, ValuesAreThere) {
    const Rules value = {"code.unrendered_value"};
    expectOnPages({{"all there is", "<b>undefined</b>", value},
                   {"a number", "<span> NaN </span>", value},
                   {"money", "<p>Yours for $NaN only.</p>", value},
                   {"a greeting", "<p>Hello undefined, welcome.</p>", value},
                   {"nobody", "<p>Dear null,</p>", value},
                   {"an object", "<p>From [object Object] with love</p>", value},
                   {"an address", "<a href=\"/users/undefined/edit\">x</a>", value},
                   {"a picture's", "<img alt=\"\" src=\"/a?id=NaN\">", value},
                   {"the word", "<p>This is undefined behaviour.</p><p>Hello nullable</p>", {}},
                   {"in quotes", "<p>the value &ldquo;undefined&rdquo;</p>", {}},
                   {"in a program", "<p>It gives <code>undefined</code>.</p>", {}},
                   {"in a table of values", "<table><tr><td>NaN</td></tr></table>", {}},
                   {"part of a name", "<a href=\"/undefined-behaviour\">x</a>", {}}});
}

TEST(CodePage, WordsAndPicturesAreMeant) {
    expectOnPages(
        {{"filler", "<p>Lorem ipsum dolor sit amet.</p><p>Lorem ipsum.</p>", {"code.filler_text"}},
         {"shown as such", "<pre>Lorem ipsum dolor</pre>", {}},
         {"a picture", "<img src=a.png>", {"code.image_text"}},
         {"decoration", "<img src=a.png role=presentation>", {}},
         {"named elsewhere", "<img src=a.png aria-label=Map>", {}}});
    EXPECT_EQ(onlyFinding(critiqueCode(textPart("<img src=a.png>\n", "a.html")).findings,
                          "code.image_text")
                  .severity,
              Severity::low);
}

TEST(CodePage, APathIsAValueNotAWord) {
    expectOnPages({{"in words", "<p>as in \"/home/alice/data.csv\"</p>", {}},
                   {"a value", "<a href=\"/home/alice/data.csv\">x</a>", {"code.home_path"}}});
}

TEST(CodePage, OtherMarkupIsNoPage) {
    expectRules({{"XML", "<a><b id=\"x\">undefined</b><b id=\"x\">NaN</b></a>\n", {}, "a.xml"}},
                critiqueCode);
}

} // namespace
} // namespace trevix
