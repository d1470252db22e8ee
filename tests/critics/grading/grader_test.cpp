// Does a grade hold everything that was found, whatever happens to those who find it?
//
// The worker is the real one, called in this process by a runner that can be told how it ends.

#include "critics/grading/grader.h"

#include "critics/findings/stop.h"
#include "tests/critics/critic_cases.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>

namespace trevix {
namespace {

using End = ChildResult::End;

/// Runs the worker's own end here, and ends it as the test wants.
class TestRunner : public ChildRunner {
public:
    using ChildRunner::run;

    ChildResult run(const ChildRequest& request, StopToken cancel,
                    const std::function<void(std::string_view)>&) override {
        ++runs;
        const bool own = !request.arguments.empty() && request.arguments.back() == "--own-readers";
        ChildResult result;
        std::size_t frames = 0;
        CriticTools tools;
        if (own) tools.readers = Readers::own;
        (void)writeFrames(request.input, tools, [&](std::string_view frame) {
            if (own || frames++ < framesBeforeEnd) result.output += frame;
        });
        result.end = own ? endOfOwn : end;
        if (result.end != End::exited && own) result.output.clear();
        if (cancel.isAsked()) result.end = End::cancelled;
        if (!own) result.output += rubbish;
        return result;
    }

    void expect(const ChildRequest& request) override { expected.push_back(request); }

    std::vector<ChildRequest> expected;
    std::size_t framesBeforeEnd = 1000;
    End end = End::exited;
    End endOfOwn = End::exited;
    std::string rubbish;
    std::atomic<int> runs{0};
};

/// Engines that say what they are told, of parts whose name holds theirs.
class TestEngines : public EngineRoom {
public:
    std::vector<std::string> enginesFor(const Part& part, std::string_view) const override {
        std::vector<std::string> names;
        for (const auto& [name, critique] : made) {
            if (part.name.find(name) != std::string::npos) names.push_back(name);
        }
        return names;
    }
    Critique look(std::string_view engine, const Part&, std::string_view, StopToken) override {
        {
            const std::lock_guard lock(mutex);
            looked.emplace_back(engine);
        }
        if (onLook) onLook();
        return made.at(std::string(engine));
    }
    std::vector<NotChecked> absentFor(const Part&, std::string_view) const override {
        return absent;
    }

    std::size_t mostParts(std::string_view) const override { return most; }
    int usualMilliseconds(std::string_view engine) const override {
        const auto found = milliseconds.find(std::string(engine));
        return found == milliseconds.end() ? 0 : found->second;
    }

    std::size_t most = kMostPartsForEngines;
    std::map<std::string, Critique> made;
    std::map<std::string, int> milliseconds;
    std::vector<NotChecked> absent;
    std::function<void()> onLook;
    std::vector<std::string> looked; ///< In the order of their beginning.
    std::mutex mutex;
};

class GraderTest : public testing::Test {
protected:
    std::optional<Critique> graded(const Submission& work) {
        const Grader grader(m_runner, m_engines, {});
        return grader.grade(
            work, {}, [this](const GradingProgress& progress) { m_progress.push_back(progress); });
    }
    static Submission code(const std::vector<std::string>& names) {
        Submission made;
        made.modality = "code";
        for (const std::string& name : names) {
            const bool python = name.size() > 3 && name.substr(name.size() - 3) == ".py";
            made.parts.push_back(
                textPart(python ? "def f(:\n    pass\n" : "a thing\n", name, "text/x-code"));
        }
        return made;
    }
    static bool misses(const Critique& critique, std::string_view why) {
        return std::any_of(critique.coverage.notChecked.begin(), critique.coverage.notChecked.end(),
                           [&](const NotChecked& gap) { return gap.why == why; });
    }

