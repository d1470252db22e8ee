#include "app/companion_view.h"

#include "app/known_sentences.h"
#include "text/shown_text.h"
#include "text/translation.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace kelvane {

namespace {

using text::filled;
using text::shownLine;
using text::shownParagraph;
using text::shownWithin;
using text::translated;

// A panel is for a glance: the rest is in the report, and is counted.
constexpr std::size_t kFlawsShown = 3;
// A tool tip that is read while the pointer rests. At the panel's width a line of so many
// characters takes two rows, so that the whole stays lower than the lowest panel with a verdict.
constexpr std::size_t kCoverageLines = 8;
constexpr std::size_t kCoverageLineLength = 80;
// Two names of tools fit side by side at the panel's width.
constexpr std::size_t kAgentsPerRow = 2;
constexpr const char* kPipelineArrow = "  →  ";

constexpr std::array<std::pair<std::string_view, const char*>, 11> kModalityLabels{{
    {"ui_ux", KELVANE_TRANSLATE_LATER("Modality", "design")},
    {"video_transcript", KELVANE_TRANSLATE_LATER("Modality", "transcript")},
    {"outcome_metric", KELVANE_TRANSLATE_LATER("Modality", "metrics")},
    {"deck", KELVANE_TRANSLATE_LATER("Modality", "a deck")},
    {"code", KELVANE_TRANSLATE_LATER("Modality", "code")},
    {"image", KELVANE_TRANSLATE_LATER("Modality", "an image")},
    {"video", KELVANE_TRANSLATE_LATER("Modality", "video")},
    {"audio", KELVANE_TRANSLATE_LATER("Modality", "audio")},
    {"spreadsheet", KELVANE_TRANSLATE_LATER("Modality", "a sheet")},
    {"document", KELVANE_TRANSLATE_LATER("Modality", "a doc")},
    {"text", KELVANE_TRANSLATE_LATER("Modality", "text")},
}};

StatusDot statusDot(bool hasKey, bool keyIsExposed) {
    if (hasKey && keyIsExposed) {
        return {.tint = Tint::green,
                .toolTip = translated("Panel", "Ready to grade") + "\n" +
                           translated("Panel", "Others may read your key: chmod 600 ~/.brask/key")};
    }
    if (hasKey) return {.tint = Tint::green, .toolTip = translated("Panel", "Ready to grade")};
    return {.tint = Tint::orange,
            .toolTip = translated("Panel", "Get a free key to start grading")};
}

NowSection nowSection(const DetectedApp& detected, const AppCatalog& catalog,
                      const DesktopLimit& limit) {
    NowSection now;
    now.caption = translated("Panel", "NOW");
    now.hint = shownParagraph(translatedSentence(limit.line));
    if (const auto& app = detected.app) {
        now.recognised = true;
        now.bundleId = detected.rawBundleId;
        now.headline = filled(translated("Panel", "You're in %1"), {shownWithin(app->name)});
        now.detail = filled(translated("Panel", "%1 · grades as %2"),
                            {shownWithin(catalog.category(app->category)),
                             shownWithin(modalityLabel(app->primaryModality))});
        return now;
    }
    now.symbol = Symbol::magnifyingGlass;
    now.headline = translated("Panel", "Bring a supported app to the front");
    now.detail = detected.rawName.empty()
                     ? translated("Panel", "Kelvane works across 90+ apps")
                     : filled(translated("Panel", "%1 isn't in the catalog yet"),
                              {shownWithin(detected.rawName)});
    return now;
}

// One line: words of ours and in them what comes from outside, cut to fit.
std::string coverageLine(const std::string& pattern, const std::string& said) {
    // More than one character is left: the patterns are short.
    const std::size_t room = kCoverageLineLength + 2 - text::characterCount(pattern);
    const std::string_view fits = text::firstCharacters(said, room);
    if (fits.size() == said.size()) return filled(pattern, {shownWithin(said)});
    const std::string cut(text::firstCharacters(said, room - 1));
    return filled(pattern, {shownWithin(cut + "…")});
}

std::string coverageLine(const CheckedBy& by) {
    std::string said = by.engine;
    if (!by.version.empty()) said += " " + by.version;
    if (!by.knows.empty()) said += ": " + by.knows;
    return coverageLine(translated("Panel", "Judged by %1"), said);
}

std::string coverageLine(const NotChecked& gap) {
    std::string why = gap.why;
    if (!why.empty() && !gap.remedy.empty()) why += "; ";
    why += gap.remedy;
    return coverageLine(translated("Panel", "Not checked: %1"),
                        why.empty() ? gap.what : gap.what + " (" + why + ")");
}

// Whether somebody answered, and nobody there knows this kind of work.
bool isBeyondTheService(const Verdict& verdict) {
    return verdict.band == Band::unknown && !verdict.error && !verdict.notChecked.empty();
}

// One line, in front of who judged it.
std::string verdictTip(const Verdict& verdict, const std::optional<GradedWork>& about) {
    std::string coverage = coverageTip(verdict);
    if (!about) return coverage;
    std::string line =
        coverageLine(about->isPicture ? translated("Panel", "A picture of a window of %1")
                                      : translated("Panel", "What was selected in %1"),
                     about->app);
    return coverage.empty() ? line : line + "\n" + coverage;
}

VerdictSection::Graded graded(const Verdict& verdict, const std::optional<GradedWork>& about) {
    VerdictSection::Graded section;
    // In the order in which they are read: the band, the score, the way to the report, what went
    // wrong, the flaws.
    section.pill = bandPill(verdict.band);
    section.pill.toolTip = verdictTip(verdict, about);
    if (verdict.score) {
        if (const auto number = scoreText(*verdict.score)) section.score = "Trevix " + *number;
    }
    if (verdict.runId)
        section.report = {.label = translated("Panel", "Full report"), .runId = *verdict.runId};
    if (verdict.error) {
        const std::string error = translatedSentence(*verdict.error);
        section.error =
            shownParagraph(verdict.hint ? error + ". " + translatedSentence(*verdict.hint) : error);
    }
    const std::size_t shown = std::min(verdict.flaws.size(), kFlawsShown);
    for (std::size_t i = 0; i < shown; ++i) section.flaws.push_back(flawRow(verdict.flaws[i]));
    if (verdict.flaws.size() > shown) {
        section.more =
            filled(translated("Panel", "+%1 more"), {std::to_string(verdict.flaws.size() - shown)});
    }
    if (verdict.flaws.empty() && isBeyondTheService(verdict)) {
        section.summary = translated("Panel", "Nobody here can judge this kind of work.");
    } else if (verdict.flaws.empty()) {
        // The band may hold work back without saying why, if the service keeps its flaws to itself.
        section.summary =
            clears(verdict.band)
                ? translated("Panel", "Clears your bar — ready to ship.")
                : translated("Panel", "Held below your bar. No itemised flaws returned.");
    }
    return section;
}

// The verdict as one sentence or three, for who hears it and does not see it.
std::string spokenVerdict(const Verdict& verdict, const VerdictSection::Graded& shown) {
    const bool banded = verdict.band != Band::unknown;
    // "Unknown" as a verdict would sound like one.
    std::string said = banded ? filled(translated("Panel", "Verdict: %1."), {shown.pill.label})
                              : translated("Panel", "No verdict.");
    if (shown.score) said += " " + *shown.score + ".";
    if (shown.error) said += " " + *shown.error;
    const std::size_t flaws = verdict.flaws.size();
    if (flaws > 0) said += " " + translated("Panel", "%n flaw.", "%n flaws.", flaws);
    if (shown.summary) said += " " + *shown.summary;
    return said;
}

VerdictSection verdictSection(const CompanionModel& model) {
    VerdictSection section;
    // One of the three at a time, the latest first.
    if (*model.grading) {
        section.progress = translated("Panel", "Grading… the critic may be warming up");
    } else if (const auto& verdict = *model.verdict) {
        section.graded = graded(*verdict, model.gradedWork);
        section.spoken = spokenVerdict(*verdict, *section.graded);
    } else if (const auto& note = *model.note) {
        section.note = shownParagraph(translatedSentence(*note));
        section.spoken = *section.note;
        if (const auto& hint = *model.noteHint) {
            section.hint = shownParagraph(translatedSentence(*hint));
            section.spoken += " " + section.hint;
        }
    }
    return section;
}

/// Why nothing can be graded: as the person set it, or the desktop does not say who is in front.
std::string whyNoGrade(const CompanionModel& model) {
    if (const auto& refusal = *model.refusal) return shownParagraph(*refusal);
    const bool nobody = model.detected->rawBundleId.empty() && !model.detected->supported();
    if (!nobody || model.limit->line.empty()) return {};
    return shownParagraph(translated("Panel", "Nobody says which window is in front.") + " " +
                          translatedSentence(model.limit->line));
}

ActionRow actionRow(const CompanionModel& model) {
    const auto& verdict = *model.verdict;
    return {.grade = {.label = translated("Panel", "Grade this"),
                      .symbol = Symbol::seal,
                      .visible = true,
                      .enabled = model.detected->supported() && !*model.grading && *model.hasKey &&
                                 !*model.refusal,
                      .toolTip = whyNoGrade(model)},
            .iterate = {.label = translated("Panel", "Iterate"),
                        .symbol = Symbol::iterateArrows,
                        .visible = verdict && verdict->runId,
                        .enabled = !*model.grading && !*model.refusal},
            .getKey = {.label = translated("Panel", "Get a free key to start grading →"),
                       .symbol = std::nullopt,
                       .visible = !*model.hasKey,
                       .enabled = true},
            .cancel = *model.grading ? std::optional(CancelLink{
                                           .label = translated("Panel", "Cancel"),
                                           .spokenName = translated("Panel", "Cancel the grade")})
                                     : std::nullopt};
}

AgentsSection agentsSection(const CompanionModel& model) {
    const auto& agents = *model.agents;
    AgentsSection section;
    section.caption = translated("Panel", "AGENTS");
    if (agents.empty()) section.empty = translated("Panel", "No coding agents detected yet");
    for (std::size_t i = 0; i < agents.size(); ++i) {
        if (i % kAgentsPerRow == 0) section.rows.emplace_back();
        const auto truth = model.wiringTruths->find(agents[i].id);
        section.rows.back().push_back(
            agentChip(agents[i], model.kitIsMissing,
                      truth == model.wiringTruths->end() ? nullptr : &truth->second));
    }
    return section;
}

WorkflowSection workflowSection(const WorkflowState& workflow) {
    WorkflowSection section;
    section.caption = translated("Panel", "WORKFLOW");
    if (workflow.multiModal) section.tag = translated("Panel", "multi-modal");
    for (const auto& step : workflow.pipeline) {
        if (!section.pipeline.empty()) section.pipeline += kPipelineArrow;
        section.pipeline += shownWithin(step.name);
    }
    return section;
}

std::string sizeOf(const GradePreview& shown) {
    return shown.picture ? filled(translated("Preview", "%1 kB"),
                                  {std::to_string((shown.amount + 1023) / 1024)})
                         : translated("Preview", "%n character", "%n characters", shown.amount);
}

/// What is left out and why, what the capture says of itself, and what is sent beside the work.
std::vector<std::string> previewRemarks(const GradePreview& shown) {
    std::vector<std::string> remarks;
    if (shown.isCut) {
        remarks.push_back(filled(
            translated("Preview", "What comes after the first %1 characters is left out: more "
                                  "is not judged at once."),
            {std::to_string(Capture::kMaxCharacters)}));
    }
    for (const auto& each : shown.notes) {
        remarks.push_back(shownParagraph(translatedSentence(each)));
    }
    remarks.push_back(
        shown.picture ? translated("Preview", "Nothing of other windows is in the picture.")
                      : translated("Preview", "Nothing of the document but this text is sent."));
    std::string names;
    for (const auto& name : shown.names) {
        names += (names.empty() ? "" : ", ") +
                 filled(translated("Preview", "“%1”"), {shownWithin(name)});
    }
    remarks.push_back(
        filled(translated("Preview", "Sent with it: the application's name, what kind of "
                                     "work it is (%1) and %2 as its name."),
               {shownWithin(shown.kind), names}));
    return remarks;
}

std::optional<PreviewPage> previewPage(const CompanionModel& model) {
    const auto& shown = *model.preview;
    if (!shown) return std::nullopt;
    const std::string app = shownWithin(shown->app);
    return PreviewPage{
        .caption = translated("Preview", "PREVIEW"),
        .headline = shown->leaves
                        ? filled(translated("Preview", "This goes to %1"), {shownWithin(shown->to)})
                        : translated("Preview", "This stays on this machine"),
        .detail = filled(shown->picture ? translated("Preview", "A picture of a window of %1, %2")
                                        : translated("Preview", "The text selected in %1, %2"),
                         {app, sizeOf(*shown)}),
        .lines = shown->lines,
        .picture = shown->picture,
        .contentName = shown->picture ? translated("Preview", "The picture that is sent")
                                      : translated("Preview", "The text that is sent"),
        .remarks = previewRemarks(*shown),
        .always = shown->appId.empty()
                      ? ""
                      : filled(translated("Preview", "Don't ask again for %1"), {app}),
        .send = translated("Preview", "Send"),
        .cancel = translated("Preview", "Cancel")};
}

FooterRow footerRow(const CompanionModel& model) {
    FooterRow row{
        .wire = {.label = translated("Panel", "Wire my tools"),
                 .symbol = std::nullopt,
                 .visible = true,
                 .enabled = true},
        .menuTitle = translated("Panel", "Settings"),
        .menu = {
            {.action = MenuAction::getKey, .title = translated("Menu", "Get a free key…")},
            {.action = MenuAction::uninstall, .title = translated("Menu", "Uninstall Kelvane…")},
            {.action = MenuAction::divider, .title = ""},
            {.action = MenuAction::quit, .title = translated("Menu", "Quit")}}};
    // Only where it changes something: nobody else has a use for the setting.
    if (model.limit->accessibilityHelps) {
        row.menu.insert(row.menu.begin() + 1,
                        {.action = MenuAction::accessibility,
                         .title = *model.accessibilityIsOurs
                                      ? translated("Menu", "Switch accessibility off again…")
                                      : translated("Menu", "Read text of more programs…")});
    }
    if (model.onSettings) {
        row.menu.insert(row.menu.begin(),
                        {.action = MenuAction::settings, .title = translated("Menu", "Settings…")});
    }
    return row;
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
    case MenuAction::accessibility:
        return "accessibility";
    case MenuAction::settings:
        return "settings";
    case MenuAction::divider:
        break;
    }
    return "divider";
}

