// What are the answers of programs worth, the recorded, the damaged and the forged?

#include "critics/engines/foreign_critique.h"

#include "critics/engines/foreign_grade.h"
#include "critics/rules.h"
#include "tests/critics/engines/recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <vector>

namespace trevix {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

ChildResult exited(int status, std::string output, std::string errors = {}) {
    return {ChildResult::End::exited, status, std::move(output), std::move(errors)};
}

Part code(std::string name, std::string text) {
    Part part;
    part.name = std::move(name);
    part.mimeType = "text/x-code";
    part.text = std::move(text);
    return part;
}

std::string comment(const std::string& line, const std::string& column, const std::string& code,
                    const std::string& level, const std::string& message) {
    return R"({"comments":[{"line":)" + line + R"(,"column":)" + column + R"(,"level":")" + level +
           R"(","code":)" + code + R"(,"message":")" + message + R"("}]})";
}

TEST(RecordedAnswers, AreOneForEachEngineOfTheTable) {
    std::vector<std::string> known;
    for (const EngineEntry& entry : engineTable()) known.emplace_back(entry.id);
    std::vector<std::string> sampled;
    for (const Sample& sample : samples()) sampled.emplace_back(sample.engine);
    EXPECT_EQ(sampled, known);
}

TEST(RecordedAnswers, BecomeFindingsOfDeclaredRules) {
    for (const Sample& sample : samples()) {
        const Critique critique =
            critiqueOf(hereAs(sample.engine), partOf(sample), resultOf(sample, answerTo(sample)));
        EXPECT_EQ(rulesIn(critique.findings), sample.rules) << sample.engine;
        ASSERT_FALSE(critique.findings.empty()) << sample.engine;
        EXPECT_EQ(critique.findings.front().place, sample.firstPlace);
        for (const Finding& finding : critique.findings) {
            const auto rule = ruleNamed(finding.rule);
            ASSERT_TRUE(rule.has_value()) << finding.rule;
            EXPECT_TRUE(rule->severities.has(finding.severity)) << finding.rule;
            EXPECT_EQ(finding.criterion, rule->criterion);
            EXPECT_THAT(finding.evidence, Not(IsEmpty()));
            EXPECT_THAT(finding.detail, HasSubstr(finding.evidence));
            EXPECT_THAT(finding.detail, Not(HasSubstr("work."))) << finding.detail;
        }
        EXPECT_EQ(critique.coverage.known, !engineNamed(sample.engine)->secondOpinion)
            << sample.engine;
        EXPECT_THAT(critique.coverage.notChecked, IsEmpty());
        ASSERT_EQ(critique.coverage.checkedBy.size(), 1U);
        EXPECT_EQ(critique.coverage.checkedBy[0].knows, engineNamed(sample.engine)->judges);
    }
}

TEST(RecordedAnswers, CutAnywhereNeverCrashAndNeverPassForSound) {
    for (const Sample& sample : samples()) {
        const Part part = partOf(sample);
        const std::string answer = answerTo(sample);
        for (std::size_t kept = 0; kept < answer.size(); kept += 7) {
            const Critique critique =
                critiqueOf(hereAs(sample.engine), part, resultOf(sample, answer.substr(0, kept)));
            const bool said = !critique.findings.empty() || !critique.coverage.notChecked.empty();
            // Cppcheck has nothing to say of sound code.
            if (sample.engine == "cppcheck" && kept == 0) continue;
            // A sound file and an empty list are the same to yamllint, but its status tells.
            EXPECT_TRUE(said) << sample.engine << " at " << kept;
        }
    }
}

TEST(RecordedAnswers, DamagedAnywhereNeverCrash) {
    for (const Sample& sample : samples()) {
        const Part part = partOf(sample);
        const std::string answer = answerTo(sample);
        for (std::size_t at = 0; at < answer.size(); at += 5) {
            for (const char bad : {'\0', '\xFF', '9', '"', '\n'}) {
                std::string damaged = answer;
                damaged[at] = bad;
                const Critique critique =
                    critiqueOf(hereAs(sample.engine), part, resultOf(sample, damaged));
                EXPECT_EQ(critique.coverage.checkedBy.size() + critique.coverage.notChecked.size(),
                          1U);
            }
        }
    }
}