    TestRunner m_runner;
    TestEngines m_engines;
    std::vector<GradingProgress> m_progress;
};

TEST_F(GraderTest, WithoutEnginesItIsWhatTheCriticsSay) {
    const Submission work = code({"a.py", "b.py"});
    EXPECT_EQ(graded(work), critique(work));
    EXPECT_EQ(m_runner.runs, 1);
}

TEST_F(GraderTest, TheNextWorkIsExpectedWithoutAnythingOfThisOne) {
    (void)graded(code({"a.py"}));
    EXPECT_EQ(m_runner.expected, std::vector<ChildRequest>{GraderOptions().worker});
}

TEST_F(GraderTest, NothingIsGradedToo) {
    EXPECT_EQ(graded(Submission{}), critique(Submission{}));
    Submission empty = code({"a.py", "b.py"});
    for (Part& part : empty.parts) part.text.clear();
    EXPECT_EQ(graded(empty), critique(empty));
}

TEST_F(GraderTest, WhatEnginesFindIsAddedToTheirPart) {
    Critique of;
    of.findings = {{Severity::high, "tool.E1", "security", "line 1, column 1", "x", "It is bad."}};
    of.coverage.checked({"tool", "2.0", "security, Python"});
    of.coverage.known = true;
    m_engines.made["tool"] = of;
    m_engines.absent = {{"types, Python", "mypy is not here", "install mypy"}};
    const auto critique = graded(code({"a.py", "tool.py"}));
    ASSERT_TRUE(critique);
    const Finding found = onlyFinding(critique->findings, "tool.E1");
    EXPECT_EQ(found.place, "part 2 (tool.py), line 1, column 1");
    EXPECT_EQ(found.detail, "In part 2 (tool.py): It is bad.");
    EXPECT_TRUE(misses(*critique, "mypy is not here"));
    EXPECT_TRUE(critique->coverage.known);
    EXPECT_EQ(critique->extent.lines, 4U);
}

TEST_F(GraderTest, TheLanguagesOwnParserKnowsBetterThanAGrammar) {
    const auto grammarSpeaks = [](const std::optional<Critique>& critique) {
        return critique && std::ranges::any_of(critique->findings, [](const Finding& finding) {
                   return finding.rule == "code.syntax";
               });
    };
    if (!grammarSpeaks(graded(code({"a.py"})))) {
        GTEST_SKIP() << "NOT RUN: this build has no grammar of Python";
    }
    Critique parser;
    parser.coverage.checked({"Python", "3.11", "syntax, Python"});
    m_engines.made["parsed"] = parser;
    EXPECT_FALSE(grammarSpeaks(graded(code({"parsed.py"}))));
    Critique linter;
    linter.coverage.checked({"Ruff", "0.17", "meaning and security, Python"});
    m_engines.made["linted"] = linter;
    EXPECT_TRUE(grammarSpeaks(graded(code({"linted.py"}))));
    parser.findings = {
        {Severity::high, "python.syntax", "syntax", "line 1, column 7", "x", "Bad."}};
    m_engines.made["refused"] = parser;
    const auto refused = graded(code({"refused.py"}));
    ASSERT_TRUE(refused);
    EXPECT_FALSE(refused->findings.empty());
}

TEST_F(GraderTest, AnOlderPythonKnowsLessOfFStringsThanWhoReadsTheNewest) {
    const auto severityIn = [&](std::string_view name) {
        Submission work = code({std::string(name)});
        work.parts[0].text = "a = 1\n";
        return onlyFinding(graded(work)->findings, "python.syntax").severity;
    };
    const auto complains = [](std::string_view of) {
        Critique made;
        made.coverage.checked({"Python", "3.11", "syntax, Python"});
        made.findings = {{Severity::high, "python.syntax", "syntax", "line 1, column 7", "x",
                          "In line 1: it says " + std::string(of) + "."}};
        return made;
    };
    Critique reader;
    reader.coverage.checked({"Ruff", "0.17", "meaning and security, Python"});
    m_engines.made["-alone-"] = complains("f-string: expecting '}'");
    EXPECT_EQ(severityIn("a-alone-.py"), Severity::high);
    m_engines.made["-reads-"] = reader;
    EXPECT_EQ(severityIn("a-alone-reads-.py"), Severity::low);
    m_engines.made["-other-"] = complains("invalid syntax");
    EXPECT_EQ(severityIn("a-other-reads-.py"), Severity::high);
    reader.findings = {{Severity::high, "ruff.syntax", "syntax", "line 1, column 9", "x", "Bad."}};
    m_engines.made["-reads-"] = reader;
    EXPECT_EQ(severityIn("a-alone-reads-.py"), Severity::high);
}

TEST_F(GraderTest, AnEngineMakesKnownWhatTheCriticsDoNotKnow) {
    EXPECT_FALSE(graded(code({"a.zig"}))->coverage.known);
    m_engines.made["zig"].coverage.known = true;
    EXPECT_TRUE(graded(code({"a.zig"}))->coverage.known);
    EXPECT_FALSE(graded(code({"a.zig", "b.foo"}))->coverage.known) << "only one of the two";
}

TEST_F(GraderTest, WhatWasFoundBeforeABadEndStands) {
    const Submission work = code({"a.py", "b.py", "c.py"});
    m_runner.framesBeforeEnd = 1;
    m_runner.end = End::killed;
    const auto critique = graded(work);
    ASSERT_TRUE(critique);
    EXPECT_EQ(m_runner.runs, 3) << "the two that are left, each once";
    EXPECT_TRUE(misses(*critique, "it was ended by signal 0"));
    // The grammar spoke of the first part only; the other rules of all three.
    EXPECT_EQ(onlyFinding(critique->findings, "code.syntax").place.substr(0, 6), "part 1");
    EXPECT_FALSE(critique->coverage.known);
}

TEST_F(GraderTest, WhoEndsBadlyTwiceIsAGap) {
    m_runner.framesBeforeEnd = 0;
    m_runner.end = End::outOfTime;
    m_runner.endOfOwn = End::tooMuch;
    const auto critique = graded(code({"a.py"}));
    ASSERT_TRUE(critique);
    EXPECT_TRUE(critique->findings.empty());
    EXPECT_FALSE(critique->coverage.known);
    EXPECT_TRUE(misses(*critique, "it wrote more than it may"));
    EXPECT_TRUE(misses(*critique, "it did not end within 20 s")) << "how the first ended";
    EXPECT_EQ(m_runner.runs, 2);

    m_runner.endOfOwn = End::outOfTime;
    const auto twice = graded(code({"a.py"}));
    ASSERT_TRUE(twice);
    EXPECT_EQ(std::ranges::count(twice->coverage.notChecked, "it did not end within 20 s",
                                 &NotChecked::why),
              1);
}

TEST_F(GraderTest, EveryBadEndHasItsWords) {
    const struct {
        End end;
        const char* words;
    } cases[] = {
        {End::outOfTime, "it did not end within 20 s"},
        {End::tooMuch, "it wrote more than it may"},
        {End::notStarted, "it could not be started"},
        {End::killed, "it was ended by signal 0"},
    };
    for (const auto& [end, words] : cases) {
        m_runner.framesBeforeEnd = 0;
        m_runner.end = end;
        EXPECT_TRUE(misses(*graded(code({"a.py"})), words)) << words;
    }
}

TEST_F(GraderTest, WorkThatHasTakenEnoughIsAskedAboutNoMore) {
    m_engines.made["tool"] = {};
    m_runner.framesBeforeEnd = 0;
    m_runner.end = End::outOfTime;
    std::atomic<int> looks{0};
    m_engines.onLook = [&] { ++looks; };
    GraderOptions options;
    options.atOnce = 1; // the critics first, then the engines
    // Every child takes twenty seconds: the first, and two of those that judge the parts anew.
    options.now = [&] {
        return std::chrono::steady_clock::time_point(std::chrono::seconds(20) *
                                                     m_runner.runs.load());
    };
    const Grader grader(m_runner, m_engines, options);
    const auto critique = grader.grade(code(std::vector<std::string>(30, "tool.py")), {}, {});
    ASSERT_TRUE(critique);
    EXPECT_EQ(m_runner.runs, 3);
    EXPECT_EQ(looks, 0);
    EXPECT_TRUE(misses(*critique, "the work had taken 60 s by then"));
    EXPECT_FALSE(critique->coverage.known);
}

TEST(ChildrenAtOnceTest, IsOneForEachCoreBetweenTwoAndThree) {
    EXPECT_EQ(childrenAtOnce(0), 2U); // Unknown.
    EXPECT_EQ(childrenAtOnce(1), 2U);
    EXPECT_EQ(childrenAtOnce(2), 2U);
    EXPECT_EQ(childrenAtOnce(3), 3U);
    EXPECT_EQ(childrenAtOnce(64), 3U);
}

TEST_F(GraderTest, RubbishBehindWholeFramesIsLost) {
    const Submission work = code({"a.py"});
    for (const std::string& rubbish :
         {std::string("xyz"), std::string(8, '\xff'), std::string(4000, '\0')}) {
        m_runner.rubbish = rubbish;
        EXPECT_EQ(graded(work)->findings, critique(work).findings);
    }
}

TEST_F(GraderTest, ProgressGoesFromNoneToAll) {
    m_engines.made["tool"] = {};
    (void)graded(code({"tool.py"}));
    ASSERT_FALSE(m_progress.empty());
    EXPECT_EQ(m_progress.front(), (GradingProgress{0, 2, {}}));
    EXPECT_EQ(m_progress.back(), (GradingProgress{2, 2, {}}));
    for (std::size_t i = 1; i < m_progress.size(); ++i) {
        EXPECT_LE(m_progress[i - 1].done, m_progress[i].done);
    }
}

TEST_F(GraderTest, ACancelledGradeHasNoResult) {
    const Grader grader(m_runner, m_engines, {});
    const auto stop = std::make_unique<StopSource>();
    stop->ask();
    EXPECT_EQ(grader.grade(code({"a.py"}), stop->token(), {}), std::nullopt);
    EXPECT_LE(m_runner.runs, 1);
}

TEST_F(GraderTest, CancelledInTheMiddleItIsNotTakenForABadEnd) {
    const auto stop = std::make_unique<StopSource>();
    m_engines.made["tool"] = {};
    m_engines.onLook = [&] { stop->ask(); };
    const Grader grader(m_runner, m_engines, {});
    EXPECT_EQ(grader.grade(code({"tool.py"}), stop->token(), {}), std::nullopt);
}

TEST_F(GraderTest, ProgramsAreAskedAboutTheFirstPartsOnly) {
    std::atomic<int> looks{0};
    m_engines.made["tool"] = {};
    m_engines.onLook = [&] { ++looks; };
    const auto critique = graded(code(std::vector<std::string>(40, "tool.py")));
    EXPECT_EQ(looks, static_cast<int>(kMostPartsForEngines));
    EXPECT_TRUE(misses(*critique, "programs are asked about the first ones only"));
}

TEST_F(GraderTest, WhoTakesLongestBeginsFirst) {
    for (const std::string name : {"a", "b", "c"}) {
        Critique critique;
        critique.coverage.checked({name, "1", name});
        m_engines.made[name] = critique;
    }
    m_engines.milliseconds = {{"a", 10}, {"b", 300}, {"c", 20}};
    GraderOptions options;
    options.atOnce = 1;
    const Grader grader(m_runner, m_engines, options);
    const auto critique = grader.grade(code({"abc"}), {}, {});
    EXPECT_EQ(m_engines.looked, (std::vector<std::string>{"b", "c", "a"}));
    // What they say keeps the order of asking.
    std::vector<std::string> said;
    for (const CheckedBy& who : critique->coverage.checkedBy) {
        if (who.version == "1") said.push_back(who.engine);
    }
    EXPECT_EQ(said, (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(GraderTest, AnEngineThatTakesFewPartsIsAskedAboutTheFirst) {
    std::atomic<int> looks{0};
    m_engines.made["tool"] = {};
    m_engines.most = 2;
    m_engines.onLook = [&] { ++looks; };
    const auto critique = graded(code(std::vector<std::string>(3, "tool.py")));
    EXPECT_EQ(looks, 2);
    EXPECT_TRUE(misses(*critique, "it is asked about the first 2 parts only"));
}

TEST(WriteFrames, TakesOnlyASubmission) {
    EXPECT_FALSE(writeFrames("no submission", {}, [](std::string_view) { FAIL(); }));
    EXPECT_FALSE(writeFrames("", {}, [](std::string_view) { FAIL(); }));
}

} // namespace
} // namespace trevix
