#include "app/companion_view.h"

#include "text/shown_text.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace kelvane {

namespace {

using text::shownLine;
using text::shownParagraph;
using text::shownWithin;

// A panel is for a glance: the rest is in the report, and is counted.
constexpr std::size_t kFlawsShown = 3;
// Two names of tools fit side by side at the panel's width.
constexpr std::size_t kAgentsPerRow = 2;
constexpr const char* kPipelineArrow = "  →  ";

constexpr std::array<std::pair<std::string_view, std::string_view>, 11> kModalityLabels{{
    {"ui_ux", "design"},
    {"video_transcript", "transcript"},
    {"outcome_metric", "metrics"},
    {"deck", "a deck"},
    {"code", "code"},
    {"image", "an image"},
    {"video", "video"},
    {"audio", "audio"},
    {"spreadsheet", "a sheet"},
    {"document", "a doc"},
    {"text", "text"},
}};

StatusDot statusDot(bool hasKey) {
    if (hasKey) return {.tint = Tint::green, .toolTip = "Ready to grade"};
    return {.tint = Tint::orange, .toolTip = "Get a free key to start grading"};
}

NowSection nowSection(const DetectedApp& detected, const AppCatalog& catalog) {
    NowSection now;
    now.caption = "NOW";
    if (const auto& app = detected.app) {
        now.recognised = true;
        now.bundleId = detected.rawBundleId;
        now.headline = "You're in " + shownWithin(app->name);
        now.detail = shownWithin(catalog.category(app->category)) + " · grades as " +
                     shownWithin(modalityLabel(app->primaryModality));
        return now;
    }
    now.symbol = Symbol::magnifyingGlass;
    now.headline = "Bring a supported app to the front";
    now.detail = detected.rawName.empty()
                     ? "Kelvane works across 90+ apps"
                     : shownWithin(detected.rawName) + " isn't in the catalog yet";
    return now;
}

VerdictSection::Graded graded(const Verdict& verdict) {
    VerdictSection::Graded section;
    section.pill = bandPill(verdict.band);
    if (verdict.score) {
        if (const auto number = scoreText(*verdict.score)) section.score = "Trevix " + *number;
    }
    if (verdict.runId) section.report = {.label = "Full report", .runId = *verdict.runId};
    if (verdict.error) section.error = shownParagraph(*verdict.error);
    const std::size_t shown = std::min(verdict.flaws.size(), kFlawsShown);
    for (std::size_t i = 0; i < shown; ++i) section.flaws.push_back(flawRow(verdict.flaws[i]));
    if (verdict.flaws.size() > shown) {
        section.more = "+" + std::to_string(verdict.flaws.size() - shown) + " more";
    }
    if (verdict.flaws.empty()) {
        section.summary = clears(verdict.band) ? "Clears your bar — ready to ship."
                                               : "Held below your bar. No itemised flaws returned.";
    }
    return section;
}

VerdictSection verdictSection(const CompanionModel& model) {
    VerdictSection section;
    if (*model.grading) {
        section.progress = "Grading… the critic may be warming up";
    } else if (const auto& verdict = *model.verdict) {
        section.graded = graded(*verdict);
    } else if (const auto& note = *model.note) {
        section.note = shownParagraph(*note);
    }
    return section;
}

ActionRow actionRow(const CompanionModel& model) {
    const auto& verdict = *model.verdict;
    return {.grade = {.label = "Grade this",
                      .symbol = Symbol::seal,
                      .visible = true,
                      .enabled = model.detected->supported() && !*model.grading && *model.hasKey},
            .iterate = {.label = "Iterate",
                        .symbol = Symbol::iterateArrows,
                        .visible = verdict && verdict->runId,
                        .enabled = !*model.grading},
            .getKey = {.label = "Get a free key to start grading →",
                       .symbol = std::nullopt,
                       .visible = !*model.hasKey,
                       .enabled = true}};
}

AgentsSection agentsSection(const std::vector<DetectedAgent>& agents) {
    AgentsSection section;
    section.caption = "AGENTS";
    if (agents.empty()) section.empty = "No coding agents detected yet";
    for (std::size_t i = 0; i < agents.size(); ++i) {
        if (i % kAgentsPerRow == 0) section.rows.emplace_back();
        section.rows.back().push_back(agentChip(agents[i]));
    }
    return section;
}

WorkflowSection workflowSection(const WorkflowState& workflow) {
    WorkflowSection section;
    section.caption = "WORKFLOW";
    if (workflow.multiModal) section.tag = "multi-modal";
    for (const auto& step : workflow.pipeline) {
        if (!section.pipeline.empty()) section.pipeline += kPipelineArrow;
        section.pipeline += shownWithin(step.name);
    }
    return section;
}

FooterRow footerRow() {
    return {.wire = {.label = "Wire my tools",
                     .symbol = std::nullopt,
                     .visible = true,
                     .enabled = true},
            .menuTitle = "Settings",
            .menu = {{.action = MenuAction::getKey, .title = "Get a free key…"},
                     {.action = MenuAction::uninstall, .title = "Uninstall Kelvane…"},
                     {.action = MenuAction::divider, .title = ""},
                     {.action = MenuAction::quit, .title = "Quit"}}};
}

} // namespace

