#include "critics/syntax/syntax_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <string>
#include <string_view>

namespace trevix {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;
using Outcome = SyntaxReading::Outcome;
using Kind = SyntaxFault::Kind;

constexpr auto kLong = 60s;

SyntaxReading read(std::string_view grammar, std::string_view text) {
    return readSyntax(grammar, text, kLong);
}

struct Sample {
    std::string_view grammar;
    std::string_view sound;
    std::string_view broken;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Sample& sample, std::ostream* out) {
    *out << sample.grammar;
}

class EachGrammar : public testing::TestWithParam<Sample> {};

TEST_P(EachGrammar, IsHere) {
    EXPECT_THAT(knownGrammars(),
                testing::Contains(testing::Field(&GrammarInfo::name, GetParam().grammar)))
        << "scripts/grammars fetches it";
}

TEST_P(EachGrammar, TakesSoundText) {
    const SyntaxReading reading = read(GetParam().grammar, GetParam().sound);
    EXPECT_EQ(reading.outcome, Outcome::read);
    EXPECT_THAT(reading.faults, IsEmpty());
}

TEST_P(EachGrammar, FindsAFault) {
    const SyntaxReading reading = read(GetParam().grammar, GetParam().broken);
    EXPECT_EQ(reading.outcome, Outcome::read);
    EXPECT_THAT(reading.faults, testing::Not(IsEmpty()));
}

TEST_P(EachGrammar, EndsWithEveryBeginningOfAText) {
    const std::string_view text = GetParam().sound;
    for (std::size_t length = 0; length <= text.size(); ++length) {
        EXPECT_EQ(read(GetParam().grammar, text.substr(0, length)).outcome, Outcome::read);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Languages, EachGrammar,
    testing::Values(
        Sample{"bash", "for f in *.txt; do\n  echo \"$f\"\ndone\n",
               "for f in *.txt; do\n  echo \"$f\"\n"},
        Sample{"c", "int main(void) {\n  return 0;\n}\n", "int main(void) {\n  return 0;\n"},
        Sample{"cpp", "template <class T>\nT twice(T x) { return x + x; }\n",
               "template <class T>\nT twice(T x) { return x + ; }\n"},
        Sample{"c_sharp", "class A { int X { get; set; } }\n", "class A { int X { get; set; }\n"},
        Sample{"css", "p { color: red; }\n", "p { color: red; \n"},
        Sample{"go", "package p\n\nfunc f() int { return 1 }\n",
               "package p\n\nfunc f( int { return 1 }\n"},
        Sample{"html", "<p>One <b>two</b></p>\n", "<p>One <b two</b></p>\n<"},
        Sample{"java", "class A { int f() { return 1; } }\n", "class A { int f() { return 1 } }\n"},
        Sample{"javascript", "const f = (a) => a + 1;\n", "const f = (a => a + 1;\n"},
        Sample{"json", "{\"a\": [1, 2]}\n", "{\"a\": [1, 2}\n"},
        Sample{"php", "<?php echo f($a);\n", "<?php echo f($a;\n"},
        Sample{"python", "def f(x):\n    return x\n", "def f(:\n    return x\n"},
        Sample{"ruby", "def f(x)\n  x + 1\nend\n", "def f(x\n  x + 1\nend\n"},
        Sample{"rust", "fn f(x: i32) -> i32 { x + 1 }\n", "fn f(x: i32 -> i32 { x + 1 }\n"},
        Sample{"toml", "[a]\nb = 1\n", "[a\nb = 1\n"},
        Sample{"tsx", "const a = <p>{b}</p>;\n", "const a = <p>{b</p>;\n"},
        Sample{"typescript", "let a: number = 1;\n", "let a: number = ;\n"},
        Sample{"yaml", "a:\n  - b\n  - c: d\n", "a: [b\nc: d\n"}),
    [](const auto& instance) { return std::string(instance.param.grammar); });

TEST(SyntaxReader, SaysWhatIsMissingAndWhere) {
    const std::string_view text = "def f(:\n    return 1\n";
    const SyntaxReading reading = read("python", text);
    ASSERT_THAT(reading.faults, SizeIs(1));
    EXPECT_EQ(reading.faults[0], (SyntaxFault{Kind::missing, text.find(':'), 0, ")"}));
}

TEST(SyntaxReader, SaysWhatDoesNotFit) {
    const std::string_view text = "let a = 1;\nlet b = 2 3;\n";
    const SyntaxReading reading = read("javascript", text);
    ASSERT_THAT(reading.faults, testing::Not(IsEmpty()));
    EXPECT_EQ(reading.faults[0].kind, Kind::unexpected);
    EXPECT_GE(reading.faults[0].offset, text.find("let b"));
}

TEST(SyntaxReader, KnowsNoGrammarOfAnotherName) {
    EXPECT_EQ(read("klingon", "nuqneH").outcome, Outcome::noGrammar);
    EXPECT_EQ(read("", "").outcome, Outcome::noGrammar);
}

TEST(SyntaxReader, GivesUpWhenItsTimeIsUp) {
    std::string text;
    while (text.size() < kLongestText - 10) text += "a = {[(";
    EXPECT_EQ(readSyntax("javascript", text, 1us).outcome, Outcome::outOfTime);
}

TEST(SyntaxReader, ListsAFewOfManyFaults) {
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "let = ;\n";
    EXPECT_THAT(read("javascript", text).faults, SizeIs(testing::Le(kMostFaults)));
}

TEST(SyntaxReader, TakesTheDeepestNestingThatFits) {
    for (const GrammarInfo& grammar : knownGrammars()) {
        for (const std::string_view opener : {"[", "(", "{", "<a>", "- ", "!"}) {
            std::string text;
            while (text.size() + opener.size() <= kLongestText) text += opener;
            // Some grammars take minutes over this: that the time is up is an answer, too.
            EXPECT_NE(readSyntax(grammar.name, text, 100ms).outcome, Outcome::noGrammar)
                << grammar.name;
        }
    }
}

TEST(SyntaxReader, LeavesLongerTextAlone) {
    EXPECT_EQ(read("json", std::string(kLongestText + 1, '[')).outcome, Outcome::tooLong);
    EXPECT_EQ(read("json", std::string(kLongestText + 1, ' ')).outcome, Outcome::tooLong);
    EXPECT_EQ(read("klingon", std::string(kLongestText + 1, ' ')).outcome, Outcome::noGrammar);
}

TEST(SyntaxReader, TakesBytesThatAreNoText) {
    std::string bytes;
    for (int i = 0; i < 4096; ++i) bytes += static_cast<char>(i * 37 % 256);
    for (const GrammarInfo& grammar : knownGrammars()) {
        EXPECT_EQ(read(grammar.name, bytes).outcome, Outcome::read) << grammar.name;
    }
}

} // namespace
} // namespace trevix