TEST(ForeignAnswer, GarbageIsAGapThatSaysWhoseAnswerItWas) {
    const std::vector<std::string> garbage = {"Segmentation fault",
                                              "{}",
                                              "[]",
                                              "null",
                                              R"({"comments":3,"faults":{},"errors":[]})",
                                              std::string(2000, '['),
                                              std::string("\0\0\0", 3),
                                              R"({"comments":[1,2]})"};
    for (const Sample& sample : samples()) {
        for (const std::string& answer : garbage) {
            // So it writes that there is nothing.
            if (sample.engine == "gitleaks" && (answer == "[]" || answer == "null")) continue;
            const Critique critique =
                critiqueOf(hereAs(sample.engine), partOf(sample), resultOf(sample, answer));
            EXPECT_THAT(critique.findings, IsEmpty()) << sample.engine << ": " << answer;
            EXPECT_FALSE(critique.coverage.known);
            ASSERT_EQ(critique.coverage.notChecked.size(), 1U) << sample.engine << ": " << answer;
            EXPECT_EQ(critique.coverage.notChecked[0].what, engineNamed(sample.engine)->judges);
            EXPECT_THAT(critique.coverage.notChecked[0].why,
                        HasSubstr(engineNamed(sample.engine)->name));
        }
    }
}

TEST(ForeignAnswer, PlacesThatTheWorkDoesNotHaveAreNotUnderstood) {
    const Part part = code("a.sh", "#!/bin/bash\necho $1\n");
    for (const char* line : {"5", "999999", "18446744073709551615"}) {
        const auto critique = critiqueOf(hereAs("shellcheck"), part,
                                         exited(1, comment(line, "1", "2086", "info", "m")));
        EXPECT_THAT(critique.findings, IsEmpty()) << line;
        EXPECT_FALSE(critique.coverage.known) << line;
    }
    // The end of the file is a place, and a column behind the line is its end.
    for (const char* line : {"3", "4"}) {
        const auto critique = critiqueOf(hereAs("shellcheck"), part,
                                         exited(1, comment(line, "9", "2086", "info", "m")));
        ASSERT_EQ(critique.findings.size(), 1U) << line;
        EXPECT_EQ(critique.findings[0].place, "line 3, column 1");
        EXPECT_EQ(critique.findings[0].evidence, "echo $1");
    }
}

TEST(ForeignAnswer, ACodeThatIsNoNameIsNotUnderstood) {
    const Part part = code("a.cpp", "int a;\n");
    for (const char* id : {"", "a b", "<script>", "a\xC3\xA9", "a.b"}) {
        const auto critique =
            critiqueOf(hereAs("cppcheck"), part,
                       exited(0, "error\t" + std::string(id) + "\t1\t1\tsome words\n"));
        EXPECT_THAT(critique.findings, IsEmpty()) << id;
        EXPECT_EQ(critique.coverage.notChecked.size(), 1U) << id;
    }
}

TEST(ForeignAnswer, EveryOtherEndIsToldInTheCoverage) {
    const Part part = code("a.py", "a = 1\n");
    const auto why = [&](const ChildResult& result) {
        const Critique critique = critiqueOf(hereAs("bandit"), part, result);
        EXPECT_THAT(critique.findings, IsEmpty());
        EXPECT_THAT(critique.coverage.checkedBy, IsEmpty());
        EXPECT_EQ(critique.coverage.notChecked.size(), 1U);
        return critique.coverage.notChecked.empty() ? "" : critique.coverage.notChecked[0].why;
    };
    using End = ChildResult::End;
    EXPECT_EQ(why({End::killed, 9, "", ""}), "Bandit was ended by signal 9");
    EXPECT_EQ(why({End::outOfTime, 0, "", ""}), "Bandit did not end within 60 s");
    EXPECT_EQ(why({End::tooMuch, 0, "{", ""}), "Bandit printed more than is read of it");
    EXPECT_EQ(why({End::cancelled, 0, "", ""}), "Bandit was stopped");
    EXPECT_EQ(why({End::notStarted, 0, "", "no"}), "Bandit could not be started");
    EXPECT_EQ(why(exited(2, "{}")), "Bandit ended with status 2");
    EXPECT_EQ(why(exited(139, "{}")), "Bandit was ended by signal 11");
    EXPECT_EQ(why(exited(128, "{}")), "Bandit ended with status 128");
    EXPECT_EQ(why(exited(255, "{}")), "Bandit ended with status 255");
    EXPECT_EQ(why(exited(0, R"({"errors":[{"reason":"x"}],"results":[]})")),
              "Bandit was asked, but it could not read the code");
}

