#include "app/companion_view.h"

#include "platform/fake/fakes.h"
#include "text/unicode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {
namespace {

constexpr const char* kKeyLink = "Get a free key to start grading →";
constexpr const char* kHeld = "Held below your bar. No itemised flaws returned.";

CatalogApp figma() {
    CatalogApp app;
    app.id = "figma";
    app.name = "Figma";
    app.category = "design";
    app.bundleIds = {"com.figma.Desktop"};
    app.primaryModality = "ui_ux";
    return app;
}

AgentChipView chipOf(bool running, bool present, std::optional<bool> wired) {
    return agentChip({.id = "a",
                      .name = "Agent",
                      .kind = AgentKind::codingHarness,
                      .running = running,
                      .present = present,
                      .wired = wired});
}

class CompanionViewTest : public testing::Test {
protected:
    static CompanionModel::Ports ports(FakePlatform& fake) {
        return {.workspace = fake.workspace,
                .processes = fake.processes,
                .files = fake.files,
                .environment = fake.environment,
                .http = fake.http,
                .clock = fake.clock,
                .dispatcher = fake.dispatcher,
                .capture = [](const DetectedApp&) { return CaptureResult{}; }};
    }

    void inFront(const CatalogApp& app) {
        model.detected =
            DetectedApp{.rawBundleId = app.bundleIds.front(), .rawName = "raw", .app = app};
    }
    void inFront(const std::string& name) {
        model.detected = DetectedApp{.rawBundleId = "org.other", .rawName = name, .app = {}};
    }
    void gradedWith(Band band, std::vector<Flaw> flaws = {}) {
        model.verdict = Verdict{.band = band,
                                .score = 0.62,
                                .flaws = std::move(flaws),
                                .runId = "run-1",
                                .warming = false,
                                .error = std::nullopt};
    }
    CompanionViewRecord view() { return companionView(model); }
    VerdictSection::Graded graded() { return view().verdict.graded.value(); }

