#include "selftest/self_test.h"

#include "catalog/app_catalog.h"
#include "tests/source_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace kelvane {
namespace {

struct Outcome {
    std::int32_t status = 0;
    std::string report;

    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> all;
        std::istringstream in(report);
        for (std::string line; std::getline(in, line);) all.push_back(line);
        return all;
    }
    [[nodiscard]] bool says(const std::string& line) const {
        const auto all = lines();
        return std::ranges::find(all, line) != all.end();
    }
};

Outcome selfTest(const AppCatalog& catalog) {
    std::ostringstream report;
    const auto status = SelfTest::run(catalog, report);
    return {status, report.str()};
}

CatalogApp app(std::string id, std::vector<std::string> bundleIds = {},
               std::vector<std::string> webHosts = {}) {
    CatalogApp made;
    made.id = std::move(id);
    made.name = made.id;
    made.bundleIds = std::move(bundleIds);
    made.webHosts = std::move(webHosts);
    return made;
}

/// The smallest catalog that passes: what the checks ask for and enough others.
std::vector<CatalogApp> passing(std::size_t count = 50) {
    std::vector<CatalogApp> apps{
        app("figma", {"com.figma.Desktop"}, {"figma.com"}),
        app("figjam", {}, {"figma.com/board"}),
        app("vscode", {"com.microsoft.VSCode"}),
        app("notion", {"notion.id"}),
        app("premiere", {"com.adobe.PremierePro"}),
        app("jetbrains", {"com.jetbrains."}),
        app("google_docs", {}, {"docs.google.com/document"}),
        app("google_sheets", {}, {"docs.google.com/spreadsheets"}),
    };
    apps[2].workflowNodes = {"build"};
    while (apps.size() < count) apps.push_back(app("other" + std::to_string(apps.size())));
    return apps;
}

AppCatalog catalogOf(std::vector<CatalogApp> apps, std::vector<std::string> modalities = {"text"}) {
    return AppCatalog(std::move(apps), "1", std::move(modalities));
}

const std::vector<std::string> kLabels{
    "catalog has >= 50 apps (50)",
    "catalog declares modalities",
    "exact: com.figma.Desktop -> figma",
    "exact: com.microsoft.VSCode -> vscode",
    "exact: notion.id -> notion",
    "prefix: com.adobe.PremierePro.24 -> premiere",
    "prefix: com.jetbrains.intellij -> jetbrains",
    "unknown bundle -> nil",
    "short junk -> nil",
    "url figma.com/board -> figjam",
    "url docs.google.com/document -> google_docs",
    "url docs.google.com/spreadsheets -> google_sheets",
    "all primary_modalities valid",
    "codex detected running",
    "codex wired==true",
    "claude_code running via proc",
    "claude_code wired==false (not in wired set)",
    "ollama running, wired==nil (not a harness)",
    "cursor not present",
    "dup app collapses (3 steps)",
    "workflow node from current app",
    "pipeline preserves order",
    "multi-modal detected",
};

TEST(SelfTest, EveryCheckOfAGoodCatalogPassesInOrder) {
    const auto outcome = selfTest(catalogOf(passing()));
    std::vector<std::string> expected;
    for (const auto& label : kLabels) expected.push_back("PASS  " + label);
    expected.insert(expected.end(), {"", "selftest: ALL PASS (50 apps)"});
    EXPECT_EQ(outcome.lines(), expected);
    EXPECT_TRUE(outcome.report.ends_with("\n"));
    EXPECT_EQ(outcome.status, 0);
}

TEST(SelfTest, FortyNineAppsAreTooFew) {
    const auto outcome = selfTest(catalogOf(passing(49)));
    EXPECT_EQ(outcome.lines().front(), "FAIL  catalog has >= 50 apps (49)");
    EXPECT_EQ(outcome.lines().back(), "selftest: 1 FAILURE(S)");
    EXPECT_EQ(outcome.lines().size(), 25U);
    EXPECT_EQ(outcome.status, 1);
}

