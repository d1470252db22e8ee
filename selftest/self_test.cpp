#include "selftest/self_test.h"

#include "catalog/app_catalog.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane::SelfTest {

namespace {

// The web hosts whose pages the catalog must tell apart.
constexpr std::string_view kDesignHost = "figma.com";
constexpr std::string_view kDocumentsHost = "docs.google.com";
// Apps. Fewer than the smallest catalog worth shipping: the wrong file, or half of one. The number
// stands in the report's first line.
constexpr std::size_t kLeastApps = 50;

class Report {
public:
    explicit Report(std::ostream& out) : m_out(out) {}

    void check(std::string_view label, bool passed) {
        m_out << (passed ? "PASS" : "FAIL") << "  " << label << '\n';
        m_failures += passed ? 0 : 1;
    }

    [[nodiscard]] int failures() const { return m_failures; }

private:
    std::ostream& m_out;
    int m_failures = 0;
};

bool is(const CatalogApp* app, std::string_view id) {
    return app != nullptr && app->id == id;
}

void checkCatalog(Report& report, const AppCatalog& catalog) {
    const std::size_t count = catalog.apps().size();
    report.check("catalog has >= 50 apps (" + std::to_string(count) + ")", count >= kLeastApps);
    report.check("catalog declares modalities", !catalog.modalities().empty());
}

void checkBundleIds(Report& report, const AppCatalog& catalog) {
    struct Expectation {
        std::string_view kind, bundleId, id;
    };
    constexpr Expectation expectations[] = {
        {"exact", "com.figma.Desktop", "figma"},
        {"exact", "com.microsoft.VSCode", "vscode"},
        {"exact", "notion.id", "notion"},
        {"prefix", "com.adobe.PremierePro.24", "premiere"},
        {"prefix", "com.jetbrains.intellij", "jetbrains"},
    };
    for (const auto& [kind, bundleId, id] : expectations) {
        std::string label(kind);
        label.append(": ").append(bundleId).append(" -> ").append(id);
        report.check(label, is(catalog.appForBundleId(bundleId), id));
    }
    report.check("unknown bundle -> nil", catalog.appForBundleId("com.example.nope") == nullptr);
    report.check("short junk -> nil", catalog.appForBundleId("com") == nullptr);
}

void checkAddresses(Report& report, const AppCatalog& catalog) {
    struct Expectation {
        std::string_view host, shownPath, path, id;
    };
    constexpr Expectation expectations[] = {
        {kDesignHost, "/board", "/board/x", "figjam"},
        {kDocumentsHost, "/document", "/document/d/1/edit", "google_docs"},
        {kDocumentsHost, "/spreadsheets", "/spreadsheets/d/1", "google_sheets"},
    };
    for (const auto& [host, shownPath, path, id] : expectations) {
        std::string label("url ");
        label.append(host).append(shownPath).append(" -> ").append(id);
        std::string url("https://");
        url.append(host).append(path);
        report.check(label, is(catalog.appForURL(url), id));
    }
}

void checkModalities(Report& report, const AppCatalog& catalog) {
    const auto& declared = catalog.modalities();
    report.check("all primary_modalities valid",
                 std::ranges::all_of(catalog.apps(), [&](const CatalogApp& app) {
                     return std::ranges::find(declared, app.primaryModality) != declared.end();
                 }));
}

void checkAgents(Report& report, const std::vector<DetectedAgent>& agents) {
    const auto holds = [&](std::string_view id, auto&& condition) {
        const auto agent = std::ranges::find(agents, id, &DetectedAgent::id);
        return agent != agents.end() && condition(*agent);
    };
    const auto running = [](const DetectedAgent& agent) { return agent.running; };

    report.check("codex detected running", holds("codex", running));
    report.check("codex wired==true",
                 holds("codex", [](const auto& agent) { return agent.wired == true; }));
    report.check("claude_code running via proc", holds("claude_code", running));
    report.check("claude_code wired==false (not in wired set)",
                 // Compared and not negated: unset would pass for "not wired".
                 holds("claude_code", [](const auto& agent) { return agent.wired == false; }));
    report.check("ollama running, wired==nil (not a harness)",
                 holds("ollama", [](const auto& agent) { return agent.running && !agent.wired; }));
    report.check("cursor not present",
                 holds("cursor", [](const auto& agent) { return !agent.present; }));
}

void checkWorkflow(Report& report, const std::vector<WorkflowEvent>& history,
                   const WorkflowState& workflow) {
    report.check("dup app collapses (3 steps)", history.size() == 3);
    report.check("workflow node from current app", workflow.node == "build");
    constexpr std::string_view names[] = {"Obsidian", "Figma", "VS Code"};
    report.check("pipeline preserves order",
                 std::ranges::equal(workflow.pipeline, names, {}, &WorkflowStep::name));
    report.check("multi-modal detected", workflow.multiModal);
}

} // namespace

Observed observe(const AppCatalog& catalog) {
    // What is detected is given here and not asked of the machine: the report has to be the same
    // everywhere.
    Observed observed;
    observed.agents = AgentScan::detect({"com.openai.codex", "com.electron.ollama"}, {"claude"},
                                        {"claude", "codex"}, {"codex"});
    // The same application twice, to see that it is one step.
    for (const WorkflowEvent& event : {
             WorkflowEvent{"obsidian", "Obsidian", "docs", "text"},
             WorkflowEvent{"obsidian", "Obsidian", "docs", "text"},
             WorkflowEvent{"figma", "Figma", "design", "ui_ux"},
             WorkflowEvent{"vscode", "VS Code", "engineering", "code"},
         }) {
        observed.history = WorkflowInfer::append(std::move(observed.history), event);
    }
    const CatalogApp* const found = catalog.appForBundleId("com.microsoft.VSCode");
    const auto current = found != nullptr ? std::optional(*found) : std::nullopt;
    observed.workflow = WorkflowInfer::infer(observed.history, current);
    return observed;
}

std::int32_t report(const AppCatalog& catalog, const Observed& observed, std::ostream& out) {
    Report report(out);
    checkCatalog(report, catalog);
    checkBundleIds(report, catalog);
    checkAddresses(report, catalog);
    checkModalities(report, catalog);
    checkAgents(report, observed.agents);
    checkWorkflow(report, observed.history, observed.workflow);
    if (report.failures() == 0) {
        out << "\nselftest: ALL PASS (" << catalog.apps().size() << " apps)\n";
        return 0;
    }
    out << "\nselftest: " << report.failures() << " FAILURE(S)\n";
    return 1;
}

std::int32_t run(const AppCatalog& catalog, std::ostream& out) {
    return report(catalog, observe(catalog), out);
}

} // namespace kelvane::SelfTest