std::string_view name(Symbol symbol) {
    switch (symbol) {
    case Symbol::magnifyingGlass:
        return "sparkle.magnifyingglass";
    case Symbol::seal:
        return "checkmark.seal";
    case Symbol::iterateArrows:
        return "arrow.triangle.2.circlepath";
    case Symbol::shield:
        break;
    }
    return "checkmark.shield.fill";
}

std::string_view name(MenuAction action) {
    switch (action) {
    case MenuAction::getKey:
        return "getKey";
    case MenuAction::uninstall:
        return "uninstall";
    case MenuAction::quit:
        return "quit";
    case MenuAction::divider:
        break;
    }
    return "divider";
}

std::string_view modalityLabel(std::string_view modality) {
    for (const auto& [id, label] : kModalityLabels) {
        if (id == modality) return label;
    }
    return modality;
}

std::optional<std::string> scoreText(double score) {
    if (std::isnan(score)) return std::nullopt;
    // Two to the power of 63: the first double that is no 64-bit number any more.
    constexpr double kBeyond = 9223372036854775808.0;
    const double rounded = std::round(score * 100.0);
    std::int64_t whole = 0;
    if (rounded >= kBeyond) {
        whole = std::numeric_limits<std::int64_t>::max();
    } else if (rounded < -kBeyond) {
        whole = std::numeric_limits<std::int64_t>::min();
    } else {
        whole = static_cast<std::int64_t>(rounded);
    }
    return std::to_string(whole);
}

BandPillView bandPill(Band band) {
    switch (band) {
    case Band::ship:
        return {.label = "SHIP", .tint = Tint::green, .labelTint = Tint::white};
    case Band::route_to_fix:
        return {.label = "ROUTE TO FIX", .tint = Tint::yellow, .labelTint = Tint::black};
    case Band::quarantine:
        return {.label = "QUARANTINE", .tint = Tint::orange, .labelTint = Tint::white};
    case Band::block:
        return {.label = "BLOCK", .tint = Tint::red, .labelTint = Tint::white};
    case Band::unknown:
        break;
    }
    return {.label = "—", .tint = Tint::gray, .labelTint = Tint::white};
}

FlawRow flawRow(const Flaw& flaw) {
    FlawRow row;
    row.severity = flaw.severity.empty() ? "•" : shownLine(flaw.severity);
    const auto severity = text::lowercased(row.severity);
    if (severity == "high" || severity == "critical") {
        row.severityTint = Tint::red;
    } else if (severity == "medium") {
        row.severityTint = Tint::orange;
    }
    if (!flaw.criterion.empty()) row.text = shownWithin(flaw.criterion) + ": ";
    row.text += shownParagraph(flaw.detail);
    return row;
}

AgentChipView agentChip(const DetectedAgent& agent) {
    AgentChipView chip;
    chip.name = shownLine(agent.name);
    if (agent.running) {
        chip.dot = Tint::green;
    } else if (agent.present) {
        chip.dot = Tint::secondary;
    }
    chip.toolTip = agent.running ? "running" : "installed";
    if (agent.wired) chip.toolTip += *agent.wired ? " · validation wired" : " · not wired";
    if (agent.wired.value_or(false)) chip.badge = Symbol::shield;
    return chip;
}

CompanionViewRecord companionView(const CompanionModel& model) {
    return {.product = "Kelvane",
            .markLetter = "K",
            .tag = "Companion",
            .status = statusDot(*model.hasKey),
            .now = nowSection(*model.detected, model.catalog),
            .verdict = verdictSection(model),
            .actions = actionRow(model),
            .agents = agentsSection(*model.agents),
            .workflow = workflowSection(*model.workflow),
            .footer = footerRow()};
}

} // namespace kelvane
