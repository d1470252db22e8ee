#include "tests/app/panel/panel_states.h"
#include "app/grade_preview.h"
#include "tests/source_tree.h"
#include "text/base64.h"

#include <fstream>
#include <iterator>
#include <utility>

namespace kelvane {

namespace {

constexpr const char* kLorem =
    "The heading says one thing and the paragraph beneath it another, and neither names the number "
    "that the chart beside them shows; ";

std::string repeated(const std::string& text, int times) {
    std::string result;
    for (int i = 0; i < times; ++i) result += text;
    return result;
}

CatalogApp app(const std::string& name, const std::string& modality = "ui_ux") {
    CatalogApp app;
    app.id = "app";
    app.name = name;
    app.category = "design";
    app.bundleIds = {"com.figma.Desktop"};
    app.primaryModality = modality;
    return app;
}

AppCatalog catalog() {
    return AppCatalog({app("Figma")}, "1", {"ui_ux"}, {{"design", "Design & UI"}});
}

DetectedAgent agent(const std::string& name, bool running, bool present,
                    std::optional<bool> wired) {
    return {.id = name,
            .name = name,
            .kind = AgentKind::codingHarness,
            .running = running,
            .present = present,
            .wired = wired};
}

void seen(PanelFixture& panel, const CatalogApp& inFront) {
    panel.model.detected = DetectedApp{
        .rawBundleId = inFront.bundleIds.front(), .rawName = inFront.name, .app = inFront};
}

void graded(PanelFixture& panel, Band band, std::vector<Flaw> flaws) {
    panel.model.seedDemo();
    panel.model.verdict = Verdict{.band = band,
                                  .score = 0.62,
                                  .flaws = std::move(flaws),
                                  .runId = "run-1",
                                  .warming = false,
                                  .error = std::nullopt};
}

std::vector<Flaw> fiveFlaws() {
    return {{"CRITICAL", "numbers", "The total of column D is not the sum of its rows (row 14)."},
            {"HIGH", "contrast", "Primary CTA text fails AA contrast (3.1:1) on the teal fill."},
            {"", "", "A finding without a severity or a criterion."},
            {"LOW", "spacing", "Gutters drift."},
            {"LOW", "spacing", "Gutters drift again."}};
}

/// A verdict of the service of this machine on a text from an editor that can be told a line.
void listedFlaws(PanelFixture& panel) {
    panel.fake.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:8797";
    graded(panel, Band::route_to_fix,
           {{"HIGH", "Numbers", "The total is not the sum of its rows.", "text.total", "line 14",
             "1,204 instead of 1,240"},
            {"MEDIUM", "Spelling", "“recieve” is misspelt.", "text.spelling", "line 3", "recieve"},
            {"LOW", "Clarity", "The sentence has 61 words.", "text.long_sentence", "line 21",
             "Whoever reads this to its end has forgotten how it began, and begins again"},
            {"LOW", "Links", "“here” does not say where it leads.", "text.link_text", "line 30",
             "here"},
            {"LOW", "", "", "", "", ""}});
    panel.model.gradedWork = GradedWork{
        .app = "Kate", .isPicture = false, .bundleId = "org.kde.kate", .text = "words\n"};
}

GradePreview previewOf(const std::optional<std::string>& picture) {
    const auto seen = app("Figma");
    CaptureResult capture{
        .parts = {{.mimeType = "text/markdown",
                   .text = "# Quarterly report\n\nRevenue grew by a fifth.\n" + std::string(kLorem),
                   .dataB64 = std::nullopt,
                   .logicalName = "Figma-work.md"}},
        .modality = "document",
        .ok = true,
        .note = std::nullopt};
    if (picture) {
        capture.parts[0].text.reset();
        capture.parts[0].dataB64 = text::base64(*picture);
        capture.note = "No text selection found — graded a screenshot of Figma's window. Select "
                       "text first for a text grade.";
    }
    return gradePreview(capture,
                        {.rawBundleId = "com.figma.Desktop", .rawName = "Figma", .app = seen},
                        "https://trevix.example", std::nullopt);
}

constexpr const char* kExtensionHint =
    "On GNOME Kelvane reads text from GTK, Qt and Firefox windows. To read every program and to "
    "photograph a window, turn on its Shell extension, then log in again.";

} // namespace

PanelFixture::PanelFixture()
    : model({.workspace = fake.workspace,
             .processes = fake.processes,
             .files = fake.files,
             .environment = fake.environment,
             .http = fake.http,
             .clock = fake.clock,
             .dispatcher = fake.dispatcher,
             .capture = [](const DetectedApp&) { return CaptureResult{}; }},
            catalog(), "/home/u") {
    fake.resources.resources["brask.png"] = inSourceTree("resources/brask.png");
}

const std::vector<PanelState>& panelStates() {
    static const std::vector<PanelState> states{
        {"first-run", [](PanelFixture&) {}},
        {"unknown-app",
         [](PanelFixture& panel) {
             panel.model.detected =
                 DetectedApp{.rawBundleId = "org.doom", .rawName = "Doom", .app = {}};
             panel.model.hasKey = true;
         }},
        {"no-key", [](PanelFixture& panel) { seen(panel, app("Figma")); }},
        {"ungraded",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.verdict = std::nullopt;
         }},
        {"note",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.verdict = std::nullopt;
             panel.model.note = "Couldn't capture anything to grade.";
         }},
        {"hidden-front",
         [](PanelFixture& panel) {
             panel.model.hasKey = true;
             panel.model.limit = DesktopLimit{.line = kExtensionHint, .hidesFront = true};
         }},
        {"limited-note",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.verdict = std::nullopt;
             panel.model.limit = DesktopLimit{.line = kExtensionHint, .hidesFront = true};
             panel.model.note =
                 "Couldn't capture Figma's window — grant Screen Recording in System "
                 "Settings ▸ Privacy, and make sure the window is open on screen.";
             panel.model.noteHint = "On GNOME a window can be photographed once Kelvane's Shell "
                                    "extension is on; selected text can be graded without.";
         }},
        {"grading",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.verdict = std::nullopt;
             panel.model.grading = true;
         }},
        {"regrading",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.grading = true;
         }},
        {"preview-text",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.grading = true;
             panel.model.preview = previewOf(std::nullopt);
         }},
        {"preview-picture",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.grading = true;
             std::ifstream mark(inSourceTree("docs/images/panel-light.png"), std::ios::binary);
             panel.model.preview = previewOf(std::string(std::istreambuf_iterator<char>(mark), {}));
         }},
        {"demo", [](PanelFixture& panel) { panel.model.seedDemo(); }},
        {"ship", [](PanelFixture& panel) { graded(panel, Band::ship, {}); }},
        {"quarantine", [](PanelFixture& panel) { graded(panel, Band::quarantine, fiveFlaws()); }},
        {"block", [](PanelFixture& panel) { graded(panel, Band::block, fiveFlaws()); }},
        {"all-flaws", listedFlaws,
         [](PanelBridge& bridge) {
             bridge.openFlaws(true);
             bridge.chooseFlaw(1);
         }},
        {"all-flaws-after-a-word",
         [](PanelFixture& panel) {
             listedFlaws(panel);
             panel.model.flawNote = "“Kelvane” is in your dictionary.";
         },
         [](PanelBridge& bridge) { bridge.openFlaws(true); }},
        {"held-without-flaws", [](PanelFixture& panel) { graded(panel, Band::route_to_fix, {}); }},
        {"error",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             panel.model.verdict = Verdict::failure(
                 "The evaluation service did not answer. Check the connection and try again.");
         }},
        {"ten-agents",
         [](PanelFixture& panel) {
             panel.model.seedDemo();
             std::vector<DetectedAgent> agents;
             for (int i = 0; i < 9; ++i) {
                 agents.push_back(agent(i % 3 == 0   ? "Claude Code"
                                        : i % 3 == 1 ? "Amp"
                                                     : "Ollama",
                                        i % 2 == 0, true,
                                        i % 3 == 0 ? std::optional(true) : std::nullopt));
             }
             agents.push_back(agent("Neither", false, false, false));
             panel.model.agents = agents;
         }},
        {"long-names",
         [](PanelFixture& panel) {
             graded(panel, Band::block, {});
             seen(panel, app("Visual Studio Code Insiders Exploration Build for Enterprise Teams",
                             "a-modality-of-an-unreasonably-long-name"));
             panel.model.agents = std::vector<DetectedAgent>{
                 agent("An Agent With a Remarkably Long Name", true, true, true),
                 agent("Cursor", false, true, false),
                 agent("An Agent With a Remarkably Long Name", true, true, true),
                 agent("Another Agent With an Even Longer Name", true, true, true),
                 agent(repeated("W", 200), true, true, true)};
             panel.model.workflow = WorkflowState{.node = "design",
                                                  .pipeline = {{"Visual Studio Code", "code"},
                                                               {"Adobe Illustrator", "image"},
                                                               {"LibreOffice Impress", "deck"},
                                                               {"Google Sheets", "spreadsheet"}},
                                                  .multiModal = true};
         }},
        {"long-texts",
         [](PanelFixture& panel) {
             graded(panel, Band::block,
                    {{"HIGH", "clarity", repeated(kLorem, 40)},
                     {"CRITICALLY IMPORTANT AND URGENT", repeated("criterion ", 30), "short"},
                     {"LOW", "", repeated("unbroken", 200)},
                     {"LOW", "", ""}});
             auto verdict = *panel.model.verdict;
             verdict->error = repeated(kLorem, 20);
             verdict->score = 1e300;
             panel.model.verdict = *verdict;
         }},
        {"long-note",
         [](PanelFixture& panel) {
             panel.model.note = repeated(kLorem, 20) + repeated("\nline", 50);
             panel.model.detected = DetectedApp{
                 .rawBundleId = "org.long", .rawName = repeated("Long name ", 30), .app = {}};
         }},
        {"right-to-left",
         [](PanelFixture& panel) {
             graded(
                 panel, Band::route_to_fix,
                 {{"HIGH", "ניגודיות", "הטקסט בכפתור הראשי אינו עומד בדרישות הניגודיות של התקן."},
                  {"متوسط", "وضوح", "عنوانان يتنافسان على الانتباه في أعلى الصفحة."}});
             seen(panel, app("محرر النصوص"));
             panel.model.agents = std::vector<DetectedAgent>{agent("סוכן קוד", true, true, true),
                                                             agent("وكيل", false, true, false)};
             panel.model.workflow = WorkflowState{
                 .node = "design",
                 .pipeline = {{"محرر", "text"}, {"Figma", "ui_ux"}, {"דפדפן", "text"}},
                 .multiModal = true};
         }},
        {"cjk-and-emoji",
         [](PanelFixture& panel) {
             graded(
                 panel, Band::quarantine,
                 {{"高い", "コントラスト",
                   "主要なボタンの文字は背景との差が小さく読みにくいため、色を調整してください。"},
                  {"HIGH", "🎨",
                   "Two 👩‍👩‍👧 families, one 🇨🇭 flag and a naïve café."}});
             seen(panel, app("メモ帳 📝"));
             panel.model.agents =
                 std::vector<DetectedAgent>{agent("智能助手 🤖", true, true, true)};
         }},
    };
    return states;
}

