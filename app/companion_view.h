// The panel's content as a plain record, and the pure function from the model to it.
//
// Every text, colour, tool tip and flag that the panel has, in the order in which it draws them.
// The panel draws the record and decides nothing. Texts that come from outside (names, notes,
// flaws) are made harmless here, see text/shown_text.h: control characters and bidirectional
// overrides cannot leave their place. Identifiers are not shown and stay as they are. Only what can
// be seen is in the record: it costs the same for any number of flaws.

#pragma once

#include "app/companion_model.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// The colours that the panel speaks in; what they look like is the theme's business.
enum class Tint { green, yellow, orange, red, gray, blue, black, white, secondary, primary, clear };

/// A line-drawn symbol of the panel's own set.
enum class Symbol { magnifyingGlass, seal, iterateArrows, shield };

/// The symbol's name, e.g. "checkmark.seal".
[[nodiscard]] std::string_view name(Symbol symbol);

struct StatusDot {
    Tint tint = Tint::orange;
    std::string toolTip;

    bool operator==(const StatusDot&) const = default;
};

/// "NOW": the application in front, or that none can be graded.
struct NowSection {
    std::string caption;
    bool recognised = false;      ///< Whether the glyph is the application's icon.
    std::string bundleId;         ///< Whose icon; empty when not recognised.
    std::optional<Symbol> symbol; ///< Instead of the icon when not recognised.
    std::string headline;
    std::string detail;
    std::string hint = {}; ///< What this desktop does not allow, below the rest; may be empty.

    bool operator==(const NowSection&) const = default;
};

struct BandPillView {
    std::string label;
    Tint tint = Tint::gray;
    Tint labelTint = Tint::white;
    /// Lines: what was judged, who judged it and what nobody could. Empty: there is none.
    std::string toolTip = {};

    bool operator==(const BandPillView&) const = default;
};

struct FlawRow {
    std::string severity;
    Tint severityTint = Tint::secondary;
    std::string text; ///< The criterion, if any, and the detail.

    bool operator==(const FlawRow&) const = default;
};

/// "Full report".
struct ReportLink {
    std::string label;
    std::string runId; ///< Whose report.

    bool operator==(const ReportLink&) const = default;
};

/// At most one of its three faces shows: progress, a verdict, or a note.
struct VerdictSection {
    struct Graded {
        BandPillView pill;
        std::optional<std::string> score;
        std::optional<ReportLink> report; ///< Absent for a verdict without a run.
        std::optional<std::string> error;
        std::vector<FlawRow> flaws;         ///< At most three.
        std::optional<std::string> more;    ///< How many flaws are not shown.
        std::optional<std::string> summary; ///< Instead of flaws when there are none.

        bool operator==(const Graded&) const = default;
    };

    std::optional<std::string> progress; ///< Beside a moving indicator.
    std::optional<Graded> graded;
    std::optional<std::string> note;
    std::string hint = {};   ///< Beside the note, what helps on this system; may be empty.
    std::string spoken = {}; ///< What is read out when this comes up; empty: nothing.

    bool operator==(const VerdictSection&) const = default;
};

struct ButtonView {
    std::string label;
    std::optional<Symbol> symbol;
    bool visible = true;
    bool enabled = true;
    std::string toolTip = {}; ///< Why it is not enabled, where there is more to say; may be empty.

    bool operator==(const ButtonView&) const = default;
};

/// "Cancel", beside the progress of a grade.
struct CancelLink {
    std::string label;
    std::string spokenName; ///< What assistive technology calls it.

    bool operator==(const CancelLink&) const = default;
};

struct ActionRow {
    ButtonView grade;
    ButtonView iterate;
    ButtonView getKey;
    std::optional<CancelLink> cancel = {}; ///< Present while a grade runs.

    bool operator==(const ActionRow&) const = default;
};

struct AgentChipView {
    std::string name;
    Tint dot = Tint::clear;
    std::optional<Symbol> badge; ///< Present when wired.
    std::string toolTip;

    bool operator==(const AgentChipView&) const = default;
};

struct AgentsSection {
    std::string caption;
    std::optional<std::string> empty;             ///< Instead of rows when there are no agents.
    std::vector<std::vector<AgentChipView>> rows; ///< Two to a row, in the order of the scan.

    bool operator==(const AgentsSection&) const = default;
};

struct WorkflowSection {
    std::string caption;
    std::optional<std::string> tag;
    std::string pipeline; ///< One line; empty when nothing was seen yet.

    bool operator==(const WorkflowSection&) const = default;
};

/// What is going to be sent, and the question whether it may. Takes the place of the panel's
/// middle.
struct PreviewPage {
    std::string caption;
    std::string headline;
    std::string detail;
    std::shared_ptr<const std::vector<std::string>> lines; ///< Null for a picture.
    std::shared_ptr<const std::string> picture;            ///< Null for a text.
    std::string contentName;          ///< What assistive technology calls the two.
    std::vector<std::string> remarks; ///< What was left out and why, what else is sent.
    std::string always;               ///< A box to tick; empty: there is none.
    std::string send;
    std::string cancel;

    bool operator==(const PreviewPage&) const = default;
};

/// What a menu item asks of the model; a divider asks for nothing.
enum class MenuAction { getKey, uninstall, quit, divider, accessibility, settings };

/// The action's name, e.g. "getKey".
[[nodiscard]] std::string_view name(MenuAction action);

struct MenuItem {
    MenuAction action = MenuAction::divider;
    std::string title; ///< Empty for a divider.

    bool operator==(const MenuItem&) const = default;
};

struct FooterRow {
    ButtonView wire;
    std::string menuTitle;
    std::vector<MenuItem> menu;

    bool operator==(const FooterRow&) const = default;
};

struct CompanionViewRecord {
    std::string product;
    std::string markLetter; ///< Stands for the product's mark where its picture is missing.
    std::string tag;
    StatusDot status;
    NowSection now;
    VerdictSection verdict;
    ActionRow actions;
    AgentsSection agents;
    WorkflowSection workflow;
    FooterRow footer;
    std::optional<PreviewPage> preview = {};

    bool operator==(const CompanionViewRecord&) const = default;
};

/// What the panel says of a modality: "a deck" for "deck"; the id itself when there is no word.
[[nodiscard]] std::string modalityLabel(std::string_view modality);

/// A score as the panel writes it: times 100, rounded half away from zero. Absent for one that is
/// no number. Scores past what 64 bits hold are cut to the nearest number that they do.
[[nodiscard]] std::optional<std::string> scoreText(double score);

[[nodiscard]] BandPillView bandPill(Band band);

/// Who judged and what was not checked, one thing a line: at most eight lines of 80 characters, and
/// a ninth that counts the rest. Half of the lines are kept for what was not checked, as far as
/// there is so much of it. Empty when the service told neither.
[[nodiscard]] std::string coverageTip(const Verdict& verdict);

[[nodiscard]] FlawRow flawRow(const Flaw& flaw);
/// `kitIsMissing`: what a wired tool would call is not there. `truth`: what the installer tells of
/// the agent's wiring; null when it has told nothing.
[[nodiscard]] AgentChipView agentChip(const DetectedAgent& agent, bool kitIsMissing = false,
                                      const WiringTruth* truth = nullptr);

/// Main thread, like the model that it reads.
[[nodiscard]] CompanionViewRecord companionView(const CompanionModel& model);

} // namespace kelvane
