// Do the programs of this machine answer as the table says?
//
// Those that scripts/bootstrap installs must be here; what is fetched from npm, or belongs to
// another toolchain, is told loudly when it is not.

#include "critics/engines/program_engines.h"
#include "critics/worker/posix_child_runner.h"
#include "tests/critics/engines/recorded.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>

namespace trevix {
namespace {

class Programs : public testing::Test {
protected:
    Programs()
        : m_runner(makePosixChildRunner(m_folder.path(),
                                        sandboxOfThisMachine(m_folder.path(), "/usr/bin/env"))),
          m_finder(usualProgramFolders(), {kelvane::inSourceTree("build/engines")}) {}

    /// A room with this engine alone, so that nobody else is asked for a version.
    [[nodiscard]] std::unique_ptr<ProgramEngines> roomOf(std::string_view id) {
        return std::make_unique<ProgramEngines>(std::span(engineNamed(id), 1), m_finder, *m_runner);
    }

    TemporaryFolder m_folder;
    std::unique_ptr<ChildRunner> m_runner;
    FolderFinder m_finder;
};

class RealPrograms : public Programs, public testing::WithParamInterface<Sample> {};

bool mayBeAbsent(std::string_view id) {
    return id == "gofmt" || id == "ruff" || id == "oxlint" || engineNamed(id)->secondOpinion;
}

INSTANTIATE_TEST_SUITE_P(Each, RealPrograms, testing::ValuesIn(samples()),
                         [](const auto& sample) { return std::string(sample.param.engine); });

TEST_P(RealPrograms, FindsInTheSampleWhatItFoundWhenThatWasRecorded) {
    const Sample& sample = GetParam();
    const auto room = roomOf(sample.engine);
    const EngineInfo engine = room->list().front();
    if (!engine.here && mayBeAbsent(sample.engine)) {
        GTEST_SKIP() << "NOT RUN: " << sample.engine << " is not here (" << engine.obtain << ")";
    }
    ASSERT_TRUE(engine.here) << sample.engine << " is not here: " << engine.trouble << "; "
                             << engine.obtain;
    const Part part = partOf(sample);
    const auto asked = room->enginesFor(part, "");
    EXPECT_EQ(asked, std::vector<std::string>{std::string(sample.engine)});
    const Critique critique = room->look(sample.engine, part, "", {});
    for (const NotChecked& gap : critique.coverage.notChecked) ADD_FAILURE() << gap.why;
    EXPECT_EQ(critique.coverage.checkedBy.size(), 1U);
    // Later versions know more; what is certain stays.
    const auto found = rulesIn(critique.findings);
    for (const std::string& rule : sample.rules) {
        EXPECT_NE(std::ranges::find(found, rule), found.end()) << rule;
    }
}

class ModulesBeforeOthers : public Programs {};

TEST_F(ModulesBeforeOthers, WhoAsksForMoreGetsTheRealOne) {
    const EngineEntry& bandit = *engineNamed("bandit");
    ChildRequest request;
    request.program = "/usr/bin/python3";
    request.arguments = {"-c", "from pkg_resources import Requirement, DistributionNotFound\n"
                               "from pkg_resources import resource_string\n"
                               "print(Requirement.parse('tulip'), resource_string('rose'))"};
    request.files = {{std::string(bandit.scriptName), std::string(bandit.script)},
                     {"lib/pkg_resources.py", "def resource_string(name):\n    return name * 2\n"}};
    request.environment = {{"PYTHONPATH", std::string(bandit.modules) + ":lib"}};
    const ChildResult result = m_runner->run(request);
    EXPECT_EQ(result.output, "tulip roserose\n") << result.errors;
}

/// A script of the test's in the place of a program: what real processes do when they go wrong.
class ProgramsThatMisbehave : public Programs {
protected:
    Critique askedWhen(const std::string& itDoes) {
        const auto folder = m_folder.path() / "bin";
        std::filesystem::create_directories(folder);
        {
            std::ofstream script(folder / "shellcheck");
            script << "#!/bin/sh\nif [ \"$1\" = --version ]; then echo 'version: 0.9.0'; exit; fi\n"
                   << itDoes << "\n";
        }
        std::filesystem::permissions(folder / "shellcheck", std::filesystem::perms::owner_all);
        const FolderFinder finder({folder}, {});
        ProgramEngines room(std::span(engineNamed("shellcheck"), 1), finder, *m_runner);
        Part part;
        part.name = "a.sh";
        part.mimeType = "text/x-code";
        part.text = "#!/bin/bash\necho $1\n";
        EXPECT_THAT(room.enginesFor(part, ""), testing::ElementsAre("shellcheck"));
        return room.look("shellcheck", part, "", {});
    }
};

TEST_F(ProgramsThatMisbehave, EachHasItsLineInTheCoverage) {
    const struct {
        const char* what;
        const char* why;
    } cases[] = {
        {"kill -SEGV $$", "ShellCheck was ended by signal 11"},
        {"exit 3", "ShellCheck ended with status 3"},
        {"exec cat /dev/zero", "ShellCheck printed more than is read of it"},
        {"head -c 3000000 /dev/urandom", "ShellCheck was asked, but its answer is not understood"},
        {"printf '{\"comments\":[{\"li'", "ShellCheck was asked, but its answer is not understood"},
        {"printf '{\"comments\":[{\"file\":\"/etc/passwd\",\"line\":900,\"column\":1,"
         "\"level\":\"error\",\"code\":1,\"message\":\"m\"}]}'",
         "ShellCheck was asked, but its answer is not understood"},
        {"exit 0", "ShellCheck was asked, but its answer is not understood"},
    };
    for (const auto& [what, why] : cases) {
        const Critique critique = askedWhen(what);
        EXPECT_TRUE(critique.findings.empty()) << what;
        ASSERT_EQ(critique.coverage.notChecked.size(), 1U) << what;
        EXPECT_EQ(critique.coverage.notChecked[0].why, why) << what;
    }
}

struct Sound {
    std::string_view engine;
    std::string_view name;
    std::string_view text;
    std::string_view mimeType = "text/x-code";
};

class SoundWork : public Programs {};

TEST_F(SoundWork, HasNoFindingWithLfWithCrLfAndWithAMark) {
    const std::vector<Sound> works = {
        {"python", "a.py", "def sow(bed):\n    return bed + 1\n"},
        {"bash", "a.sh", "for bed in \"$@\"; do\n  echo \"$bed\"\ndone\n"},
        {"node", "a.js", "import fs from 'node:fs';\nexport const a = fs;\n"},
        {"gofmt", "a.go", "package garden\n\nfunc Sow() int { return 1 }\n"},
        {"yamllint", "a.yaml", "garden:\n    beds: [north,   south]\n"},
        {"xmllint", "a.xml", "<garden><bed/></garden>\n"},
        {"shellcheck", "a.sh", "for bed in \"$@\"; do\n  echo \"$bed\"\ndone\n"},
        {"cppcheck", "a.cpp", "int sow(int bed) {\n    return bed + 1;\n}\n"},
        {"bandit", "a.py", "def sow(bed):\n    assert bed\n    return bed + 1\n"},
        {"ruff", "a.py", "def sow(bed):\n    return bed + 1\n"},
        {"oxlint", "a.tsx", "export const Bed = (a: string) => <p>{a}</p>;\n"},
        {"biome", "a.css", ".bed {\n  color: green;\n}\n"},
        {"markdownlint", "a.md", "# Beds\n\n## North\n\nIt has [a plan](plan.md).\n",
         "text/markdown"},
        {"harper", "a.txt", "The garden opens at nine in the morning, and it is closed at night.\n",
         "text/plain"},
        {"gitleaks", "a.txt", "The shed opens with the key of the gate.\n", "text/plain"},
    };
    ASSERT_EQ(works.size(), engineTable().size());
    for (const Sound& work : works) {
        const auto room = roomOf(work.engine);
        const EngineInfo engine = room->list().front();
        if (!engine.here && mayBeAbsent(work.engine)) continue; // Told by the test above.
        std::string withCarriageReturns;
        for (const char c : work.text) {
            if (c == '\n') withCarriageReturns += '\r';
            withCarriageReturns += c;
        }
        for (const std::string& text :
             {std::string(work.text), withCarriageReturns, "\xEF\xBB\xBF" + withCarriageReturns}) {
            Part part;
            part.name = work.name;
            part.mimeType = work.mimeType;
            part.text = text;
            const Critique critique = room->look(work.engine, part, "", {});
            for (const Finding& finding : critique.findings) {
                ADD_FAILURE() << work.engine << ": " << finding.detail;
            }
            for (const NotChecked& gap : critique.coverage.notChecked) {
                ADD_FAILURE() << work.engine << ": " << gap.why;
            }
            EXPECT_EQ(critique.coverage.checkedBy.size(), 1U) << work.engine;
        }
    }
}

} // namespace
} // namespace trevix