TEST(ForeignAnswer, OfEachEngineEveryBadEndIsAGapThatNamesItAndNoFinding) {
    using End = ChildResult::End;
    for (const Sample& sample : samples()) {
        const std::string answer = answerTo(sample); // As if it had said so before its end.
        const std::string name(engineNamed(sample.engine)->name);
        const std::vector<ChildResult> ends = {
            {End::killed, 11, answer, answer},    {End::outOfTime, 0, answer, answer},
            {End::tooMuch, 0, answer, answer},    {End::cancelled, 0, answer, answer},
            {End::notStarted, 0, answer, answer}, {End::exited, 77, answer, answer}};
        for (const ChildResult& bad : ends) {
            const Critique critique = critiqueOf(hereAs(sample.engine), partOf(sample), bad);
            EXPECT_THAT(critique.findings, IsEmpty()) << name;
            EXPECT_THAT(critique.coverage.checkedBy, IsEmpty()) << name;
            EXPECT_FALSE(critique.coverage.known) << name;
            ASSERT_EQ(critique.coverage.notChecked.size(), 1U) << name;
            EXPECT_THAT(critique.coverage.notChecked[0].why, testing::StartsWith(name + " "));
        }
    }
}

/// As evidence shows a text.
std::string withSingleBlanks(const std::string& text) {
    std::istringstream words(text);
    std::string out;
    for (std::string word; words >> word;) out += (out.empty() ? "" : " ") + word;
    return out;
}

TEST(ForeignAnswer, AForgedPathLeadsNowhere) {
    for (const Sample& sample : samples()) {
        for (const char* path : {"/etc/passwd", "../../secret", "x:1:1: y"}) {
            std::string answer = answerTo(sample);
            for (std::size_t at = 0; (at = answer.find("work.", at)) != std::string::npos;) {
                answer.replace(at, 5, path);
                at += std::string_view(path).size();
            }
            const Part part = partOf(sample);
            const Critique critique =
                critiqueOf(hereAs(sample.engine), part, resultOf(sample, answer));
            for (const Finding& finding : critique.findings) {
                // What is quoted stands in the work, but for what is hidden or cut.
                const std::string quoted = finding.evidence.substr(0, finding.evidence.find("…"));
                EXPECT_THAT(withSingleBlanks(part.text), HasSubstr(quoted)) << sample.engine;
                EXPECT_THAT(finding.place, testing::StartsWith("line ")) << sample.engine;
            }
            EXPECT_EQ(critique.coverage.checkedBy.size() + critique.coverage.notChecked.size(), 1U)
                << sample.engine;
        }
    }
}

TEST(Versions, OfEachEngineOneTooOldOrTooNewIsNotUsed) {
    for (const EngineEntry& entry : engineTable()) {
        EXPECT_EQ(versionTrouble(entry, "0.0.1").empty(), entry.oldest.empty()) << entry.id;
        EXPECT_EQ(versionTrouble(entry, "9999").empty(), entry.beyond.empty()) << entry.id;
        EXPECT_EQ(versionTrouble(entry, entry.oldest), "") << entry.id;
        EXPECT_EQ(versionTrouble(entry, entry.beyond).empty(), entry.beyond.empty()) << entry.id;
    }
}

TEST(ForeignAnswer, NothingToSayIsAJudgement) {
    const Critique critique = critiqueOf(hereAs("shellcheck", "0.9.0"), code("a.sh", "ls\n"),
                                         exited(0, R"({"comments":[]})"));
    EXPECT_THAT(critique.findings, IsEmpty());
    EXPECT_TRUE(critique.coverage.known);
    EXPECT_THAT(critique.coverage.checkedBy,
                ElementsAre(CheckedBy{"ShellCheck", "0.9.0", "meaning, shell"}));
}

