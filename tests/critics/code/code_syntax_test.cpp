// Code that does not parse, and code that only looks so.

#include "critics/code/code_critic.h"
#include "tests/critics/critic_cases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace trevix {
namespace {

using testing::Contains;
using testing::IsEmpty;

std::vector<std::string> grammarRules(const std::string& text, const std::string& name) {
    std::vector<std::string> kept;
    for (const std::string& rule :
         rulesOf(critiqueCode(textPart(text, name, "text/x-code")).findings)) {
        if (rule == "code.syntax" || rule == "code.unclosed_string" ||
            rule == "code.misspelt_keyword") {
            kept.push_back(rule);
        }
    }
    return kept;
}

struct SyntaxCase {
    std::string_view name;
    std::string file;
    std::string text;
    std::vector<std::string> rules;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const SyntaxCase& entry, std::ostream* out) {
    *out << entry.name;
}

class CodeSyntax : public testing::TestWithParam<SyntaxCase> {};

TEST_P(CodeSyntax, SaysExactlyThis) {
    EXPECT_EQ(grammarRules(GetParam().text, GetParam().file), GetParam().rules) << GetParam().text;
}

const std::vector<std::string> kSyntaxOnly = {"code.syntax"};
const std::vector<std::string> kSound;

INSTANTIATE_TEST_SUITE_P(
    Broken, CodeSyntax,
    testing::Values(
        SyntaxCase{"PythonHeader", "a.py", "def area(:\n    return 1\n", kSyntaxOnly},
        SyntaxCase{"PythonIndentedForNoReason", "a.py", "x = 1\n    y = 2\nz = 3\n", kSyntaxOnly},
        SyntaxCase{"PythonBlockWithoutBody", "a.py", "def f():\nreturn 1\n", kSyntaxOnly},
        SyntaxCase{"PythonMarginThatIsNowhere", "a.py",
                   "def f():\n        a = 1\n    b = 2\n    return a\n", kSyntaxOnly},
        SyntaxCase{"JavaScriptOperator", "a.js", "const total = price * ;\n", kSyntaxOnly},
        SyntaxCase{"TypeScriptArrow", "a.ts", "const f = (a: number => a;\n", kSyntaxOnly},
        SyntaxCase{"GoBrace", "a.go",
                   "package p\nfunc f() {\n\tif x := g(); x > 1 {\n\t\tuse(x)\n\t\n}\n",
                   kSyntaxOnly},
        SyntaxCase{"RustSemicolon", "a.rs", "fn f() {\n    let a = 1\n    let b = 2;\n}\n",
                   kSyntaxOnly},
        SyntaxCase{"JavaSemicolon", "A.java", "class A {\n  int f() {\n    return 1\n  }\n}\n",
                   kSyntaxOnly},
        SyntaxCase{"ShellLoop", "a.sh", "for f in *; do\n  echo \"$f\"\n", kSyntaxOnly},
        SyntaxCase{"YamlFlow", "a.yaml", "list: [one, two\nnext: 3\n", kSyntaxOnly},
        SyntaxCase{"CBracketInCall", "a.c", "int main(void) {\n  return f(1;\n}\n", kSyntaxOnly},
        SyntaxCase{"CSemicolon", "a.c", "int f(int a) {\n  int b = a\n  return b;\n}\n",
                   kSyntaxOnly},
        SyntaxCase{
            "CKeyword", "a.c", "int f(int a) {\n  retrun a;\n}\n", {"code.misspelt_keyword"}},
        SyntaxCase{"CssSemicolon", "a.css", "p {\n  color: red\n  margin: 0;\n}\n", kSyntaxOnly},
        SyntaxCase{"SqlBracket", "a.sql", "CREATE TABLE t (\n  a int,\n  b int;\nSELECT 1;\n",
                   kSyntaxOnly},
        SyntaxCase{
            "SqlVerb", "a.sql", "SELECT 1;\nUDPATE t SET a = 1;\n", {"code.misspelt_keyword"}}),
    [](const auto& instance) { return std::string(instance.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Sound, CodeSyntax,
    testing::Values(
        SyntaxCase{"MethodWithoutItsClass", "a.java", "  int f() {\n    return 1;\n  }\n", kSound},
        SyntaxCase{"MemberWithoutItsObject", "a.js", "  name: 'x',\n  size() { return 2; },\n",
                   kSound},
        SyntaxCase{"StatementsOfARustFunction", "a.rs", "    let a = 1;\n    a + 1\n", kSound},
        SyntaxCase{"StatementsOfAGoFunction", "a.go", "\tx := 1\n\tif x > 2 {\n\t\treturn\n\t}\n",
                   kSound},
        SyntaxCase{"PythonFromFurtherIn", "a.py", "        if a:\n            b()\n    c()\n",
                   kSound},
        SyntaxCase{"PythonContinuation", "a.py", "x = f(1,\n      2)\ny = [\n    3,\n]\n", kSound},
        SyntaxCase{"PythonOneLineBlocks", "a.py", "if a: b()\nelse: c()\nfor i in d: e(i)\n",
                   kSound},
        SyntaxCase{"CMacroBeforeType", "a.h", "EXPORT void CALLBACK f(int a);\n", kSound},
        SyntaxCase{"CMacroCallWithoutSemicolon", "a.c",
                   "BEGIN_DECLS(x)\nint f(void) {\n  CHECK(1)\n  return 0;\n}\n", kSound},
        SyntaxCase{
            "CBlocksInBranches", "a.c",
            "int f(int a) {\n#ifdef X\n  if (a) {\n#else\n  if (!a) {\n#endif\n    a++;\n  }\n  "
            "return a;\n}\n",
            kSound},
        SyntaxCase{"CLabelAtTheEndOfABlock", "a.c",
                   "int f(int n) {\n  while (n > 0) {\n    if (g(n)) goto next;\n    n -= 2;\n"
                   "  next:\n  }\n  return n;\n}\n",
                   kSound},
        SyntaxCase{"CLoopMacro", "a.c",
                   "void f(void) {\n  list_for_each(p, q) {\n    g(p);\n  }\n}\n", kSound},
        SyntaxCase{"CssPseudoClasses", "a.css", "a:hover,\na:focus {\n  color: red;\n}\n", kSound},
        SyntaxCase{"CssValueOverLines", "a.css",
                   "p {\n  background: url(a.png),\n    linear-gradient(red, blue);\n}\n", kSound},
        SyntaxCase{"CssNestedSelectors", "a.scss",
                   "p {\n  color: red;\n  a:hover { color: blue; }\n}\n", kSound},
        SyntaxCase{"SqlAssignments", "a.sql", "BEGIN\n  updated := 5;\n  call_it(1);\nEND;\n",
                   kSound},
        SyntaxCase{"SqlStringsWithQuotes", "a.sql", "INSERT INTO t VALUES ('it''s', 'b');\n",
                   kSound},
        SyntaxCase{"XmlIsNoHtml", "a.xml", "<a><b c='d'/></a>\n", kSound}),
    [](const auto& instance) { return std::string(instance.param.name); });

class UnclosedStrings : public testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(UnclosedStrings, AreFound) {
    EXPECT_THAT(grammarRules(GetParam().second, GetParam().first),
                Contains("code.unclosed_string"));
}

INSTANTIATE_TEST_SUITE_P(Languages, UnclosedStrings,
                         testing::Values(std::pair("a.c", "const char* s = \"abc;\nint a;\n"),
                                         std::pair("a.py", "s = 'abc\nb = 1\n"),
                                         std::pair("a.js", "const s = \"abc;\nlet b;\n"),
                                         std::pair("a.css", "p {\n  content: \"a;\n}\n"),
                                         std::pair("a.sql",
                                                   "INSERT INTO t VALUES ('a);\nSELECT 1;\n")));

TEST(CodeSyntaxFindings, ShowTheLineAndSayWhatIsMissing) {
    const auto findings = critiqueCode(textPart("int f(int a) {\n  int b = a\n  return b;\n}\n",
                                                "a.c", "text/x-code"))
                              .findings;
    const auto found = std::ranges::find(findings, "code.syntax", &Finding::rule);
    ASSERT_NE(found, findings.end());
    EXPECT_EQ(found->severity, Severity::high);
    EXPECT_EQ(found->place, "line 2, column 3");
    EXPECT_EQ(found->evidence, "int b = a");
    EXPECT_EQ(found->detail, "Line 2, column 3: “int b = a” lacks “;” behind it.");
}

TEST(CodeSyntaxFindings, AreAFewOfMany) {
    std::string text;
    for (int i = 0; i < 200; ++i) text += "const a" + std::to_string(i) + " = ;\n";
    const auto findings = critiqueCode(textPart(text, "a.js", "text/x-code")).findings;
    EXPECT_LE(std::ranges::count(findings, "code.syntax", &Finding::rule), 3);
}

} // namespace
} // namespace trevix
