// What work that was made to be slow costs the critics, in CPU time and in memory.
//
// Every rule may take time and memory in proportion to the work, no more. Each hostile input is
// judged at two sizes, eight or sixteen times apart, and may cost twice what that proportion
// allows; a rule that looks at all of the work again for each piece of it costs eight times that.
// Time is the CPU time of this thread and the least of several runs, memory is what is allocated at
// once, so that nothing depends on what else the machine does.

#include "critics/code/code_rules.h"
#include "critics/critic.h"
#include "critics/syntax/syntax_reader.h"
#include "tests/critics/growth.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

std::size_t allocated = 0;
std::size_t mostAllocated = 0;

/// In front of each block, so that its size is known when it is freed.
constexpr std::size_t kPrefix = alignof(std::max_align_t);

void* allocate(std::size_t size) noexcept {
    auto* block = static_cast<char*>(std::malloc(size + kPrefix));
    if (block == nullptr) return nullptr;
    *reinterpret_cast<std::size_t*>(block) = size;
    allocated += size;
    mostAllocated = std::max(mostAllocated, allocated);
    return block + kPrefix;
}

void release(void* memory) noexcept {
    if (memory == nullptr) return;
    char* block = static_cast<char*>(memory) - kPrefix;
    allocated -= *reinterpret_cast<std::size_t*>(block);
    std::free(block);
}

} // namespace

// All of the plain family, as a sanitizer brings its own for whatever is left out. Not inlined: gcc
// takes a visible free() of memory from operator new for a mismatch. This program has one thread.

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new[](std::size_t size) {
    return operator new(size);
}

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    release(memory);
}