TEST(ForeignAnswer, ManyOfARuleAreListedUpToTheUsualNumber) {
    std::string text;
    std::string answer;
    for (int i = 1; i <= 80; ++i) {
        text += "int a" + std::to_string(i) + ";\n";
        answer += "error\tsomeFault\t" + std::to_string(i) + "\t1\tfault\n";
    }
    answer += "warning\totherFault\t1\t1\tfault\n";
    const auto findings =
        critiqueOf(hereAs("cppcheck"), code("a.c", text), exited(0, answer)).findings;
    ASSERT_EQ(findings.size(), 52U);
    EXPECT_EQ(findings.back().rule, "cppcheck.someFault");
    EXPECT_THAT(findings.back().evidence, HasSubstr("30 more"));
}

TEST(ForeignAnswer, NoSecretIsQuoted) {
    const std::string key = "AKIA"
                            "QX4TJ7RM2LWZ5VNB";
    const Part part = code("a.sh", "#!/bin/bash\nAWS_KEY=" + key + " run $1\n");
    const auto findings =
        critiqueOf(hereAs("shellcheck"), part,
                   exited(1, comment("2", "30", "2086", "info", "quote " + key + " please")))
            .findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_THAT(findings[0].evidence, Not(HasSubstr(key)));
    EXPECT_THAT(findings[0].detail, Not(HasSubstr(key)));
    EXPECT_THAT(findings[0].evidence, HasSubstr("run $1"));
}

TEST(ForeignAnswer, APasswordThatIsOnlyAWordIsNotQuotedEither) {
    const Part part = code("a.py", "password = \"tulips-in-may\"\n");
    const auto findings =
        critiqueOf(hereAs("bandit"), part,
                   exited(1, R"({"errors":[],"results":[{"test_id":"B105","line_number":1,
                       "issue_severity":"LOW","issue_confidence":"MEDIUM",
                       "issue_text":"Possible hardcoded password: 'tulips-in-may'"}]})"))
            .findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].evidence, "password = \"tuli…\"");
    EXPECT_THAT(findings[0].detail, Not(HasSubstr("in-may")));
}

TEST(ForeignAnswer, WhatStandsForASecretThatWasTakenOutIsNone) {
    const Part part = code("a.py", "password = \"REDACTED\"\n");
    const auto findings =
        critiqueOf(hereAs("bandit"), part,
                   exited(1, R"({"errors":[],"results":[{"test_id":"B105","line_number":1,
                       "issue_severity":"LOW","issue_confidence":"MEDIUM",
                       "issue_text":"Possible hardcoded password: 'REDACTED'"}]})"))
            .findings;
    EXPECT_TRUE(findings.empty());
}

TEST(ForeignAnswer, ACallForAShellStandsWhereItBeginsAndNotAtItsOption) {
    const Part part = code("a.py", "a = 1\nrun(\n    command,\n    shell=True)\n");
    const auto placeOf = [&](const std::string& range) {
        return critiqueOf(hereAs("bandit"), part,
                          exited(1, R"({"errors":[],"results":[{"test_id":"B602","line_number":4,
                              "issue_severity":"HIGH","issue_confidence":"HIGH",)" +
                                        range + R"("issue_text":"a shell"}]})"))
            .findings.at(0)
            .place;
    };
    EXPECT_EQ(placeOf(R"("line_range":[2,3,4],)"), "line 2, column 1");
    EXPECT_EQ(placeOf(""), "line 4, column 5");
    EXPECT_EQ(placeOf(R"("line_range":[],)"), "line 4, column 5");
    EXPECT_EQ(placeOf(R"("line_range":["2"],)"), "line 4, column 5");
    EXPECT_EQ(placeOf(R"("line_range":[9],)"), "line 4, column 5") << "behind the option";
}

TEST(ForeignAnswer, TheWordsOfAProgramStayOnOneShortLine) {
    const std::string words = std::string(900, 'w') + "\\nmore";
    const auto findings = critiqueOf(hereAs("shellcheck"), code("a.sh", "ls\n"),
                                     exited(1, comment("1", "1", "2999", "error", words)))
                              .findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_LT(findings[0].detail.size(), 500U);
    EXPECT_THAT(findings[0].detail, Not(HasSubstr("\n")));
}