TEST(SelfTest, TheEmptyCatalogFailsElevenChecks) {
    const auto outcome = selfTest(AppCatalog());
    const std::vector<bool> passes{false, false, false, false, false, false, false, true,
                                   true,  false, false, false, true,  true,  true,  true,
                                   true,  true,  true,  true,  false, true,  true};
    const auto lines = outcome.lines();
    ASSERT_EQ(lines.size(), passes.size() + 2);
    for (std::size_t i = 0; i < passes.size(); ++i) {
        EXPECT_EQ(lines[i].substr(0, 6), passes[i] ? "PASS  " : "FAIL  ") << lines[i];
    }
    EXPECT_EQ(lines.front(), "FAIL  catalog has >= 50 apps (0)");
    EXPECT_EQ(lines.back(), "selftest: 11 FAILURE(S)");
    EXPECT_EQ(outcome.status, 1);
}

TEST(SelfTest, AVersionedIdentifierListedItselfPassesThePrefixCheck) {
    auto apps = passing();
    apps[4].bundleIds = {"com.adobe.PremierePro.24"};
    EXPECT_EQ(selfTest(catalogOf(apps)).status, 0);
}

/// Each way to spoil a catalog fails the checks that look there, and no other.
TEST(SelfTest, EachCheckOfTheCatalogCanFail) {
    struct Case {
        std::string label;
        std::function<void(std::vector<CatalogApp>&)> spoil;
    };
    const std::vector<Case> cases{
        {"exact: com.figma.Desktop -> figma", [](auto& apps) { apps[0].bundleIds.clear(); }},
        {"exact: notion.id -> notion", [](auto& apps) { apps[3].id = "notes"; }},
        {"prefix: com.adobe.PremierePro.24 -> premiere",
         [](auto& apps) { apps[4].bundleIds = {"com.adobe.PremiereRush"}; }},
        {"prefix: com.jetbrains.intellij -> jetbrains",
         [](auto& apps) { apps[5].bundleIds.clear(); }},
        {"unknown bundle -> nil", [](auto& apps) { apps[9].bundleIds = {"com.example"}; }},
        {"short junk -> nil", [](auto& apps) { apps[9].bundleIds = {"com"}; }},
        {"url figma.com/board -> figjam", [](auto& apps) { apps[1].webHosts.clear(); }},
        {"url docs.google.com/document -> google_docs",
         [](auto& apps) { apps[6].webHosts = {"docs.google.com/documents"}; }},
        {"url docs.google.com/spreadsheets -> google_sheets",
         [](auto& apps) { apps[9].webHosts = {"docs.google.com/spreadsheets/d"}; }},
        {"all primary_modalities valid", [](auto& apps) { apps[9].primaryModality = "smell"; }},
        {"workflow node from current app", [](auto& apps) { apps[2].workflowNodes = {"rest"}; }},
    };
    for (const auto& [label, spoil] : cases) {
        auto apps = passing();
        spoil(apps);
        const auto outcome = selfTest(catalogOf(apps));
        EXPECT_TRUE(outcome.says("FAIL  " + label)) << outcome.report;
        EXPECT_EQ(outcome.lines().back(), "selftest: 1 FAILURE(S)") << label;
        EXPECT_EQ(outcome.status, 1);
    }
}

DetectedAgent& agent(SelfTest::Observed& observed, const std::string& id) {
    return *std::ranges::find(observed.agents, id, &DetectedAgent::id);
}

void forget(SelfTest::Observed& observed, const std::string& id) {
    std::erase_if(observed.agents, [&](const DetectedAgent& each) { return each.id == id; });
}