    FakePlatform fake;
    CompanionModel model{
        ports(fake), AppCatalog({figma()}, "1", {"ui_ux"}, {{"design", "Design & UI"}}), "/home/u"};
};

TEST_F(CompanionViewTest, HeaderNamesTheProduct) {
    EXPECT_EQ(view().product, "Kelvane");
    EXPECT_EQ(view().tag, "Companion");
}

TEST_F(CompanionViewTest, StatusDotTellsWhetherThereIsAKey) {
    EXPECT_EQ(view().status,
              (StatusDot{.tint = Tint::orange, .toolTip = "Get a free key to start grading"}));
    model.hasKey = true;
    EXPECT_EQ(view().status, (StatusDot{.tint = Tint::green, .toolTip = "Ready to grade"}));
    model.keyIsExposed = true;
    EXPECT_EQ(view().status,
              (StatusDot{.tint = Tint::green,
                         .toolTip = "Ready to grade\nOthers may read your key: chmod 600 "
                                    "~/.brask/key"}));
}

TEST_F(CompanionViewTest, NowShowsTheCatalogAppInFront) {
    inFront(figma());
    EXPECT_EQ(view().now, (NowSection{.caption = "NOW",
                                      .recognised = true,
                                      .bundleId = "com.figma.Desktop",
                                      .symbol = std::nullopt,
                                      .headline = "You're in Figma",
                                      .detail = "Design & UI · grades as design"}));
}

TEST_F(CompanionViewTest, TheIconIsAskedForByTheDetectedIdentifier) {
    inFront(figma());
    model.detected =
        DetectedApp{.rawBundleId = "com.figma.Desktop.beta", .rawName = "", .app = figma()};
    EXPECT_EQ(view().now.bundleId, "com.figma.Desktop.beta");
}

TEST_F(CompanionViewTest, ACategoryWithoutALabelShowsItsId) {
    auto app = figma();
    app.category = "alchemy";
    inFront(app);
    EXPECT_EQ(view().now.detail, "alchemy · grades as design");
}

TEST_F(CompanionViewTest, AModalityWithoutALabelShowsItsId) {
    auto app = figma();
    app.primaryModality = "hologram";
    inFront(app);
    EXPECT_EQ(view().now.detail, "Design & UI · grades as hologram");
}

TEST_F(CompanionViewTest, WhatTheDesktopDoesNotAllowStandsBelowTheRest) {
    EXPECT_EQ(view().now.hint, "");
    model.limit = DesktopLimit{.line = "Turn it on.\x07"};
    EXPECT_TRUE(view().now.hint.starts_with("Turn it on."));
    inFront(figma());
    EXPECT_EQ(view().now.headline, "You're in Figma") << "the stated lines stay as they are";
    EXPECT_TRUE(view().now.hint.starts_with("Turn it on."));
}

TEST_F(CompanionViewTest, WhileNobodySaysWhoIsInFrontGradeSaysWhyItCannot) {
    EXPECT_EQ(view().actions.grade.toolTip, "");
    model.limit = DesktopLimit{.line = "Turn it on.", .hidesFront = true};
    EXPECT_FALSE(view().actions.grade.enabled);
    EXPECT_EQ(view().actions.grade.toolTip, "Nobody says which window is in front. Turn it on.");
    inFront("Doom");
    EXPECT_EQ(view().actions.grade.toolTip, "") << "it is known, and not in the catalog";
    inFront(figma());
    model.hasKey = true;
    EXPECT_TRUE(view().actions.grade.enabled);
    EXPECT_EQ(view().actions.grade.toolTip, "");
}

TEST_F(CompanionViewTest, AHintStandsBesideItsNoteAndIsReadOutWithIt) {
    model.note = "Couldn't.";
    EXPECT_EQ(view().verdict.hint, "");
    model.noteHint = "Do this.";
    EXPECT_EQ(view().verdict.note, "Couldn't.");
    EXPECT_EQ(view().verdict.hint, "Do this.");
    EXPECT_EQ(view().verdict.spoken, "Couldn't. Do this.");
    gradedWith(Band::ship);
    EXPECT_EQ(view().verdict.hint, "") << "like its note it gives way to a verdict";
}

TEST_F(CompanionViewTest, TheMenuOffersAccessibilityOnlyWhereItHelps) {
    EXPECT_EQ(view().footer.menu.size(), 4U);
    model.limit = DesktopLimit{.accessibilityHelps = true};
    ASSERT_EQ(view().footer.menu.size(), 5U);
    EXPECT_EQ(view().footer.menu[1], (MenuItem{.action = MenuAction::accessibility,
                                               .title = "Read text of more programs…"}));
    EXPECT_EQ(name(MenuAction::accessibility), "accessibility");
    model.accessibilityIsOurs = true;
    EXPECT_EQ(view().footer.menu[1].title, "Switch accessibility off again…");
}

TEST_F(CompanionViewTest, TheMenuLeadsToTheSettingsWhereThereIsAWindowOfThem) {
    model.onSettings = [] {};
    ASSERT_EQ(view().footer.menu.size(), 5U);
    EXPECT_EQ(view().footer.menu[0],
              (MenuItem{.action = MenuAction::settings, .title = "Settings…"}));
    EXPECT_EQ(name(MenuAction::settings), "settings");
}

TEST_F(CompanionViewTest, WhatIsRefusedSaysWhy) {
    inFront(figma());
    model.hasKey = true;
    model.refusal = "Not from here.";
    EXPECT_FALSE(view().actions.grade.enabled);
    EXPECT_FALSE(view().actions.iterate.enabled);
    EXPECT_EQ(view().actions.grade.toolTip, "Not from here.");
}

TEST(ModalityLabel, HasAWordForEachModality) {
    const std::vector<std::pair<std::string, std::string>> cases{
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
        {"hologram", "hologram"},
        {"UI_UX", "UI_UX"},
        {"", ""},
    };
    for (const auto& [id, label] : cases) EXPECT_EQ(modalityLabel(id), label);
}

TEST_F(CompanionViewTest, AnAppOutsideTheCatalogIsNamed) {
    inFront("Doom");
    EXPECT_EQ(view().now, (NowSection{.caption = "NOW",
                                      .recognised = false,
                                      .bundleId = "",
                                      .symbol = Symbol::magnifyingGlass,
                                      .headline = "Bring a supported app to the front",
                                      .detail = "Doom isn't in the catalog yet"}));
}

TEST_F(CompanionViewTest, BeforeAnyAppWasSeenTheCaptionInvites) {
    EXPECT_EQ(view().now.headline, "Bring a supported app to the front");
    EXPECT_EQ(view().now.detail, "Kelvane works across 90+ apps");
    EXPECT_FALSE(view().now.recognised);
}

TEST_F(CompanionViewTest, NothingOfAVerdictBeforeTheFirst) {
    EXPECT_EQ(view().verdict, VerdictSection{});
}

TEST_F(CompanionViewTest, ANoteShowsWhenThereIsNoVerdict) {
    model.note = "Couldn't capture anything to grade.";
    EXPECT_EQ(view().verdict, (VerdictSection{.progress = std::nullopt,
                                              .graded = std::nullopt,
                                              .note = "Couldn't capture anything to grade.",
                                              .spoken = "Couldn't capture anything to grade."}));
}

TEST_F(CompanionViewTest, AVerdictIsReadOutInAFewWords) {
    const auto spoken = [&](const Verdict& verdict) {
        model.verdict = verdict;
        return view().verdict.spoken;
    };
    Verdict verdict{.band = Band::ship,
                    .score = 0.96,
                    .flaws = {},
                    .runId = "r",
                    .warming = false,
                    .error = std::nullopt};
    EXPECT_EQ(spoken(verdict), "Verdict: SHIP. Trevix 96. Clears your bar — ready to ship.");
    verdict.band = Band::block;
    verdict.flaws = {{"HIGH", "a", "b"}};
    EXPECT_EQ(spoken(verdict), "Verdict: BLOCK. Trevix 96. 1 flaw.");
    verdict.flaws.push_back({"LOW", "c", "d"});
    EXPECT_EQ(spoken(verdict), "Verdict: BLOCK. Trevix 96. 2 flaws.");
    EXPECT_EQ(spoken(Verdict::failure("No answer.")),
              "No verdict. No answer. Held below your bar. No itemised flaws returned.");
    model.grading = true;
    EXPECT_EQ(spoken(verdict), "") << "an old one is not read out again";
}

TEST_F(CompanionViewTest, AVerdictHidesTheNote) {
    model.note = "Copied the selection.";
    gradedWith(Band::ship);
    EXPECT_EQ(view().verdict.note, std::nullopt);
    EXPECT_TRUE(view().verdict.graded);
}

TEST_F(CompanionViewTest, WhileGradingNothingElseOfTheVerdictShows) {
    model.note = "Copied the selection.";
    gradedWith(Band::block, {{"HIGH", "a", "b"}});
    model.grading = true;
    EXPECT_EQ(view().verdict, (VerdictSection{.progress = "Grading… the critic may be warming up",
                                              .graded = std::nullopt,
                                              .note = std::nullopt}));
}

TEST_F(CompanionViewTest, OnlyAGradeThatRunsCanBeCancelled) {
    EXPECT_EQ(view().actions.cancel, std::nullopt);
    model.grading = true;
    EXPECT_EQ(view().actions.cancel,
              (CancelLink{.label = "Cancel", .spokenName = "Cancel the grade"}));
    model.grading = false;
    gradedWith(Band::ship);
    EXPECT_EQ(view().actions.cancel, std::nullopt);
}

TEST_F(CompanionViewTest, WhileGradingBothButtonsAreDisabled) {
    inFront(figma());
    model.hasKey = true;
    gradedWith(Band::block);
    EXPECT_TRUE(view().actions.grade.enabled);
    EXPECT_TRUE(view().actions.iterate.enabled);
    model.grading = true;
    EXPECT_FALSE(view().actions.grade.enabled);
    EXPECT_FALSE(view().actions.iterate.enabled);
    EXPECT_TRUE(view().actions.iterate.visible);
}

TEST(BandPill, HasALabelAndColoursForEachBand) {
    const std::vector<std::pair<Band, BandPillView>> cases{
        {Band::ship, {.label = "SHIP", .tint = Tint::green, .labelTint = Tint::white}},
        {Band::route_to_fix,
         {.label = "ROUTE TO FIX", .tint = Tint::yellow, .labelTint = Tint::black}},
        {Band::quarantine, {.label = "QUARANTINE", .tint = Tint::orange, .labelTint = Tint::white}},
        {Band::block, {.label = "BLOCK", .tint = Tint::red, .labelTint = Tint::white}},
        {Band::unknown, {.label = "—", .tint = Tint::gray, .labelTint = Tint::white}},
    };
    for (const auto& [band, pill] : cases) EXPECT_EQ(bandPill(band), pill) << name(band);
}

Verdict told(std::vector<CheckedBy> checkedBy, std::vector<NotChecked> notChecked) {
    Verdict verdict;
    verdict.band = Band::ship;
    verdict.checkedBy = std::move(checkedBy);
    verdict.notChecked = std::move(notChecked);
    return verdict;
}

std::vector<std::string> linesOf(const std::string& tip) {
    std::vector<std::string> lines{""};
    for (const char c : tip) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    return lines;
}

TEST(CoverageTip, SaysWhoJudgedAndWhatWasNotCheckedOneThingALine) {
    EXPECT_EQ(coverageTip(told({{"trevix", "0.1.0", "prose"}, {"cmark", "", ""}},
                               {{"spelling", "no dictionary", "install one"},
                                {"sound", "nobody hears", ""},
                                {"links", "", ""}})),
              "Judged by trevix 0.1.0: prose\n"
              "Judged by cmark\n"
              "Not checked: spelling (no dictionary; install one)\n"
              "Not checked: sound (nobody hears)\n"
              "Not checked: links");
}

TEST(CoverageTip, IsEmptyWhenTheServiceToldNeither) {
    EXPECT_EQ(coverageTip(Verdict{}), "");
    EXPECT_EQ(bandPill(Band::ship).toolTip, "");
}

TEST(CoverageTip, HasEightLinesAndCountsTheRest) {
    const std::vector<CheckedBy> judges(20, CheckedBy{"e", "", ""});
    const std::vector<NotChecked> gaps(20, NotChecked{"w", "", ""});
    const auto both = linesOf(coverageTip(told(judges, gaps)));
    ASSERT_EQ(both.size(), 9U);
    EXPECT_EQ(both[3], "Judged by e");
    EXPECT_EQ(both[4], "Not checked: w");
    EXPECT_EQ(both[8], "and 32 more");
    EXPECT_EQ(linesOf(coverageTip(told(judges, {{"w", "", ""}})))[7], "Not checked: w");
    EXPECT_EQ(linesOf(coverageTip(told({}, gaps))).back(), "and 12 more");
    EXPECT_EQ(
        linesOf(coverageTip(told(std::vector<CheckedBy>(8, CheckedBy{"e", "", ""}), {}))).size(),
        8U);
}

TEST(CoverageTip, CutsALineAtEightyCharactersWithAnEllipsis) {
    const auto line = [](std::size_t length) {
        return coverageTip(told({{std::string(length, 'x'), "", ""}}, {}));
    };
    EXPECT_EQ(line(70), "Judged by " + std::string(70, 'x'));
    EXPECT_EQ(line(71), "Judged by " + std::string(69, 'x') + "…");
    EXPECT_EQ(line(5000), line(71));
}

TEST(CoverageTip, CannotTurnOrBreakWhatStandsAroundIt) {
    EXPECT_EQ(coverageTip(told({{"a\nb", "\x1b[2J", "\u202ec"}}, {{"שלום", "", ""}})),
              "Judged by a b  [2J: c\nNot checked: \u2068שלום\u2069");
}

TEST_F(CompanionViewTest, ThePillTellsWhoJudged) {
    model.verdict = told({{"trevix", "1", ""}}, {});
    EXPECT_EQ(graded().pill.toolTip, "Judged by trevix 1");
    EXPECT_EQ(graded().pill.label, "SHIP");
}

TEST_F(CompanionViewTest, ThePillTellsWhatWasJudged) {
    model.verdict = told({{"trevix", "1", ""}}, {});
    model.gradedWork = GradedWork{.app = "Figma", .isPicture = true};
    EXPECT_EQ(graded().pill.toolTip, "A picture of a window of Figma\nJudged by trevix 1");
    model.gradedWork = GradedWork{.app = "No\u202ete\npad", .isPicture = false};
    model.verdict = told({}, {});
    EXPECT_TRUE(graded().pill.toolTip.starts_with("What was selected in No"));
    EXPECT_EQ(graded().pill.toolTip.find('\n'), std::string::npos);
    model.gradedWork = GradedWork{.app = std::string(100, 'x'), .isPicture = false};
    EXPECT_TRUE(graded().pill.toolTip.ends_with("x…"));
    EXPECT_EQ(text::characterCount(graded().pill.toolTip), 80U);
}

TEST_F(CompanionViewTest, WorkThatNobodyCanJudgeIsNotSaidToBeHeld) {
    Verdict verdict = told({}, {{"prose", "nobody knows the language", ""}});
    verdict.band = Band::unknown;
    model.verdict = verdict;
    EXPECT_EQ(graded().pill.label, "—");
    EXPECT_EQ(graded().summary, "Nobody here can judge this kind of work.");
    verdict.error = "it broke";
    model.verdict = verdict;
    EXPECT_EQ(graded().summary, kHeld);
    verdict.error = std::nullopt;
    verdict.notChecked.clear();
    model.verdict = verdict;
    EXPECT_EQ(graded().summary, kHeld);
    verdict = told({}, {{"links", "", ""}});
    verdict.band = Band::route_to_fix;
    model.verdict = verdict;
    EXPECT_EQ(graded().summary, kHeld);
}

TEST(ScoreText, IsTimesAHundredRoundedHalfAwayFromZero) {
    const std::vector<std::pair<double, std::string>> cases{
        {0.62, "62"},
        {0, "0"},
        {1, "100"},
        {0.005, "1"},
        {0.004, "0"},
        {0.625, "63"},
        {0.615, "62"},
        {-0.625, "-63"},
        {-0.005, "-1"},
        {-0.004, "0"},
        {-0.0, "0"},
        {12.3, "1230"},
        {1e300, "9223372036854775807"},
        {-1e300, "-9223372036854775808"},
        {9.2e16, "9200000000000000000"},
        {std::numeric_limits<double>::infinity(), "9223372036854775807"},
        {-std::numeric_limits<double>::infinity(), "-9223372036854775808"},
        {std::numeric_limits<double>::denorm_min(), "0"},
    };
    for (const auto& [score, text] : cases) EXPECT_EQ(scoreText(score), text) << score;
    EXPECT_EQ(scoreText(std::nan("")), std::nullopt);
}

TEST_F(CompanionViewTest, TheScoreIsACaption) {
    gradedWith(Band::route_to_fix);
    EXPECT_EQ(graded().score, "Trevix 62");
}

TEST_F(CompanionViewTest, AVerdictWithoutAScoreShowsNone) {
    model.verdict = Verdict{};
    EXPECT_EQ(graded().score, std::nullopt);
    model.verdict = Verdict{.band = Band::ship,
                            .score = std::nan(""),
                            .flaws = {},
                            .runId = {},
                            .warming = false,
                            .error = {}};
    EXPECT_EQ(graded().score, std::nullopt);
}

TEST_F(CompanionViewTest, TheReportIsOfferedWhenThereIsARun) {
    gradedWith(Band::ship);
    EXPECT_EQ(graded().report, (ReportLink{.label = "Full report", .runId = "run-1"}));
    model.verdict = Verdict::failure("no luck");
    EXPECT_EQ(graded().report, std::nullopt);
}

TEST_F(CompanionViewTest, IterateIsOfferedWhenThereIsARun) {
    EXPECT_FALSE(view().actions.iterate.visible);
    gradedWith(Band::route_to_fix);
    EXPECT_EQ(view().actions.iterate, (ButtonView{.label = "Iterate",
                                                  .symbol = Symbol::iterateArrows,
                                                  .visible = true,
                                                  .enabled = true}));
    model.verdict = Verdict::failure("no luck");
    EXPECT_FALSE(view().actions.iterate.visible);
}

TEST_F(CompanionViewTest, IterateNeedsNeitherAKeyNorASupportedApp) {
    gradedWith(Band::route_to_fix);
    EXPECT_TRUE(view().actions.iterate.enabled);
}

TEST_F(CompanionViewTest, AVerdictThatCarriesOnlyAnErrorShowsItAndTheHeldBelowText) {
    model.verdict = Verdict::failure("The service is not there.");
    EXPECT_EQ(graded(), (VerdictSection::Graded{
                            .pill = {.label = "—", .tint = Tint::gray, .labelTint = Tint::white},
                            .score = std::nullopt,
                            .report = std::nullopt,
                            .error = "The service is not there.",
                            .flaws = {},
                            .more = std::nullopt,
                            .summary = kHeld}));
}

TEST_F(CompanionViewTest, WhatIsKnownBesideAnErrorStandsBehindIt) {
    auto verdict = Verdict::failure("grade timed out after 420s");
    verdict.hint = "The service answers.";
    model.verdict = verdict;
    EXPECT_EQ(graded().error, "grade timed out after 420s. The service answers.");
}

TEST_F(CompanionViewTest, AnErrorWithABandThatClearsSaysReady) {
    auto verdict = Verdict::failure("odd");
    verdict.band = Band::ship;
    model.verdict = verdict;
    EXPECT_EQ(graded().error, "odd");
    EXPECT_EQ(graded().summary, "Clears your bar — ready to ship.");
}

TEST_F(CompanionViewTest, WarmingIsNotShown) {
    auto verdict = Verdict::failure("grade timed out after 420s");
    const auto record = [&] {
        model.verdict = verdict;
        return view();
    };
    const auto cold = record();
    verdict.warming = true;
    EXPECT_EQ(record(), cold);
}

TEST_F(CompanionViewTest, WithoutFlawsTheSummarySaysWhetherTheWorkClears) {
    for (const Band band : {Band::route_to_fix, Band::quarantine, Band::block, Band::unknown}) {
        gradedWith(band);
        EXPECT_EQ(graded().summary, kHeld) << name(band);
    }
    gradedWith(Band::ship);
    EXPECT_EQ(graded().summary, "Clears your bar — ready to ship.");
}

TEST_F(CompanionViewTest, FlawsReplaceTheSummaryEvenWhenTheBandClears) {
    gradedWith(Band::ship, {{"LOW", "a", "b"}});
    EXPECT_EQ(graded().summary, std::nullopt);
    EXPECT_EQ(graded().flaws.size(), 1U);
}

TEST_F(CompanionViewTest, ThreeFlawsShowThreeRowsAndNothingMore) {
    gradedWith(Band::block, {{"A", "", ""}, {"B", "", ""}, {"C", "", ""}});
    EXPECT_EQ(graded().flaws.size(), 3U);
    EXPECT_EQ(graded().more, std::nullopt);
}

TEST_F(CompanionViewTest, FiveFlawsShowTheFirstThreeAndTwoMore) {
    gradedWith(Band::block,
               {{"A", "", ""}, {"B", "", ""}, {"C", "", ""}, {"D", "", ""}, {"E", "", ""}});
    ASSERT_EQ(graded().flaws.size(), 3U);
    EXPECT_EQ(graded().flaws[0].severity, "A");
    EXPECT_EQ(graded().flaws[2].severity, "C");
    EXPECT_EQ(graded().more, "+2 more");
}

TEST_F(CompanionViewTest, TenThousandFlawsShowThree) {
    gradedWith(Band::block, std::vector<Flaw>(10'000, {"LOW", "a", "b"}));
    EXPECT_EQ(graded().flaws.size(), 3U);
    EXPECT_EQ(graded().more, "+9997 more");
}

TEST(FlawRow, IsColouredByItsSeverityWithoutRegardToCase) {
    const std::vector<std::pair<std::string, Tint>> cases{
        {"HIGH", Tint::red},        {"high", Tint::red},          {"CRITICAL", Tint::red},
        {"Critical", Tint::red},    {"MEDIUM", Tint::orange},     {"mEdium", Tint::orange},
        {"LOW", Tint::secondary},   {"", Tint::secondary},        {"HIGHEST", Tint::secondary},
        {" HIGH", Tint::secondary}, {"BLOCKER", Tint::secondary},
    };
    for (const auto& [severity, tint] : cases) {
        EXPECT_EQ(flawRow({severity, "", ""}).severityTint, tint) << severity;
    }
}

TEST(FlawRow, ShowsTheSeverityUnchanged) {
    EXPECT_EQ(flawRow({"High", "", ""}).severity, "High");
    EXPECT_EQ(flawRow({" x ", "", ""}).severity, " x ");
    EXPECT_EQ(flawRow({"", "", ""}).severity, "•");
}

TEST(FlawRow, PutsTheCriterionBeforeTheDetail) {
    EXPECT_EQ(flawRow({"HIGH", "contrast",
                       "Primary CTA text fails AA contrast (3.1:1) on the teal fill."})
                  .text,
              "contrast: Primary CTA text fails AA contrast (3.1:1) on the teal fill.");
    EXPECT_EQ(flawRow({"HIGH", "", "detail"}).text, "detail");
    EXPECT_EQ(flawRow({"HIGH", "contrast", ""}).text, "contrast: ");
    EXPECT_EQ(flawRow({"", "", ""}).text, "");
}

TEST(FlawRow, CannotTurnOrBreakWhatStandsAroundIt) {
    const auto row = flawRow({"HI\nGH", "a\u202Eb\n", "c\x1b[31m\u202Ed"});
    EXPECT_EQ(row.severity, "HI GH");
    EXPECT_EQ(row.text, "ab : c [31md");
}

TEST_F(CompanionViewTest, GradeNeedsASupportedAppAndAKeyAndPeace) {
    struct Case {
        bool supported, hasKey, grading, enabled;
    };
    for (const auto& c : std::vector<Case>{{true, true, false, true},
                                           {false, true, false, false},
                                           {true, false, false, false},
                                           {true, true, true, false},
                                           {false, false, true, false}}) {
        c.supported ? inFront(figma()) : inFront("Doom");
        model.hasKey = c.hasKey;
        model.grading = c.grading;
        EXPECT_EQ(view().actions.grade, (ButtonView{.label = "Grade this",
                                                    .symbol = Symbol::seal,
                                                    .visible = true,
                                                    .enabled = c.enabled}));
    }
}

TEST_F(CompanionViewTest, WithoutAKeyGradeIsDisabledAndTheKeyLinkStandsBeneath) {
    inFront(figma());
    EXPECT_TRUE(view().actions.grade.visible);
    EXPECT_FALSE(view().actions.grade.enabled);
    EXPECT_EQ(
        view().actions.getKey,
        (ButtonView{.label = kKeyLink, .symbol = std::nullopt, .visible = true, .enabled = true}));
    EXPECT_EQ(view().status.tint, Tint::orange);
    EXPECT_EQ(view().status.toolTip, "Get a free key to start grading");
    model.hasKey = true;
    EXPECT_FALSE(view().actions.getKey.visible);
}

TEST_F(CompanionViewTest, NoAgentsSaySo) {
    EXPECT_EQ(
        view().agents,
        (AgentsSection{.caption = "AGENTS", .empty = "No coding agents detected yet", .rows = {}}));
}

TEST_F(CompanionViewTest, ThreeAgentsLayOutAsARowOfTwoAndARowOfOne) {
    std::vector<DetectedAgent> agents(3);
    agents[0].name = "One";
    agents[1].name = "Two";
    agents[2].name = "Three";
    model.agents = agents;
    const auto section = view().agents;
    EXPECT_EQ(section.empty, std::nullopt);
    ASSERT_EQ(section.rows.size(), 2U);
    ASSERT_EQ(section.rows[0].size(), 2U);
    ASSERT_EQ(section.rows[1].size(), 1U);
    EXPECT_EQ(section.rows[0][0].name, "One");
    EXPECT_EQ(section.rows[0][1].name, "Two");
    EXPECT_EQ(section.rows[1][0].name, "Three");
}

TEST_F(CompanionViewTest, TwoAgentsFillOneRow) {
    model.agents = std::vector<DetectedAgent>(2);
    EXPECT_EQ(view().agents.rows.size(), 1U);
}

TEST(AgentChip, DotTellsRunningFromPresent) {
    EXPECT_EQ(chipOf(true, true, {}).dot, Tint::green);
    EXPECT_EQ(chipOf(true, false, {}).dot, Tint::green);
    EXPECT_EQ(chipOf(false, true, {}).dot, Tint::secondary);
}

TEST(AgentChip, AnAgentNeitherRunningNorPresentStillHasItsDot) {
    EXPECT_EQ(chipOf(false, false, {}).dot, Tint::clear);
}

TEST(AgentChip, OnlyAWiredAgentHasTheBadge) {
    EXPECT_EQ(chipOf(true, true, true).badge, Symbol::shield);
    EXPECT_EQ(chipOf(true, true, false).badge, std::nullopt);
    EXPECT_EQ(chipOf(true, true, {}).badge, std::nullopt);
}

TEST(AgentChip, ToolTipSaysHowItStands) {
    EXPECT_EQ(chipOf(true, true, true).toolTip, "running · validation wired");
    EXPECT_EQ(chipOf(true, true, false).toolTip, "running · not wired");
    EXPECT_EQ(chipOf(true, true, {}).toolTip, "running");
    EXPECT_EQ(chipOf(false, true, true).toolTip, "installed · validation wired");
    EXPECT_EQ(chipOf(false, true, false).toolTip, "installed · not wired");
    EXPECT_EQ(chipOf(false, true, {}).toolTip, "installed");
    EXPECT_EQ(chipOf(false, false, {}).toolTip, "installed");
}

TEST_F(CompanionViewTest, WiredAgentsSayThatTheirValidatorIsGone) {
    model.agents = {
        {.id = "codex", .name = "Codex", .running = true, .present = true, .wired = true},
        {.id = "a", .name = "A", .running = false, .present = true, .wired = false}};
    EXPECT_EQ(view().agents.rows.at(0).at(0).toolTip, "running · validation wired");
    model.kitIsMissing = true;
    EXPECT_EQ(view().agents.rows.at(0).at(0).toolTip,
              "running · validation wired\nneeds repair: choose “Wire my tools”");
    EXPECT_EQ(view().agents.rows.at(0).at(1).toolTip, "installed · not wired");
}

TEST(AgentChip, FollowsWhatTheInstallerTells) {
    const DetectedAgent agent = {
        .id = "codex", .name = "Codex", .running = true, .present = true, .wired = true};
    const auto chip = [&](WiringState state, bool versionIsKnown = true) {
        const WiringTruth truth = {.state = state, .versionIsKnown = versionIsKnown};
        return agentChip(agent, false, &truth);
    };
    EXPECT_EQ(chip(WiringState::Wired).toolTip, "running · validation wired");
    EXPECT_EQ(chip(WiringState::Wired, false).toolTip,
              "running · validation wired\nits version is unknown");
    EXPECT_EQ(chip(WiringState::Untrusted).toolTip,
              "running · validation wired\ninstalled, not trusted yet: run /hooks in it");
    EXPECT_EQ(chip(WiringState::Repair).toolTip,
              "running · validation wired\nneeds repair: choose “Wire my tools”");
    EXPECT_EQ(chip(WiringState::Edited).toolTip,
              "running · validation wired\nedited by you, and kept so");
    EXPECT_EQ(chip(WiringState::Unread).badge, Symbol::shield);
    EXPECT_EQ(chip(WiringState::NotOurs).toolTip, "running · not wired");
    EXPECT_EQ(chip(WiringState::NotOurs).badge, std::nullopt);
}

TEST_F(CompanionViewTest, WorkflowJoinsItsStepsWithArrows) {
    model.workflow =
        WorkflowState{.node = "design",
                      .pipeline = {{"Obsidian", "text"}, {"Figma", "ui_ux"}, {"VS Code", "code"}},
                      .multiModal = true};
    EXPECT_EQ(view().workflow, (WorkflowSection{.caption = "WORKFLOW",
                                                .tag = "multi-modal",
                                                .pipeline = "Obsidian  →  Figma  →  VS Code"}));
}

TEST_F(CompanionViewTest, WorkflowOfOneModalityHasNoTag) {
    model.workflow =
        WorkflowState{.node = "design", .pipeline = {{"Figma", "ui_ux"}}, .multiModal = false};
    EXPECT_EQ(view().workflow.tag, std::nullopt);
    EXPECT_EQ(view().workflow.pipeline, "Figma");
}

TEST_F(CompanionViewTest, WorkflowBeforeAnythingWasSeenIsItsCaption) {
    EXPECT_EQ(view().workflow,
              (WorkflowSection{.caption = "WORKFLOW", .tag = std::nullopt, .pipeline = ""}));
}

TEST_F(CompanionViewTest, FooterOffersWiringAndTheMenu) {
    EXPECT_EQ(view().footer,
              (FooterRow{.wire = {.label = "Wire my tools",
                                  .symbol = std::nullopt,
                                  .visible = true,
                                  .enabled = true},
                         .menuTitle = "Settings",
                         .menu = {{.action = MenuAction::getKey, .title = "Get a free key…"},
                                  {.action = MenuAction::uninstall, .title = "Uninstall Kelvane…"},
                                  {.action = MenuAction::divider, .title = ""},
                                  {.action = MenuAction::quit, .title = "Quit"}}}));
}

TEST_F(CompanionViewTest, TheDemonstrationReadsAsItIsMeantTo) {
    model.seedDemo();
    const auto record = view();
    EXPECT_EQ(record.now.headline, "You're in Figma");
    EXPECT_EQ(record.verdict.graded.value().pill.label, "ROUTE TO FIX");
    EXPECT_EQ(record.verdict.graded.value().score, "Trevix 62");
    EXPECT_EQ(record.verdict.graded.value().flaws.size(), 3U);
    EXPECT_EQ(record.agents.rows.size(), 2U);
    EXPECT_TRUE(record.actions.grade.enabled);
    EXPECT_TRUE(record.actions.iterate.visible);
}

TEST_F(CompanionViewTest, TextsFromOutsideAreMadeHarmless) {
    inFront("Do\nom\u202E");
    EXPECT_EQ(view().now.detail, "Do om isn't in the catalog yet");
    inFront("عميل");
    EXPECT_EQ(view().now.detail, "\u2068عميل\u2069 isn't in the catalog yet");
    auto app = figma();
    app.name = "Fig\tma";
    inFront(app);
    EXPECT_EQ(view().now.headline, "You're in Fig ma");
    model.note = "a\x1b"
                 "b\nc";
    EXPECT_EQ(view().verdict.note, "a b\nc");
    model.verdict = Verdict::failure("\u202Eoops");
    EXPECT_EQ(graded().error, "oops");
}

TEST_F(CompanionViewTest, TheRunIdIsNotTouched) {
    auto verdict = Verdict::failure("");
    verdict.runId = "a\nb";
    model.verdict = verdict;
    EXPECT_EQ(graded().report->runId, "a\nb");
}

TEST_F(CompanionViewTest, APreviewSaysWhatIsLeftOutWhatTheCaptureSaysAndWhatGoesWithIt) {
    model.preview = GradePreview{.app = "Kate",
                                 .appId = "org.kde.kate",
                                 .to = "host.example",
                                 .lines = std::make_shared<const std::vector<std::string>>(1, "a"),
                                 .picture = nullptr,
                                 .amount = Capture::kMaxCharacters,
                                 .isCut = true,
                                 .kind = "document",
                                 .names = {"work.md", "a\nb"},
                                 .notes = {"A note."}};
    const auto text = view().preview.value();
    EXPECT_EQ(text.detail, "The text selected in Kate, 180000 characters");
    ASSERT_EQ(text.remarks.size(), 4U);
    EXPECT_NE(text.remarks.at(0).find("first 180000 characters"), std::string::npos);
    EXPECT_EQ(text.remarks.at(1), "A note.");
    EXPECT_EQ(text.remarks.at(2), "Nothing of the document but this text is sent.");
    EXPECT_EQ(text.remarks.at(3),
              "Sent with it: the application's name, what kind of work it is (document) and "
              "“work.md”, “a b” as its name.");

    model.preview = GradePreview{.app = "Kate",
                                 .appId = "",
                                 .to = "this machine",
                                 .leaves = false,
                                 .lines = nullptr,
                                 .picture = std::make_shared<const std::string>(1'025, 'p'),
                                 .amount = 1'025,
                                 .kind = "image",
                                 .names = {"work.png"},
                                 .notes = {}};
    const auto picture = view().preview.value();
    EXPECT_EQ(picture.detail, "A picture of a window of Kate, 2 kB");
    EXPECT_EQ(picture.remarks.front(), "Nothing of other windows is in the picture.");
    EXPECT_EQ(picture.always, "") << "without an identifier nothing can be remembered";
}

TEST(PanelNames, EachValueHasItsOwn) {
    EXPECT_EQ(name(Symbol::magnifyingGlass), "sparkle.magnifyingglass");
    EXPECT_EQ(name(Symbol::seal), "checkmark.seal");
    EXPECT_EQ(name(Symbol::iterateArrows), "arrow.triangle.2.circlepath");
    EXPECT_EQ(name(Symbol::shield), "checkmark.shield.fill");
    EXPECT_EQ(name(MenuAction::getKey), "getKey");
    EXPECT_EQ(name(MenuAction::divider), "divider");
}

} // namespace
} // namespace kelvane