TEST(ForeignAnswer, ALongLineIsQuotedWhereTheFaultIs) {
    const std::string text = std::string(400, 'x') + "; rm $1";
    const auto findings = critiqueOf(hereAs("shellcheck"), code("a.sh", text),
                                     exited(1, comment("1", "406", "2086", "info", "m")))
                              .findings;
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_THAT(findings[0].evidence, HasSubstr("rm $1"));
    EXPECT_EQ(findings[0].place, "line 1, column 406");
}

TEST(ForeignAnswer, OneSlipOfSyntaxIsOneFindingAndTheMostTelling) {
    const std::string answer =
        R"({"comments":[{"line":1,"column":1,"level":"info","code":1009,"message":"mentioned"},
        {"line":1,"column":1,"level":"error","code":1073,"message":"could not parse"},
        {"line":1,"column":1,"level":"error","code":1046,"message":"no fi for this if"},
        {"line":2,"column":1,"level":"error","code":1047,"message":"expected fi"},
        {"line":3,"column":1,"level":"error","code":1072,"message":"unexpected"},
        {"line":2,"column":3,"level":"info","code":2086,"message":"quote"}]})";
    const auto findings =
        critiqueOf(hereAs("shellcheck"), code("a.sh", "if a; then\n  b $1\n"), exited(1, answer))
            .findings;
    EXPECT_THAT(rulesIn(findings), ElementsAre("shellcheck.SC1046", "shellcheck.SC2086"));
}

TEST(ForeignAnswer, CppcheckThatGaveUpHasNotLooked) {
    const Part part = code("a.cpp", "DECLARE(a)\nint b[2];\n");
    const Critique critique = critiqueOf(
        hereAs("cppcheck"), part,
        exited(0, "error\tunknownMacro\t1\t1\tThere is an unknown macro here somewhere.\n"));
    EXPECT_THAT(critique.findings, IsEmpty());
    EXPECT_FALSE(critique.coverage.known);
    EXPECT_EQ(critique.coverage.notChecked.size(), 1U);
}

TEST(ForeignGrade, TheProgramsOwnLevelsAreTheRule) {
    const auto grade = [](std::string_view engine, std::string code, std::string level,
                          std::string confidence = "high", std::string message = "") {
        return gradeOf(
            engine,
            {std::move(code), std::move(level), std::move(confidence), 1, 1, std::move(message)},
            {true, "", 0});
    };
    EXPECT_EQ(grade("shellcheck", "SC2071", "error"), Severity::high);
    EXPECT_EQ(grade("shellcheck", "SC2164", "warning"), Severity::medium);
    EXPECT_EQ(grade("shellcheck", "SC2012", "info"), Severity::low);
    EXPECT_EQ(grade("shellcheck", "SC2006", "style"), std::nullopt);
    EXPECT_EQ(grade("shellcheck", "SC2086", "info"), Severity::low);
    EXPECT_EQ(grade("shellcheck", "SC2013", "info"), Severity::medium);
    EXPECT_EQ(grade("shellcheck", "SC2251", "info"), Severity::medium);
    EXPECT_EQ(grade("shellcheck", "SC2162", "info"), Severity::low);
    EXPECT_EQ(grade("shellcheck", "SC2034", "warning"), Severity::low);
    EXPECT_EQ(grade("shellcheck", "SC1091", "info"), std::nullopt);
    EXPECT_EQ(grade("cppcheck", "nullPointer", "error"), Severity::high);
    EXPECT_EQ(grade("cppcheck", "uninitvar", "warning"), Severity::low);
    EXPECT_EQ(grade("cppcheck", "missingIncludeSystem", "error"), std::nullopt);
    EXPECT_EQ(grade("cppcheck", "constStatement", "warning", "",
                    "Redundant code: Found unused array access."),
              Severity::low);
    EXPECT_EQ(grade("cppcheck", "constStatement", "warning", "", "Found suspicious operator '='"),
              Severity::medium);
    EXPECT_EQ(grade("bandit", "B602", "high"), Severity::high);
    EXPECT_EQ(grade("bandit", "B602", "high", "low"), Severity::medium);
    EXPECT_EQ(grade("bandit", "B506", "medium"), Severity::medium);
    EXPECT_EQ(grade("bandit", "B506", "low"), Severity::low);
    EXPECT_EQ(grade("bandit", "B506", "low", "low"), std::nullopt);
    EXPECT_EQ(grade("bandit", "B101", "low"), std::nullopt);
    EXPECT_EQ(grade("oxlint", "no-unused-vars", "error"), std::nullopt);
    EXPECT_EQ(grade("oxlint", "no-dupe-keys", "error"), Severity::medium);
    EXPECT_EQ(grade("ruff", "S602", ""), Severity::high);
    EXPECT_EQ(grade("ruff", "S105", ""), Severity::low);
    EXPECT_EQ(grade("python", "warning", ""), Severity::medium);
    EXPECT_EQ(grade("python", "syntax", ""), Severity::high);
    // A program that nothing more is said of.
    EXPECT_EQ(grade("yamllint", "key-duplicates", "error"), Severity::high);
    EXPECT_EQ(grade("yamllint", "comments", "warning"), Severity::medium);
    EXPECT_EQ(grade("xmllint", "syntax", ""), Severity::high);
}