std::string modalityLabel(std::string_view modality) {
    for (const auto& [id, label] : kModalityLabels) {
        if (id == modality) return translated("Modality", label);
    }
    return std::string(modality);
}

std::optional<std::string> scoreText(double score) {
    if (std::isnan(score)) return std::nullopt;
    // Two to the power of 63: the first double that is no 64-bit number any more. Rounded, then
    // bounded: converting a double that no 64-bit number can hold is undefined.
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
        return {.label = translated("Band", "SHIP"), .tint = Tint::green, .labelTint = Tint::white};
    case Band::route_to_fix:
        // White letters on yellow would be too pale to read.
        return {.label = translated("Band", "ROUTE TO FIX"),
                .tint = Tint::yellow,
                .labelTint = Tint::black};
    case Band::quarantine:
        return {.label = translated("Band", "QUARANTINE"),
                .tint = Tint::orange,
                .labelTint = Tint::white};
    case Band::block:
        return {.label = translated("Band", "BLOCK"), .tint = Tint::red, .labelTint = Tint::white};
    case Band::unknown:
        break;
    }
    return {.label = "—", .tint = Tint::gray, .labelTint = Tint::white};
}

std::string coverageTip(const Verdict& verdict) {
    // Half of the lines are for what was not checked, if there is so much; whatever one side leaves
    // the other takes.
    const std::size_t forGaps = std::min(verdict.notChecked.size(), kCoverageLines / 2);
    const std::size_t judges = std::min(verdict.checkedBy.size(), kCoverageLines - forGaps);
    const std::size_t gaps = std::min(verdict.notChecked.size(), kCoverageLines - judges);
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < judges; ++i) lines.push_back(coverageLine(verdict.checkedBy[i]));
    for (std::size_t i = 0; i < gaps; ++i) lines.push_back(coverageLine(verdict.notChecked[i]));
    const std::size_t left = verdict.checkedBy.size() + verdict.notChecked.size() - lines.size();
    if (left > 0)
        lines.push_back(filled(translated("Panel", "and %1 more"), {std::to_string(left)}));
    std::string tip;
    for (const std::string& line : lines) tip += (tip.empty() ? "" : "\n") + line;
    return tip;
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