HistoryBridge::Entries someVerdicts() {
    constexpr std::int64_t kHour = 3'600'000;
    const auto verdict = [](int number, const std::string& name, Band band, double score,
                            std::vector<Flaw> flaws) {
        history::VerdictEntry entry;
        entry.id = std::to_string(number);
        entry.timeMs = 1'772'539'200'000 + number * 7 * kHour; // from 2026-03-03T12:00:00Z on
        entry.app = name;
        entry.kind = "document";
        entry.band = band;
        entry.score = score;
        entry.flawCount = flaws.size();
        entry.flaws = std::move(flaws);
        entry.runId = "run-" + entry.id;
        entry.report = "https://service/console?run=" + entry.runId;
        return entry;
    };
    const Flaw spelling{"MEDIUM",        "Spelling", "“recieve” is misspelt.",
                        "text.spelling", "line 3",   "recieve"};
    const Flaw clarity{
        "LOW",    "Clarity",           "The sentence has 61 words.", "text.long_sentence",
        "line 7", "Whoever reads this"};
    const Flaw total{"HIGH",       "Numbers", "The total is not the sum of its rows.",
                     "text.total", "line 14", "1,204"};
    auto before = verdict(5, "Kate", Band::route_to_fix, 0.62, {spelling, clarity});
    auto after = verdict(6, "Kate", Band::route_to_fix, 0.71, {clarity, total});
    before.runId = after.runId = "run-kate";
    before.text = "# Orders\n\nYou recieve the goods.\n\nWhoever reads this to its end "
                  "has forgotten how it began.\n";
    after.text = "# Orders\n\nYou receive the goods.\n\nWhoever reads this to its end "
                 "has forgotten how it began.\n\nTotal: 1,204\n";
    before.digest = "1";
    after.digest = "2";
    auto picture = verdict(2, "Figma", Band::unknown, 0, {});
    picture.isPicture = true;
    picture.score.reset();
    return {after,
            before,
            verdict(4, "Figma", Band::block, 0.2, {total}),
            verdict(3, "Kate", Band::ship, 0.97, {}),
            picture,
            verdict(1, "Figma", Band::quarantine, 0.4, {total, spelling})};
}

HistoryBridge::Ports historyPorts() {
    return {.load = [](auto then) { then(someVerdicts()); },
            .erase = [](const std::string&) {},
            .eraseAll = [] {},
            .openReport = [](const history::VerdictEntry&) {},
            .local = [](std::int64_t ms) { return ms; }};
}

const std::vector<HistoryState>& historyStates() {
    static const std::vector<HistoryState> states{
        {"history", [](HistoryBridge&) {}},
        {"history-chosen", [](HistoryBridge& bridge) { bridge.choose(QStringLiteral("6")); }},
        {"history-compared",
         [](HistoryBridge& bridge) {
             bridge.choose(QStringLiteral("6"));
             bridge.compareWithBefore();
         }},
        {"history-searched",
         [](HistoryBridge& bridge) { bridge.setWords(QStringLiteral("no such words")); }},
    };
    return states;
}

} // namespace kelvane