TEST(ForeignGrade, WhatIsDeclaredNowhereWeighsLittleInASelection) {
    const ForeignFault name{"F821", "", "", 1, 1, ""};
    EXPECT_EQ(gradeOf("ruff", name, {true, "", 0}), Severity::high);
    EXPECT_EQ(gradeOf("ruff", name, {false, "", 0}), Severity::low);
    const ForeignFault listed{"F822", "", "", 1, 1, ""};
    EXPECT_EQ(gradeOf("ruff", listed, {true, "", 0}), Severity::medium);
    EXPECT_EQ(gradeOf("ruff", listed, {false, "", 0}), Severity::low);
    const ForeignFault variable{"SC2154", "warning", "", 1, 1, ""};
    EXPECT_EQ(gradeOf("shellcheck", variable, {true, "", 0}), Severity::medium);
    EXPECT_EQ(gradeOf("shellcheck", variable, {false, "", 0}), Severity::low);
}

TEST(ForeignGrade, ANameThatMayBeMeantWeighsLittle) {
    const auto grade = [](std::string_view text, std::string_view name) {
        return gradeOf("ruff", {"F821", "", "", 1, 1, ""}, {true, text, text.rfind(name)});
    };
    EXPECT_EQ(grade("def f(kind: \"Kind\"):\n    return kind\n", "Kind"), Severity::low);
    EXPECT_EQ(grade("import os\ndef add(x):\n    keep[x] = 1\ndel add\ndef more(x):\n    add(x)\n",
                    "add"),
              Severity::low);
    EXPECT_EQ(grade("def f(x):\n    return adds(x)\n", "adds"), Severity::high);
    EXPECT_EQ(grade("def f(x):\n    return f\"{y}\"\n", "y"), Severity::high);
}

TEST(ForeignGrade, EveryDepartureIsOfAKnownEngineOnceAndHasAReason) {
    std::set<std::pair<std::string_view, std::string_view>> seen;
    for (const ForeignGrade& grade : foreignGrades()) {
        EXPECT_NE(engineNamed(grade.engine), nullptr) << grade.engine;
        EXPECT_TRUE(seen.insert({grade.engine, grade.code}).second) << grade.code;
        EXPECT_FALSE(grade.reason.empty()) << grade.code;
        if (!grade.severity) continue;
        const auto family = ruleNamed(std::string(grade.engine) + "." + std::string(grade.code));
        ASSERT_TRUE(family.has_value()) << grade.engine;
        EXPECT_TRUE(family->severities.has(*grade.severity)) << grade.code;
    }
}