namespace {

/// What else a wired agent's tool tip says, a line; empty where there is nothing to add.
std::string wiringRemark(WiringState state) {
    switch (state) {
    case WiringState::Wired:
    case WiringState::NotOurs:
        return "";
    case WiringState::Untrusted:
        return translated("Agent", "installed, not trusted yet: run /hooks in it");
    case WiringState::Repair:
        return translated("Agent", "needs repair: choose “Wire my tools”");
    case WiringState::Edited:
        return translated("Agent", "edited by you, and kept so");
    case WiringState::Unread:
        return translated("Agent", "its configuration cannot be read");
    }
    return "";
}

} // namespace

AgentChipView agentChip(const DetectedAgent& agent, bool kitIsMissing, const WiringTruth* truth) {
    AgentChipView chip;
    chip.name = shownLine(agent.name);
    if (agent.running) {
        chip.dot = Tint::green;
    } else if (agent.present) {
        chip.dot = Tint::secondary;
    }
    // Running tells more than being installed.
    chip.toolTip =
        agent.running ? translated("Agent", "running") : translated("Agent", "installed");
    // A marker in a remark, or in somebody else's entry, looks like a wiring and is none.
    const bool isWired =
        agent.wired.value_or(false) && (truth == nullptr || truth->state != WiringState::NotOurs);
    if (agent.wired) {
        chip.toolTip += " · " + (isWired ? translated("Agent", "validation wired")
                                         : translated("Agent", "not wired"));
    }
    if (isWired) {
        chip.badge = Symbol::shield;
        if (kitIsMissing) {
            chip.toolTip += "\n" + wiringRemark(WiringState::Repair);
        } else if (truth != nullptr) {
            const std::string remark = wiringRemark(truth->state);
            if (!remark.empty()) chip.toolTip += "\n" + remark;
            if (!truth->versionIsKnown) {
                chip.toolTip += "\n" + translated("Agent", "its version is unknown");
            }
        }
    }
    return chip;
}

CompanionViewRecord companionView(const CompanionModel& model) {
    return {.product = "Kelvane",
            .markLetter = "K",
            .tag = "Companion",
            .status = statusDot(*model.hasKey, model.keyIsExposed),
            .now = nowSection(*model.detected, model.catalog, *model.limit),
            .verdict = verdictSection(model),
            .actions = actionRow(model),
            .agents = agentsSection(model),
            .workflow = workflowSection(*model.workflow),
            .footer = footerRow(model),
            .preview = previewPage(model)};
}

} // namespace kelvane