/// Each way in which the rules of agents and workflow could go wrong fails the checks of it, and no
/// other.
TEST(SelfTest, EachCheckOfTheRulesCanFail) {
    using Observed = SelfTest::Observed;
    struct Case {
        std::vector<std::string> labels;
        std::function<void(Observed&)> spoil;
    };
    const std::string codexRuns = "codex detected running";
    const std::string codexWired = "codex wired==true";
    const std::string claudeRuns = "claude_code running via proc";
    const std::string claudeNotWired = "claude_code wired==false (not in wired set)";
    const std::string ollama = "ollama running, wired==nil (not a harness)";
    const std::string cursor = "cursor not present";
    const std::string duplicate = "dup app collapses (3 steps)";
    const std::string pipeline = "pipeline preserves order";
    const std::vector<Case> cases{
        {{codexRuns}, [](Observed& o) { agent(o, "codex").running = false; }},
        {{codexWired}, [](Observed& o) { agent(o, "codex").wired = false; }},
        {{codexWired}, [](Observed& o) { agent(o, "codex").wired.reset(); }},
        {{codexRuns, codexWired}, [](Observed& o) { forget(o, "codex"); }},
        {{claudeRuns}, [](Observed& o) { agent(o, "claude_code").running = false; }},
        {{claudeNotWired}, [](Observed& o) { agent(o, "claude_code").wired = true; }},
        {{claudeNotWired}, [](Observed& o) { agent(o, "claude_code").wired.reset(); }},
        {{claudeRuns, claudeNotWired}, [](Observed& o) { forget(o, "claude_code"); }},
        {{ollama}, [](Observed& o) { agent(o, "ollama").running = false; }},
        {{ollama}, [](Observed& o) { agent(o, "ollama").wired = false; }},
        {{ollama}, [](Observed& o) { agent(o, "ollama").wired = true; }},
        {{ollama}, [](Observed& o) { forget(o, "ollama"); }},
        {{cursor}, [](Observed& o) { agent(o, "cursor").present = true; }},
        {{cursor}, [](Observed& o) { forget(o, "cursor"); }},
        {{duplicate}, [](Observed& o) { o.history.pop_back(); }},
        {{duplicate}, [](Observed& o) { o.history.push_back(o.history.front()); }},
        {{"workflow node from current app"}, [](Observed& o) { o.workflow.node = "rest"; }},
        {{pipeline}, [](Observed& o) { std::ranges::reverse(o.workflow.pipeline); }},
        {{pipeline}, [](Observed& o) { o.workflow.pipeline.pop_back(); }},
        {{pipeline},
         [](Observed& o) { o.workflow.pipeline.push_back(o.workflow.pipeline.front()); }},
        {{pipeline}, [](Observed& o) { o.workflow.pipeline[1].name = "figma"; }},
        {{"multi-modal detected"}, [](Observed& o) { o.workflow.multiModal = false; }},
    };
    const AppCatalog catalog = catalogOf(passing());
    for (const auto& [labels, spoil] : cases) {
        auto observed = SelfTest::observe(catalog);
        spoil(observed);
        std::ostringstream report;
        Outcome outcome;
        outcome.status = SelfTest::report(catalog, observed, report);
        outcome.report = report.str();
        for (const auto& label : labels) {
            EXPECT_TRUE(outcome.says("FAIL  " + label)) << outcome.report;
        }
        EXPECT_EQ(outcome.lines().back(),
                  "selftest: " + std::to_string(labels.size()) + " FAILURE(S)")
            << outcome.report;
        EXPECT_EQ(outcome.lines().size(), kLabels.size() + 2);
        EXPECT_EQ(outcome.status, 1);
    }
}

TEST(SelfTest, ObservesTheFixedInputsWhateverRuns) {
    const auto observed = SelfTest::observe(catalogOf(passing()));
    std::vector<std::string> running;
    for (const DetectedAgent& each : observed.agents) {
        if (each.running) running.push_back(each.id);
    }
    std::ranges::sort(running);
    EXPECT_EQ(running, (std::vector<std::string>{"claude_code", "codex", "ollama"}));
    EXPECT_EQ(observed.history,
              (std::vector<WorkflowEvent>{{"obsidian", "Obsidian", "docs", "text"},
                                          {"figma", "Figma", "design", "ui_ux"},
                                          {"vscode", "VS Code", "engineering", "code"}}));
    EXPECT_EQ(SelfTest::observe(AppCatalog()).workflow.node, WorkflowState().node);
}

TEST(SelfTest, ACatalogWithoutModalitiesFailsBothChecksOfThem) {
    const auto outcome = selfTest(catalogOf(passing(), {}));
    EXPECT_TRUE(outcome.says("FAIL  catalog declares modalities"));
    EXPECT_TRUE(outcome.says("FAIL  all primary_modalities valid"));
    EXPECT_EQ(outcome.lines().back(), "selftest: 2 FAILURE(S)");
}

TEST(SelfTest, TheShippedCatalogPasses) {
    std::ifstream file(inSourceTree("resources/app-catalog.json"), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto catalog = AppCatalog::load(bytes);
    const auto outcome = selfTest(catalog);
    EXPECT_EQ(outcome.status, 0) << outcome.report;
    EXPECT_EQ(outcome.lines().back(),
              "selftest: ALL PASS (" + std::to_string(catalog.apps().size()) + " apps)");
}

} // namespace
} // namespace kelvane