TEST(Versions, AreFoundAndCompared) {
    EXPECT_EQ(versionIn("ShellCheck - shell script analysis tool\nversion: 0.9.0\n"), "0.9.0");
    EXPECT_EQ(versionIn("GNU bash, version 5.2.15(1)-release"), "5.2.15");
    EXPECT_EQ(versionIn("v20.20.2\n"), "20.20.2");
    EXPECT_EQ(versionIn("/usr/bin/xmllint: using libxml version 20914"), "20914");
    EXPECT_EQ(versionIn("Cppcheck 2.10"), "2.10");
    EXPECT_EQ(versionIn("libxml2 of today"), "");
    EXPECT_EQ(versionIn(""), "");
    EXPECT_TRUE(comesBefore("1.9", "1.10"));
    EXPECT_FALSE(comesBefore("1.10", "1.9"));
    EXPECT_TRUE(comesBefore("1", "1.0.1"));
    EXPECT_FALSE(comesBefore("2.0", "2.0"));
    EXPECT_FALSE(comesBefore("99999999999999999999", "1"));
}

TEST(Versions, OutsideTheRangeAreToldAndUnknownOnesAreUsed) {
    const EngineEntry& entry = *engineNamed("shellcheck");
    EXPECT_EQ(versionTrouble(entry, "0.9.0"), "");
    EXPECT_EQ(versionTrouble(entry, ""), "");
    EXPECT_EQ(versionTrouble(entry, "0.4.6"),
              "ShellCheck 0.4.6 is older than 0.7.0, which is needed");
    EXPECT_EQ(versionTrouble(entry, "1.0"),
              "ShellCheck 1.0 is not known here, which versions before 1 are");
}

TEST(JudgeRequest, NamesTheFileAndNothingOfTheWork) {
    const WorkFile file{"work.sh", "ls\n", "bash", "shell"};
    const ChildRequest request = judgeRequest(hereAs("shellcheck"), file);
    EXPECT_EQ(request.program, "/usr/bin/shellcheck");
    EXPECT_THAT(request.arguments, ElementsAre("--norc", "--format=json1", "--color=never",
                                               "--shell", "bash", "work.sh"));
    EXPECT_THAT(request.files, ElementsAre(std::pair<std::string, std::string>("work.sh", "ls\n")));
    EXPECT_THAT(request.readable, IsEmpty());
}

TEST(JudgeRequest, BringsTheScriptAndShowsTheModulesFolder) {
    const WorkFile file{"work.py", "a = 1\n", "", "Python"};
    const ChildRequest request = judgeRequest(hereAs("ruff"), file);
    ASSERT_EQ(request.files.size(), 2U);
    EXPECT_EQ(request.files[0].first, "ruff_runner.mjs");
    EXPECT_THAT(request.files[0].second, HasSubstr("workspace.check"));
    EXPECT_THAT(request.readable, ElementsAre("/opt/engines"));
    EXPECT_EQ(request.arguments[1],
              "/opt/engines/node_modules/@astral-sh/ruff-wasm-nodejs/ruff_wasm.js");
    EXPECT_EQ(request.limits.addressSpace, 0U);
}

TEST(JudgeRequest, StandsAModuleBeforeThoseOfTheProgram) {
    const WorkFile file{"work.py", "a = 1\n", "", "Python"};
    const ChildRequest request = judgeRequest(hereAs("bandit"), file);
    ASSERT_EQ(request.files.size(), 2U);
    EXPECT_EQ(request.files[0].first, "start/pkg_resources.py");
    EXPECT_THAT(request.files[0].second, HasSubstr("get_provider"));
    // The folder of that alone: what is judged is imported by nobody.
    EXPECT_THAT(request.environment,
                ElementsAre(std::pair<std::string, std::string>("PYTHONPATH", "start")));
    EXPECT_EQ(request.files[1].first, "work.py");
    EXPECT_THAT(judgeRequest(hereAs("ruff"), file).environment, IsEmpty());
}

TEST(DropAnswered, TakesAwayGapsThatSomebodyFilled) {
    Coverage coverage;
    coverage.checked({"trevix", "1", "syntax, Go"});
    coverage.missed({"syntax, Go", "gofmt is not here", "install gofmt"});
    coverage.missed({"meaning, Go", "nobody is here", ""});
    dropAnswered(coverage);
    EXPECT_THAT(coverage.notChecked, ElementsAre(NotChecked{"meaning, Go", "nobody is here", ""}));
}

} // namespace
} // namespace trevix