[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    release(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}

[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}

[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    release(memory);
}

namespace trevix {
namespace {

/// `head`, then `piece` again and again, then `tail` as often.
struct Hostile {
    std::string piece;
    std::string tail;
    std::string head;

    [[nodiscard]] std::string ofSize(std::size_t bytes) const {
        const std::size_t times = bytes / (piece.size() + tail.size());
        std::string text = head;
        for (std::size_t i = 0; i < times; ++i) text += piece;
        for (std::size_t i = 0; i < times; ++i) text += tail;
        return text;
    }
};

struct Kind {
    std::string modality;
    std::string fileName;
};

/// By its name and not by its bytes, which differ from build to build.
void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.modality << " " << kind.fileName;
}

Submission workOf(const Kind& kind, const Hostile& hostile, std::size_t size) {
    Submission work;
    work.modality = kind.modality;
    Part part;
    part.name = kind.fileName;
    part.mimeType = "text/plain";
    // Some words first, or there would be nothing to judge as a text.
    const bool prose = kind.modality == "text" || kind.modality == "document";
    part.text = (prose ? "Some words stand here.\n\n" : "") + hostile.ofSize(size);
    work.parts.push_back(std::move(part));
    return work;
}

/// Twice what the proportion allows. Below two milliseconds the clock and the caches tell more than
/// the rules; a rule that is this quick on 64 kB, the least of the larger sizes, is quick even
/// where it is not linear.
GrowthBound twiceTheProportion(std::size_t times) {
    return {2.0 * static_cast<double>(times), 0.002};
}

void expectProportion(const Kind& kind, const Hostile& hostile, std::size_t small,
                      std::size_t times) {
    const Submission little = workOf(kind, hostile, small);
    const Submission much = workOf(kind, hostile, small * times);
    const auto judgeLittle = [&] { (void)critique(little).findings; };
    const auto judgeMuch = [&] { (void)critique(much).findings; };
    const GrowthBound bound = twiceTheProportion(times);

    const double before = cpuTimeOf(judgeLittle);
    const std::size_t held = allocated;
    mostAllocated = held;
    const double after = cpuTimeOf(judgeMuch);
    const std::size_t bytes = mostAllocated - held;
    const Growth growth = repeated({before, after}, bound, judgeLittle, judgeMuch);

    const std::string name = kind.fileName + ": “" + hostile.head.substr(0, 20) + "” “" +
                             hostile.piece + "” “" + hostile.tail + "”";
    EXPECT_TRUE(growth.keeps(bound))
        << name << ": " << growth.before << " s for " << small << " bytes, " << growth.after
        << " s for " << times << " times as many";
    // Tables of an entry per token cost a hundred bytes or two for each byte of brackets.
    constexpr std::size_t kMostBytesPerByte = 400;
    EXPECT_LE(bytes, kMostBytesPerByte * small * times) << name << ": allocated at once";
}

class HostileGrowth : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override { warmUp(); }
};

/// Marks and words that some rule or reader looks at closely, alone and in nests.
const std::vector<Hostile>& commonInputs() {
    static const std::vector<Hostile> inputs = [] {
        std::vector<Hostile> made;
        for (const char* piece : {"(",
                                  "[",
                                  "{",
                                  "\"",
                                  "'",
                                  "`",
                                  "<",
                                  "[x](",
                                  "{{",
                                  "a@",
                                  "!",
                                  ". ",
                                  "# a\n",
                                  "- ",
                                  "| a ",
                                  "<!--",
                                  "`` ` ",
                                  "if (a) {",
                                  "${",
                                  "$(\"",
                                  "/",
                                  "return;",
                                  "TBD ",
                                  "the the ",
                                  "a{",
                                  "{return()",
                                  "// TODO ",
                                  "[^1]",
                                  "[a][b",
                                  "x: y\n",
                                  "  a:\n",
                                  "\tx\n",
                                  "#if x\n",
                                  "/*",
                                  "\"\"\"",
                                  "R\"x(",
                                  "<<EOF\n",
                                  "case x in ",
                                  "catch(e){}",
                                  "if(a=",
                                  "=>{",
                                  "f\"{",
                                  "AKIA",
                                  "eyJ",
                                  "://a:b@",
                                  "password=",
                                  "<<<<<<< \n",
                                  "=======\n",
                                  "Ã©",
                                  "“",
                                  "THE THE ",
                                  "a!!! ",
                                  "3 May 2026 to ",
                                  "Table 4 ",
                                  "a,b\n",
                                  "=A1+,",
                                  "{\"a\":",
                                  "{\"a\":1,",
                                  "and ",
                                  "import a\n",
                                  "*",
                                  "_",
                                  "~",
                                  "**a ",
                                  ">",
                                  "> ",
                                  "* ",
                                  "1. ",
                                  "&amp;",
                                  "(a)[b.c",
                                  "[^a]: b\n",
                                  "[a]: b\n"}) {
            made.push_back({piece, "", ""});
        }
        for (const auto& [piece, tail] :
             std::vector<std::pair<const char*, const char*>>{{"(", ")"},
                                                              {"[", "]"},
                                                              {"{", "}"},
                                                              {"![", "](x)"},
                                                              {"[", "](x)"},
                                                              {"[", "][]"},
                                                              {"[[", "][]"},
                                                              {"[a", "][b]"},
                                                              {"a{", " "},
                                                              {" ", "a{"},
                                                              {" ", "TODO "},
                                                              {" ", "Table 4 "},
                                                              {"{return f(", ");}"},
                                                              {"{ return function(){", "};};"},
                                                              {"if(a=(", "))"},
                                                              {"{\"a\":", "}"},
                                                              {"<<<<<<< a\n", ">>>>>>> a\n"},
                                                              {"[^a]: b\n", "[^a]"},
                                                              {"\"$(", ")\""}}) {
            made.push_back({piece, tail, ""});
        }
        made.push_back({" TODO TODO", "", "//"});
        made.push_back({"[x](", "", "# "});
        made.push_back({"[x]", "", "# "});
        made.push_back({"#if x\n", "", std::string(4096, '(')});
        made.push_back({"#if x\n", "#endif\n", std::string(4096, '(')});
        return made;
    }();
    return inputs;
}

TEST_P(HostileGrowth, IsInProportionForEveryMark) {
    constexpr std::size_t kSmall = 8 * 1024;
    (void)critique(workOf(GetParam(), {"warm ", "", ""}, kSmall)).findings;
    for (const Hostile& hostile : commonInputs()) {
        expectProportion(GetParam(), hostile, kSmall, 8);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, HostileGrowth,
    testing::Values(Kind{"text", "a.txt"}, Kind{"document", "a.md"}, Kind{"spreadsheet", "a.csv"},
                    Kind{"code", "a.txt"}, Kind{"code", "a.c"}, Kind{"code", "a.css"},
                    Kind{"code", "a.go"}, Kind{"code", "a.html"}, Kind{"code", "a.java"},
                    Kind{"code", "a.js"}, Kind{"code", "a.json"}, Kind{"code", "a.php"},
                    Kind{"code", "a.py"}, Kind{"code", "a.rb"}, Kind{"code", "a.rs"},
                    Kind{"code", "a.sh"}, Kind{"code", "a.sql"}, Kind{"code", "a.yaml"}),
    [](const auto& kind) {
        std::string name = kind.param.modality + "_" + kind.param.fileName;
        std::replace(name.begin(), name.end(), '.', '_');
        return name;
    });

/// A page as its rules are given it.
struct ReadPage {
    explicit ReadPage(std::string page)
        : text(std::move(page)),
          source(text),
          view(source, Language::html),
          tree(readSyntax("html", text, std::chrono::seconds(60), Wanted::tree).tree) {}
    ReadPage(const ReadPage&) = delete;
    ReadPage& operator=(const ReadPage&) = delete;

    std::string text;
    SourceText source;
    CodeView view;
    SyntaxTree tree;
};

// Without the parser, whose time grows faster than the work where elements stand inside one
// another: up to the length that it is given at all, 60,000 bytes, it takes two seconds at most.
TEST(GrowthOfAPage, IsInProportion) {
    constexpr std::size_t kSmall = 7 * 1024;
    constexpr std::size_t kTimes = 8;
    const GrowthBound bound = twiceTheProportion(kTimes);
    for (const Hostile& hostile : std::vector<Hostile>{
             {"<a>", "", ""},
             {"<a>", "</a>", ""},
             {"<b ", "", ""},
             {"<b c=\"", "", ""},
             {"<b c=\"> ", "", ""},
             {"<b c=d ", "", ""},
             {" c=d", "", "<b"},
             {"c\"", "", "<b "},
             {"</b>", "", ""},
             {"<p id=a>", "", ""},
             {"<form><input type=password>", "", ""},
             {"<form>", "<input type=password>", ""},
             {"<div>undefined", "</div>", ""},
             {"<script>", "", ""},
             {"<label for=a>", "<a href=#b>", "<html>"},
             {" $NaN", "", "<p>"},
         }) {
        const ReadPage little(hostile.ofSize(kSmall));
        const ReadPage much(hostile.ofSize(kSmall * kTimes));
        ASSERT_FALSE(much.tree.nodes.empty());
        const auto read = [](const ReadPage& page) {
            FindingList findings(page.source);
            checkPage(page.view, page.tree, findings);
        };
        const auto readLittle = [&] { read(little); };
        const auto readMuch = [&] { read(much); };
        const Growth growth =
            repeated({cpuTimeOf(readLittle), cpuTimeOf(readMuch)}, bound, readLittle, readMuch);
        EXPECT_TRUE(growth.keeps(bound))
            << hostile.head << hostile.piece << hostile.tail << ": " << growth.before << " s, then "
            << growth.after << " s for " << kTimes << " times as much";
    }
}

// Inputs that some rule once took minutes for, or more memory than a machine has, at full size.
TEST(GrowthToAMegabyte, IsInProportion) {
    struct Case {
        Kind kind;
        Hostile hostile;
    };
    const std::string brackets(4096, '(');
    const std::vector<Case> cases = {
        {{"code", "a.js"}, {"{return()", "", ""}},
        {{"code", "a.js"}, {"{ return function(){", "};};", ""}},
        {{"code", "a.rs"}, {"a{", " ", ""}},
        {{"code", "a.go"}, {" ", "a{", ""}},
        {{"document", "a.md"}, {"![", "](x)", ""}},
        {{"document", "a.md"}, {"[[", "][]", ""}},
        {{"document", "a.md"}, {"[", "", ""}},
        {{"document", "a.md"}, {"*", "", ""}},
        {{"document", "a.md"}, {"`", "", ""}},
        {{"document", "a.md"}, {"> ", "", ""}},
        {{"document", "a.md"}, {"- ", "a\n", ""}},
        {{"document", "a.md"}, {"**a\n\n", "", ""}},
        {{"document", "a.md"}, {"|a|\n|-|\n|b|\n\n", "", ""}},
        {{"document", "a.md"}, {"(a)[b.c]", "", ""}},
        {{"document", "a.md"}, {"[^a]: b\n\n", "[^a] ", ""}},
        {{"document", "a.md"}, {"## a\n", "[x](#a) ", ""}},
        {{"document", "a.md"}, {" ", "Table 4 ", ""}},
        {{"code", "a.c"}, {" TODO TODO", "", "//"}},
        {{"code", "a.c"}, {"#if x\n", "", brackets}},
        {{"code", "a.c"}, {"#if x\n", "#else\n#endif\n", brackets}},
    };
    warmUp();
    // Sixteen times as much stays below the mebibyte up to which Markdown is read for its
    // structure: behind it what was code is prose, which is another work to compare with.
    for (const Case& entry : cases) {
        expectProportion(entry.kind, entry.hostile, 63 * 1024, 16);
    }
}

} // namespace
} // namespace trevix
