#include "app/companion_model.h"

#include "app/companion_view.h"
#include "app/process_settings.h"
#include "app/settings/settings_store.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace kelvane {
namespace {

constexpr const char* kCapturedNothing = "Couldn't capture anything to grade.";

CatalogApp catalogApp(const std::string& id, const std::string& modality,
                      const std::string& capture) {
    CatalogApp app;
    app.id = id;
    app.name = "The " + id;
    app.category = "cat-" + id;
    app.vertical = "vertical-" + id;
    app.bundleIds = {"org.example." + id};
    app.primaryModality = modality;
    app.capture = capture;
    app.workflowNodes = {"node-" + id, "other"};
    return app;
}

AppCatalog testCatalog() {
    std::vector<CatalogApp> apps{catalogApp("editor", "document", "document"),
                                 catalogApp("design", "ui_ux", "screenshot")};
    for (const char* id : {"one", "two", "three", "four", "five", "six", "seven"}) {
        apps.push_back(catalogApp(id, "text", "screenshot"));
    }
    return AppCatalog(std::move(apps));
}

CompanionModel::Ports modelPorts(FakePlatform& fake) {
    return {.workspace = fake.workspace,
            .processes = fake.processes,
            .files = fake.files,
            .environment = fake.environment,
            .http = fake.http,
            .clock = fake.clock,
            .dispatcher = fake.dispatcher,
            .capture =
                [&fake](const DetectedApp& app) {
                    return Capture::capture({.workspace = fake.workspace,
                                             .keyboard = fake.keyboard,
                                             .pasteboard = fake.pasteboard,
                                             .windows = fake.windows,
                                             .picture = fake.picture,
                                             .clock = fake.clock},
                                            app);
                },
            .limits = &fake.limits,
            .ownFocus = &fake.ownFocus};
}

/// The model over fakes, with two applications running and a service that answers.
class CompanionModelTest : public testing::Test {
protected:
    CompanionModelTest() {
        fake.workspace.running = {
            {.bundleId = "org.example.editor", .name = "Editor (window title)", .pid = 10},
            {.bundleId = "org.example.design", .name = "Design", .pid = 20},
            {.bundleId = "org.unknown", .name = "Unknown", .pid = 30},
            {.bundleId = std::string(kBundleID), .name = "Kelvane", .pid = 40},
            {.bundleId = std::nullopt, .name = "Nameless", .pid = 50},
        };
        fake.workspace.front = 10;
        fake.processes.results["/bin/ps"] = {.status = 0, .output = "/usr/bin/ollama\nclaude\n"};
        fake.environment.variables["BRASK_API_KEY"] = "the-key";
        fake.environment.variables["BRASK_API_BASE"] = "https://service";
        fake.keyboard.onCopy = [this](ProcessId) { fake.pasteboard.copyText("my words"); };
        fake.windows.windows = {{{.ownerPid = 20,
                                  .layer = 0,
                                  .bounds = WindowBounds{.width = 10, .height = 10},
                                  .number = 7}}};
        fake.picture.pictures[7] = "PNG";
        fake.http.answer = [this](const HttpRequest& request) { return serve(request); };
    }

    std::optional<HttpResponse> serve(const HttpRequest& request) {
        if (request.method == "POST" && request.url.ends_with("/iterate")) {
            return HttpResponse{200, iterateAnswer};
        }
        if (request.method == "POST") return HttpResponse{200, R"({"job_id":"j1"})"};
        return HttpResponse{200, statusAnswer};
    }

    nlohmann::json lastBody() const {
        return nlohmann::json::parse(*fake.http.requests.back().body);
    }

    /// The body of the job submission, the first request of a grade.
    nlohmann::json submission() const {
        return nlohmann::json::parse(fake.http.requests.at(0).body.value_or("null"));
    }

    FakePlatform fake;
    std::string statusAnswer = R"({"status":"completed","run_id":"r1","result_summary":
        {"band":"route_to_fix","score":0.5,"flaws":[{"severity":"high","criterion":"c","detail":"d"}]}})";
    std::string iterateAnswer =
        R"({"iteration":{"critic_verdict":{"band":"ship","score":1,"flaws":[]}}})";
    CompanionModel model{modelPorts(fake), testCatalog(), "/home/ada"};
};

// ---- construction

TEST_F(CompanionModelTest, StartsWithTheInitialValuesAndLooksNowhere) {
    EXPECT_EQ(*model.detected, (DetectedApp{.rawBundleId = "", .rawName = "", .app = {}}));
    EXPECT_TRUE(model.agents->empty());
    EXPECT_EQ(*model.workflow, (WorkflowState{.node = "—", .pipeline = {}, .multiModal = false}));
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_FALSE(*model.grading);
    EXPECT_FALSE(model.note->has_value());
    EXPECT_FALSE(*model.hasKey);
    EXPECT_TRUE(model.history.empty());
    EXPECT_EQ(model.home, "/home/ada");
    EXPECT_EQ(model.catalog.apps().size(), 9U);
    EXPECT_TRUE(fake.journal.entries().empty());
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(CompanionModelTest, HooksDoNothingUntilFilledIn) {
    model.onWire();
    model.onGetKey();
    model.onUninstall();
    model.onQuit();
    model.onOpenReport("run");
}

// ---- refresh

TEST_F(CompanionModelTest, RefreshResolvesTheFrontAppAndExtendsTheHistory) {
    model.refresh();
    EXPECT_EQ(model.detected->rawBundleId, "org.example.editor");
    EXPECT_EQ(model.detected->rawName, "Editor (window title)");
    ASSERT_TRUE(model.detected->app);
    EXPECT_EQ(model.history, (std::vector<WorkflowEvent>{{.appId = "editor",
                                                          .name = "The editor",
                                                          .category = "cat-editor",
                                                          .modality = "document"}}));
    EXPECT_EQ(model.workflow->node, "node-editor");
    EXPECT_TRUE(*model.hasKey);
}

TEST_F(CompanionModelTest, RefreshRescansAgentsWithTheConfigurationOfTheHome) {
    fake.files.folders.insert("/home/ada/.codex");
    fake.files.files["/home/ada/.cursor/mcp.json"] = "trevix";
    model.refresh();
    ASSERT_EQ(model.agents->size(), 10U);
    const auto& claude = model.agents->at(0);
    const auto& codex = model.agents->at(1);
    const auto& cursor = model.agents->at(2);
    const auto& ollama = model.agents->at(8);
    EXPECT_TRUE(claude.running);
    EXPECT_TRUE(codex.present && !codex.running);
    EXPECT_EQ(codex.wired, false);
    EXPECT_EQ(cursor.wired, true);
    EXPECT_TRUE(ollama.running);
}

TEST_F(CompanionModelTest, WithTheCompanionInFrontTheUsersAppStays) {
    model.refresh();
    const auto before = *model.detected;
    const auto historyBefore = model.history;

    fake.workspace.front = 40;
    fake.processes.results["/bin/ps"].output = "codex\n";
    fake.environment.variables.erase("BRASK_API_KEY");
    model.refresh();

    EXPECT_EQ(*model.detected, before);
    EXPECT_EQ(model.history, historyBefore);
    EXPECT_FALSE(model.agents->at(0).running);
    EXPECT_TRUE(model.agents->at(1).running);
    EXPECT_FALSE(*model.hasKey);
    EXPECT_EQ(model.workflow->node, "node-editor");
}

TEST_F(CompanionModelTest, WithNothingOrAnAnonymousAppInFrontTheUsersAppStays) {
    model.refresh();
    const auto before = *model.detected;
    fake.workspace.front = std::nullopt;
    model.refresh();
    EXPECT_EQ(*model.detected, before);
    fake.workspace.front = 50;
    model.refresh();
    EXPECT_EQ(*model.detected, before);
    EXPECT_EQ(model.history.size(), 1U);
}

TEST_F(CompanionModelTest, WhereTheOneInFrontMayBeHiddenNobodyElseIsNamed) {
    model.refresh();
    ASSERT_EQ(model.detected->rawBundleId, "org.example.editor");
    fake.limits.limit = {.line = "Not everything is seen here.", .hidesFront = true};
    fake.workspace.front = std::nullopt;
    fake.ownFocus.held = true;
    model.refresh();
    EXPECT_EQ(model.detected->rawBundleId, "org.example.editor") << "the panel is in front of it";
    EXPECT_EQ(model.limit->line, "Not everything is seen here.");
    fake.ownFocus.held = false;
    model.refresh();
    EXPECT_EQ(*model.detected, DetectedApp{});
    model.grade();
    EXPECT_FALSE(*model.grading);
    fake.workspace.front = 10;
    model.refresh();
    EXPECT_EQ(model.detected->rawBundleId, "org.example.editor");
}

TEST_F(CompanionModelTest, ANoteAboutAPermissionHasTheSystemsOwnHintBesideIt) {
    fake.limits.limit = {.noPicture = "There is no such permission here."};
    fake.picture.pictures.clear();
    fake.workspace.front = 20;
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    EXPECT_TRUE(model.note->value_or("").ends_with("make sure the window is open on screen."));
    EXPECT_EQ(*model.noteHint, "There is no such permission here.");
    fake.picture.pictures[7] = "PNG";
    model.grade();
    EXPECT_EQ(*model.noteHint, std::nullopt);
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.noteHint, std::nullopt) << "nothing was lacking";
}

TEST_F(CompanionModelTest, WhereTheSystemAddsNothingThereIsNoHint) {
    fake.picture.pictures.clear();
    fake.workspace.front = 20;
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    EXPECT_TRUE(*model.note);
    EXPECT_EQ(*model.noteHint, std::nullopt);
}

TEST_F(CompanionModelTest, KnowsWhetherTheAccessibilitySettingIsItsOwnDoing) {
    fake.limits.limit.accessibilityHelps = true;
    model.refresh();
    EXPECT_FALSE(*model.accessibilityIsOurs);
    fake.files.files["/home/ada/.brask/accessibility"] = "# said\non\n";
    model.refresh();
    EXPECT_TRUE(*model.accessibilityIsOurs);
    fake.files.files["/home/ada/.brask/accessibility"] = "off\n";
    model.refresh();
    EXPECT_FALSE(*model.accessibilityIsOurs);
}

TEST_F(CompanionModelTest, AppOutsideTheCatalogReplacesDetectedButAddsNoEvent) {
    model.refresh();
    fake.workspace.front = 30;
    model.refresh();
    EXPECT_EQ(model.detected->rawName, "Unknown");
    EXPECT_FALSE(model.detected->app);
    EXPECT_EQ(model.history.size(), 1U);
    EXPECT_EQ(model.workflow->node, "—");
    EXPECT_EQ(model.workflow->pipeline.size(), 1U);
}

TEST_F(CompanionModelTest, SevenAppsLeaveTheSixMostRecent) {
    ProcessId pid = 100;
    for (const char* id : {"one", "two", "three", "four", "five", "six", "seven"}) {
        fake.workspace.running.push_back(
            {.bundleId = "org.example." + std::string(id), .name = id, .pid = pid});
        fake.workspace.front = pid++;
        model.refresh();
    }
    std::vector<std::string> ids;
    for (const auto& event : model.history) ids.push_back(event.appId);
    EXPECT_EQ(ids, (std::vector<std::string>{"two", "three", "four", "five", "six", "seven"}));
}

TEST_F(CompanionModelTest, SameAppOnConsecutiveTicksAddsOneEvent) {
    for (int i = 0; i < 5; ++i) model.refresh();
    EXPECT_EQ(model.history.size(), 1U);
}

TEST_F(CompanionModelTest, RefreshListsProcessesEveryTimeAndNotifiesForEachProperty) {
    std::vector<std::string> order;
    const auto a =
        model.detected.observe([&](const DetectedApp&) { order.emplace_back("detected"); });
    const auto b = model.agents.observe([&](const auto&) { order.emplace_back("agents"); });
    const auto c = model.hasKey.observe([&](bool) { order.emplace_back("hasKey"); });
    const auto d = model.workflow.observe([&](const auto&) { order.emplace_back("workflow"); });
    model.refresh();
    EXPECT_EQ(order, (std::vector<std::string>{"detected", "agents", "hasKey", "workflow"}));
    model.refresh();
    EXPECT_EQ(order.size(), 8U);
    EXPECT_EQ(fake.journal.count("/bin/ps -axo comm="), 2U);
}

// ---- grade

TEST_F(CompanionModelTest, GradeOfAnAppOutsideTheCatalogDoesNothing) {
    fake.workspace.front = 30;
    model.refresh();
    int changes = 0;
    const auto watching = model.observeWillChange([&] { ++changes; });
    model.grade();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(CompanionModelTest, GradeWithoutAKeyChangesNothingAndShowsNothing) {
    model.refresh();
    fake.environment.variables["BRASK_API_KEY"] = "";
    int changes = 0;
    const auto watching = model.observeWillChange([&] { ++changes; });
    model.grade();
    EXPECT_EQ(changes, 0);
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(CompanionModelTest, GradeSetsGradingThenClearsVerdictThenNote) {
    model.refresh();
    model.verdict = Verdict::failure("old");
    model.note = "old";
    std::vector<std::string> order;
    const auto a = model.grading.observe(
        [&](bool next) { order.emplace_back(next ? "grading" : "not grading"); });
    const auto b = model.verdict.observe(
        [&](const auto& next) { order.emplace_back(next ? "verdict" : "no verdict"); });
    const auto c = model.note.observe(
        [&](const auto& next) { order.emplace_back(next ? "note" : "no note"); });
    model.grade();
    EXPECT_EQ(order, (std::vector<std::string>{"grading", "no verdict", "no note"}));
    fake.dispatcher.runAll();
    EXPECT_EQ(order, (std::vector<std::string>{"grading", "no verdict", "no note", "no note",
                                               "verdict", "not grading"}));
}

TEST_F(CompanionModelTest, GradeSubmitsTheCaptureWithTheAppsFacts) {
    fake.environment.variables["BRASK_POLICY_ID"] = "policy-9";
    model.refresh();
    model.grade();
    EXPECT_TRUE(*model.grading);
    EXPECT_FALSE(model.verdict->has_value());
    fake.dispatcher.runAll();

    const auto body = submission();
    EXPECT_EQ(body["modality"], "document");
    EXPECT_EQ(body["vertical"], "vertical-editor");
    EXPECT_EQ(body["policy_id"], "policy-9");
    EXPECT_EQ(body["user_prompt"], "Validate this The editor work before it ships.");
    ASSERT_EQ(body["artifact_parts"].size(), 1U);
    EXPECT_EQ(body["artifact_parts"][0]["text"], "my words");
    EXPECT_EQ(fake.http.requests.at(0).headers.at(0).second, "Bearer the-key");

    ASSERT_TRUE(model.verdict->has_value());
    EXPECT_EQ(model.verdict.get()->band, Band::route_to_fix);
    EXPECT_EQ(model.verdict.get()->runId, "r1");
    EXPECT_FALSE(*model.grading);
    EXPECT_FALSE(model.note->has_value());
}

TEST_F(CompanionModelTest, AVerdictIsAboutWhatWasGradedAndWhereItCameFrom) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    EXPECT_EQ(model.gradedWork, (GradedWork{.app = "The editor", .isPicture = false}));
    fake.workspace.front = 20;
    model.refresh();
    EXPECT_EQ(model.gradedWork->app, "The editor") << "the verdict is still that of the other one";
    model.iterate();
    fake.dispatcher.runAll();
    EXPECT_EQ(model.gradedWork, (GradedWork{.app = "The design", .isPicture = true}));
}

TEST_F(CompanionModelTest, RefreshSeesAKeyThatOthersMayReadAndAKitThatIsGone) {
    fake.files.files["/home/ada/.brask/key"] = "k";
    fake.files.guards["/home/ada/.brask/key"] = {.othersRead = true};
    fake.files.files["/home/ada/.brask/validate.py"] = "";
    model.refresh();
    EXPECT_FALSE(model.keyIsExposed) << "the key is not that of the file";
    EXPECT_FALSE(model.kitIsMissing);
    fake.environment.variables["BRASK_API_KEY"] = "";
    fake.files.files.erase("/home/ada/.brask/validate.py");
    model.refresh();
    EXPECT_TRUE(model.keyIsExposed);
    EXPECT_TRUE(model.kitIsMissing);
}

TEST_F(CompanionModelTest, TheInstallerIsAskedAboutTheWiringOnceForEachChange) {
    const auto asked = [&] {
        return std::ranges::count(fake.processes.requests, "/bin/sh", &ProcessRequest::program);
    };
    const auto look = [&] {
        model.refresh();
        fake.dispatcher.runAll();
    };
    const auto tells = [&](const std::string& state, int status = 0) {
        fake.processes.results["/bin/sh"] = {
            .status = status,
            .output = R"({"tools": [{"tool": "codex", "state": ")" + state + "\"}]}"};
    };
    tells("wired");
    fake.files.files["/home/ada/.brask/validate.py"] = "";
    fake.files.files["/home/ada/.brask/brask_install.py"] = "";
    look();
    EXPECT_EQ(asked(), 0) << "nothing is wired";

    fake.files.files["/home/ada/.codex/config.toml"] = "[mcp_servers.trevix]\n";
    tells("untrusted");
    model.refresh();
    EXPECT_TRUE(model.wiringTruths->empty()) << "the installer is still at work";
    fake.dispatcher.runAll();
    EXPECT_EQ(model.wiringTruths->at("codex").state, WiringState::Untrusted);
    look();
    EXPECT_EQ(asked(), 1) << "nothing has changed";

    fake.files.files["/home/ada/.codex/hooks.json"] = "{}";
    model.refresh();
    EXPECT_TRUE(model.wiringTruths->empty()) << "what is not known any more is not told";
    tells("wired", 1);
    fake.dispatcher.runAll();
    EXPECT_EQ(asked(), 2);
    EXPECT_TRUE(model.wiringTruths->empty()) << "the installer failed";

    // What is told of files that have changed meanwhile is not told of these.
    tells("edited");
    fake.files.files["/home/ada/.codex/hooks.json"] = "{ }";
    model.refresh();
    EXPECT_TRUE(fake.dispatcher.runOneInBackground());
    fake.files.files["/home/ada/.codex/hooks.json"] = "{  }";
    model.refresh();
    EXPECT_TRUE(fake.dispatcher.runOneOnMain());
    EXPECT_TRUE(model.wiringTruths->empty());
    tells("wired");
    fake.dispatcher.runAll();
    EXPECT_EQ(model.wiringTruths->at("codex").state, WiringState::Wired);
}

TEST_F(CompanionModelTest, GradeWithoutAPolicySendsNone) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    EXPECT_FALSE(submission().contains("policy_id"));
}

TEST_F(CompanionModelTest, NoteOfTheCaptureStaysBesideTheVerdict) {
    fake.keyboard.onCopy = nullptr;
    fake.windows.windows->at(0).ownerPid = 10;
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    ASSERT_TRUE(model.note->has_value());
    EXPECT_TRUE(model.note.get()->starts_with("No text selection found"));
    EXPECT_TRUE(model.verdict->has_value());
    EXPECT_EQ(submission()["modality"], "image");
}

TEST_F(CompanionModelTest, FailedCaptureEndsTheGradeWithItsNote) {
    model.refresh();
    fake.workspace.running.clear();
    std::vector<std::string> order;
    const auto a = model.grading.observe([&](bool) { order.emplace_back("grading"); });
    const auto b = model.note.observe([&](const auto&) { order.emplace_back("note"); });
    model.grade();
    order.clear();
    fake.dispatcher.runAll();
    EXPECT_EQ(order, (std::vector<std::string>{"grading", "note"}));
    EXPECT_FALSE(*model.grading);
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_EQ(*model.note, "The editor isn't running anymore — open it and press Grade.");
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST_F(CompanionModelTest, CaptureRunsInTheBackgroundAndNotBefore) {
    model.refresh();
    fake.journal.clear();
    model.grade();
    EXPECT_TRUE(fake.journal.entries().empty());
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 1U);
    ASSERT_TRUE(fake.dispatcher.runOneInBackground());
    EXPECT_EQ(fake.journal.count("copy 10"), 1U);
    EXPECT_TRUE(*model.grading);
    EXPECT_EQ(fake.dispatcher.waitingOnMain(), 1U);
}

TEST_F(CompanionModelTest, SwitchingAppsDuringAGradeDoesNotChangeWhatIsGraded) {
    model.refresh();
    model.grade();
    fake.workspace.front = 20;
    model.refresh();
    EXPECT_EQ(model.detected->rawName, "Design");
    fake.dispatcher.runAll();
    EXPECT_EQ(submission()["artifact_parts"][0]["logical_name"], "editor.md");
    EXPECT_EQ(submission()["user_prompt"], "Validate this The editor work before it ships.");
}

TEST_F(CompanionModelTest, CapturesNeverOverlapHoweverOftenAGradeIsAskedFor) {
    model.refresh();
    model.grade();
    model.grade();
    model.grade();
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 1U);
    ASSERT_TRUE(fake.dispatcher.runOneInBackground()); // the first capture
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
    ASSERT_TRUE(fake.dispatcher.runOneOnMain()); // its end starts the second, and submits the first
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 2U);
    EXPECT_EQ(fake.journal.count("copy"), 1U);
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.journal.count("copy"), 3U);
    EXPECT_EQ(fake.journal.count("POST"), 3U);
    EXPECT_FALSE(*model.grading);
}

TEST_F(CompanionModelTest, TheShellIsToldBeforeTheFirstCaptureAndAfterTheLast) {
    model.onCapture = [this](bool under) {
        fake.journal.add(under ? "captures begin" : "captures are over");
    };
    model.refresh();
    model.grade();
    EXPECT_EQ(fake.journal.count("captures begin"), 1U) << "before anything runs";
    model.grade();
    fake.dispatcher.runAll();
    const auto entries = fake.journal.entries();
    const auto at = [&](const char* entry) { return std::ranges::find(entries, entry); };
    EXPECT_EQ(fake.journal.count("captures begin"), 1U);
    EXPECT_EQ(fake.journal.count("captures are over"), 1U);
    const auto copies = std::count_if(at("captures begin"), at("captures are over"),
                                      [](const auto& entry) { return entry.starts_with("copy"); });
    EXPECT_EQ(copies, 2);
}

TEST_F(CompanionModelTest, TheShellIsToldOfTheEndOfACaptureThatWasCancelled) {
    int under = 0;
    model.onCapture = [&](bool begins) { under += begins ? 1 : -1; };
    model.refresh();
    model.grade();
    EXPECT_EQ(under, 1);
    model.cancel();
    EXPECT_EQ(under, 1) << "it still runs";
    fake.dispatcher.runAll();
    EXPECT_EQ(under, 0);
}

TEST_F(CompanionModelTest, ServiceFailureArrivesInsideTheVerdict) {
    fake.http.answer = nullptr;
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    ASSERT_TRUE(model.verdict->has_value());
    EXPECT_EQ(*model.verdict.get(), Verdict::failure("could not reach the eval API"));
    EXPECT_FALSE(*model.grading);
}

TEST_F(CompanionModelTest, WhetherWorkMayGoUnencryptedIsAskedInTheBackgroundAndObeyed) {
    fake.environment.variables["BRASK_API_BASE"] = "http://10.0.0.5";
    auto ports = modelPorts(fake);
    bool isAllowed = false;
    std::vector<std::string> asked;
    ports.mayGoUnencrypted = [&](const std::string& address) {
        asked.push_back(address);
        return isAllowed;
    };
    CompanionModel asking(ports, testCatalog(), "/home/ada");
    asking.refresh();
    asking.grade();
    EXPECT_TRUE(asked.empty()) << "on the main thread";
    fake.dispatcher.runAll();
    EXPECT_EQ(asked, (std::vector<std::string>{"http://10.0.0.5:80"}));
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_TRUE(
        asking.verdict.get()->error->starts_with("nothing was sent: http://10.0.0.5:80 is"));
    isAllowed = true;
    asking.grade();
    fake.dispatcher.runAll();
    EXPECT_EQ(asking.verdict.get()->error, std::nullopt);
}

TEST_F(CompanionModelTest, ModelGoneBeforeItsJobsReportIsNotTouched) {
    auto short_lived =
        std::make_unique<CompanionModel>(modelPorts(fake), testCatalog(), "/home/ada");
    short_lived->refresh();
    short_lived->grade();
    ASSERT_TRUE(fake.dispatcher.runOneInBackground());
    short_lived.reset();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST(CompanionModelCapture, GradeOfACaptureWithoutPartsSaysSoUnlessTheCaptureDid) {
    for (const bool ok : {true, false}) {
        for (const auto& captureNote :
             {std::optional<std::string>(), std::optional<std::string>("its own")}) {
            FakePlatform fake;
            fake.environment.variables["BRASK_API_KEY"] = "k";
            fake.workspace.running = {{.bundleId = "org.example.editor", .name = "E", .pid = 1}};
            fake.workspace.front = 1;
            auto ports = modelPorts(fake);
            ports.capture = [&](const DetectedApp&) {
                return CaptureResult{
                    .parts = {}, .modality = "text", .ok = ok, .note = captureNote};
            };
            CompanionModel model(ports, testCatalog(), "/home/ada");
            model.refresh();
            model.grade();
            fake.dispatcher.runAll();
            EXPECT_FALSE(*model.grading);
            EXPECT_EQ(*model.note, captureNote.value_or(kCapturedNothing));
            EXPECT_TRUE(fake.http.requests.empty());
        }
    }
}

TEST(CompanionModelCapture, CaptureThatIsNotOkIsNotSubmittedEvenWithParts) {
    FakePlatform fake;
    fake.environment.variables["BRASK_API_KEY"] = "k";
    fake.workspace.running = {{.bundleId = "org.example.editor", .name = "E", .pid = 1}};
    fake.workspace.front = 1;
    auto ports = modelPorts(fake);
    ports.capture = [](const DetectedApp&) {
        return CaptureResult{.parts = {{.mimeType = "text/plain",
                                        .text = "x",
                                        .dataB64 = std::nullopt,
                                        .logicalName = "x"}},
                             .modality = "text",
                             .ok = false,
                             .note = std::nullopt};
    };
    CompanionModel model(ports, testCatalog(), "/home/ada");
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.note, kCapturedNothing);
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST(CompanionModelCapture, IterateOfACaptureWithoutANoteLeavesNone) {
    FakePlatform fake;
    fake.environment.variables["BRASK_API_KEY"] = "k";
    auto ports = modelPorts(fake);
    ports.capture = [](const DetectedApp&) { return CaptureResult{}; };
    CompanionModel model(ports, testCatalog(), "/home/ada");
    Verdict old;
    old.runId = "r";
    model.verdict = old;
    model.note = "old note";
    model.iterate();
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.verdict, old);
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(*model.note, std::nullopt);
}

// ---- iterate

TEST_F(CompanionModelTest, IterateWithoutAVerdictOrARunDoesNothing) {
    model.refresh();
    int changes = 0;
    const auto watching = model.observeWillChange([&] { ++changes; });
    model.iterate();
    EXPECT_EQ(changes, 0);
    model.verdict = Verdict::failure("no run here");
    changes = 0;
    model.iterate();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(CompanionModelTest, IterateWithoutAKeyDoesNothing) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    fake.environment.variables.erase("BRASK_API_KEY");
    int changes = 0;
    const auto watching = model.observeWillChange([&] { ++changes; });
    model.iterate();
    EXPECT_EQ(changes, 0);
}

TEST_F(CompanionModelTest, IterateKeepsTheOldVerdictAndNoteWhileItRuns) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    model.note = "a remark";
    fake.pasteboard.text = "before";
    model.iterate();
    EXPECT_TRUE(*model.grading);
    EXPECT_EQ(model.verdict.get()->band, Band::route_to_fix);
    EXPECT_EQ(*model.note, "a remark");

    fake.dispatcher.runAll();
    EXPECT_EQ(fake.http.requests.back().url, "https://service/api/v1/eval/runs/r1/iterate");
    EXPECT_EQ(lastBody()["user_prompt"], "Re-grade after fixing the flaws.");
    EXPECT_EQ(lastBody()["decision"], "re_prompt");
    EXPECT_EQ(lastBody()["new_artifact_parts"][0]["text"], "my words");
    EXPECT_EQ(model.verdict.get()->band, Band::ship);
    EXPECT_EQ(model.verdict.get()->runId, "r1");
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(*model.note, "a remark");
}

TEST_F(CompanionModelTest, IterateWhoseCaptureFailsKeepsTheVerdictAndTakesTheNote) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    const auto before = *model.verdict;
    fake.workspace.running.clear();
    const auto requests = fake.http.requests.size();
    model.iterate();
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.verdict, before);
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(*model.note, "The editor isn't running anymore — open it and press Grade.");
    EXPECT_EQ(fake.http.requests.size(), requests);
}

TEST_F(CompanionModelTest, IterateCapturesTheAppThatIsDetectedNow) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    fake.workspace.front = 20;
    model.refresh();
    model.iterate();
    fake.dispatcher.runAll();
    EXPECT_EQ(lastBody()["new_artifact_parts"][0]["logical_name"], "design.png");
}

// ---- cancel

TEST_F(CompanionModelTest, CancelWhileNothingIsGradedDoesNothing) {
    model.refresh();
    int changes = 0;
    const auto watching = model.observeWillChange([&] { ++changes; });
    model.cancel();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(fake.dispatcher.waitingInBackground(), 0U);
}

TEST_F(CompanionModelTest, CancelDuringTheCaptureSendsNothing) {
    model.refresh();
    model.grade();
    model.cancel();
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(*model.note, "Grade cancelled.");
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_FALSE(*model.grading);
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_EQ(*model.note, "Grade cancelled.");
}

TEST_F(CompanionModelTest, CancelDuringACaptureThatFailsKeepsItsNote) {
    model.refresh();
    model.grade();
    fake.workspace.running.clear();
    model.cancel();
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.note, "Grade cancelled.");
}

TEST_F(CompanionModelTest, CancelWhileTheServiceIsPolledEndsItAtOnceAndGivesTheJobUp) {
    statusAnswer = R"({"status":"running"})";
    model.refresh();
    model.grade();
    ASSERT_TRUE(fake.dispatcher.runOneInBackground()); // the capture
    ASSERT_TRUE(fake.dispatcher.runOneOnMain());
    fake.clock.onSleep = [&](Instant) {
        if (fake.clock.sleeps.size() < 3) return;
        fake.clock.onSleep = nullptr;
        statusAnswer = R"({"status":"completed","result_summary":{"band":"ship"}})";
        model.cancel();
        EXPECT_FALSE(*model.grading);
        EXPECT_EQ(*model.note, "Grade cancelled.");
    };
    fake.http.requests.clear();
    fake.clock.sleeps.clear();
    fake.dispatcher.runAll();
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_EQ(fake.http.requests.back().method, "DELETE");
    EXPECT_EQ(fake.http.requests.back().url, "https://service/api/v1/eval/jobs/j1");
    EXPECT_EQ(fake.http.requests.back().headers.at(0).second, "Bearer the-key");
    EXPECT_EQ(fake.http.requests.size(), 1U + 3U + 1U); // submitted, polled, given up
}

TEST_F(CompanionModelTest, VerdictThatIsOnItsWayWhenTheGradeIsCancelledNeverAppears) {
    model.refresh();
    model.grade();
    ASSERT_TRUE(fake.dispatcher.runOneInBackground());
    ASSERT_TRUE(fake.dispatcher.runOneOnMain());
    ASSERT_TRUE(fake.dispatcher.runOneInBackground()); // the grade, to its end
    model.cancel();
    fake.dispatcher.runAll();
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_EQ(*model.note, "Grade cancelled.");
    EXPECT_EQ(fake.journal.count("DELETE"), 0U); // the job was over
}

TEST_F(CompanionModelTest, GradeAfterACancelledOneIsItsOwn) {
    model.refresh();
    model.grade();
    model.cancel();
    model.grade();
    EXPECT_TRUE(*model.grading);
    EXPECT_FALSE(model.note->has_value());
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.journal.count("POST"), 1U);
    ASSERT_TRUE(model.verdict->has_value());
    EXPECT_EQ(model.verdict.get()->band, Band::route_to_fix);
    EXPECT_FALSE(*model.grading);
    EXPECT_FALSE(model.note->has_value());
}

TEST_F(CompanionModelTest, CancelEndsEveryGradeInFlight) {
    model.refresh();
    model.grade();
    model.grade();
    model.grade();
    model.cancel();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_FALSE(model.verdict->has_value());
    EXPECT_FALSE(*model.grading);
}

TEST_F(CompanionModelTest, CancelledIterateKeepsTheVerdictThatThereWas) {
    model.refresh();
    model.grade();
    fake.dispatcher.runAll();
    const auto before = *model.verdict;
    model.iterate();
    ASSERT_TRUE(fake.dispatcher.runOneInBackground());
    ASSERT_TRUE(fake.dispatcher.runOneOnMain());
    ASSERT_TRUE(fake.dispatcher.runOneInBackground()); // the revision, to its verdict
    model.cancel();
    fake.dispatcher.runAll();
    EXPECT_EQ(*model.verdict, before);
    EXPECT_FALSE(*model.grading);
    EXPECT_EQ(*model.note, "Grade cancelled.");

    model.iterate();
    model.cancel();
    const auto requests = fake.http.requests.size();
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.http.requests.size(), requests);
}

TEST_F(CompanionModelTest, ModelGoneAfterACancelledGradeIsNotTouched) {
    auto shortLived =
        std::make_unique<CompanionModel>(modelPorts(fake), testCatalog(), "/home/ada");
    shortLived->refresh();
    shortLived->grade();
    shortLived->cancel();
    shortLived.reset();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
}

// ---- states

TEST_F(CompanionModelTest, StatesFollowFromGradingAndVerdict) {
    const auto state = [&] {
        return std::string(*model.grading ? "grading" : "idle") +
               (model.verdict->has_value() ? " with verdict" : " without verdict");
    };
    model.refresh();
    EXPECT_EQ(state(), "idle without verdict");
    model.grade();
    EXPECT_EQ(state(), "grading without verdict");
    fake.dispatcher.runAll();
    EXPECT_EQ(state(), "idle with verdict");
    model.iterate();
    EXPECT_EQ(state(), "grading with verdict");
    fake.dispatcher.runAll();
    EXPECT_EQ(state(), "idle with verdict");
    model.grade();
    EXPECT_EQ(state(), "grading without verdict");
    fake.workspace.running.clear();
    fake.dispatcher.runAll();
    EXPECT_EQ(state(), "idle without verdict");
    EXPECT_NE(*model.note, kCapturedNothing);
}

// ---- demonstration

TEST_F(CompanionModelTest, SeedDemoWithoutFigmaStillSetsTheRest) {
    model.refresh();
    const auto detected = *model.detected;
    const auto history = model.history;
    model.note = "stays";
    fake.environment.variables.clear();
    std::vector<std::string> order;
    const auto a = model.detected.observe([&](const auto&) { order.emplace_back("detected"); });
    const auto b = model.hasKey.observe([&](bool) { order.emplace_back("hasKey"); });
    const auto c = model.agents.observe([&](const auto&) { order.emplace_back("agents"); });
    const auto d = model.verdict.observe([&](const auto&) { order.emplace_back("verdict"); });
    const auto e = model.workflow.observe([&](const auto&) { order.emplace_back("workflow"); });
    model.seedDemo();

    EXPECT_EQ(order, (std::vector<std::string>{"hasKey", "agents", "verdict", "workflow"}));
    EXPECT_EQ(*model.detected, detected);
    EXPECT_EQ(model.history, history);
    EXPECT_EQ(*model.note, "stays");
    EXPECT_FALSE(*model.grading);
    EXPECT_TRUE(*model.hasKey);
    EXPECT_EQ(*model.agents,
              (std::vector<DetectedAgent>{
                  {"claude_code", "Claude Code", AgentKind::codingHarness, true, true, true},
                  {"codex", "Codex", AgentKind::codingHarness, true, true, true},
                  {"cursor", "Cursor", AgentKind::codingHarness, false, true, false},
                  {"ollama", "Ollama", AgentKind::localModel, true, true, std::nullopt}}));
    EXPECT_EQ(
        *model.verdict.get(),
        (Verdict{.band = Band::route_to_fix,
                 .score = 0.62,
                 .flaws = {{"HIGH", "contrast",
                            "Primary CTA text fails AA contrast (3.1:1) on the teal fill."},
                           {"MEDIUM", "hierarchy",
                            "Two competing H1s on the hero — the eye has no single entry point."},
                           {"LOW", "spacing", "Card grid gutters drift 16→20px between rows."}},
                 .runId = "demo-run",
                 .warming = false,
                 .error = std::nullopt}));
    EXPECT_EQ(model.workflow->node, "design");
    EXPECT_EQ(
        model.workflow->pipeline,
        (std::vector<WorkflowStep>{{"Obsidian", "text"}, {"Figma", "ui_ux"}, {"VS Code", "code"}}));
    EXPECT_TRUE(model.workflow->multiModal);
}

TEST(CompanionModelDemo, SeedDemoShowsFigmaWhenTheCatalogKnowsIt) {
    FakePlatform fake;
    CatalogApp figma = catalogApp("figma", "ui_ux", "export");
    figma.bundleIds = {"com.figma.Desktop"};
    CompanionModel model(modelPorts(fake), AppCatalog({figma}), "/home/ada");
    model.seedDemo();
    EXPECT_EQ(*model.detected,
              (DetectedApp{.rawBundleId = "com.figma.Desktop", .rawName = "Figma", .app = figma}));
}

// ---- settings: preview, exclusions, pause

/// The same with settings; the service of the fixture is not this machine.
class GuardedModelTest : public CompanionModelTest {
protected:
    GuardedModelTest() {
        fake.workspace.front = 10;
        guarded.onPreview = [this] { ++previewsShown; };
    }

    static CompanionModel::Ports withSettings(CompanionModel::Ports ports, SettingsStore& store) {
        ports.settings = &store;
        return ports;
    }

    void set(const std::string& text) { fake.files.files["/home/ada/.brask/settings.json"] = text; }

    void gradeFront() {
        guarded.refresh();
        guarded.grade();
        fake.dispatcher.runAll();
    }

    SettingsStore store{fake.files, "/home/ada/.brask"};
    CompanionModel guarded{withSettings(modelPorts(fake), store), testCatalog(), "/home/ada"};
    int previewsShown = 0;
};

TEST_F(GuardedModelTest, NothingIsAskedOfTheServiceBeforeSend) {
    gradeFront();
    ASSERT_TRUE(guarded.preview->has_value());
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_TRUE(*guarded.grading);
    EXPECT_EQ(previewsShown, 1);
    const GradePreview& preview = **guarded.preview;
    EXPECT_EQ(preview.app, "The editor");
    EXPECT_EQ(preview.to, "service");
    EXPECT_TRUE(preview.leaves);
    ASSERT_NE(preview.lines, nullptr);
    EXPECT_EQ(*preview.lines, std::vector<std::string>{"my words"});
    EXPECT_EQ(preview.picture, nullptr);

    guarded.sendPreviewed();
    EXPECT_FALSE(guarded.preview->has_value());
    fake.dispatcher.runAll();
    EXPECT_EQ(submission().at("artifact_parts").at(0).at("text"), "my words");
    EXPECT_TRUE(guarded.verdict->has_value());
    EXPECT_FALSE(*guarded.grading);
}

TEST_F(GuardedModelTest, WhatIsDroppedIsNeverSent) {
    gradeFront();
    guarded.dropPreviewed();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_FALSE(*guarded.grading);
    EXPECT_FALSE(guarded.preview->has_value());
    EXPECT_EQ(*guarded.note, "Nothing was sent.");
    guarded.sendPreviewed();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty()) << "there is nothing to send any more";
}

TEST_F(GuardedModelTest, CancelDropsThePreviewToo) {
    gradeFront();
    guarded.cancel();
    EXPECT_FALSE(guarded.preview->has_value());
    guarded.sendPreviewed();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
}

TEST_F(GuardedModelTest, AServiceOfThisMachineIsSentToAtOnce) {
    fake.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:9";
    gradeFront();
    EXPECT_FALSE(guarded.preview->has_value());
    EXPECT_FALSE(fake.http.requests.empty());
}

TEST_F(GuardedModelTest, WhatIsSaidOfAnApplicationIsRemembered) {
    gradeFront();
    guarded.sendPreviewed(true);
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.files.files["/home/ada/.brask/settings.json"],
              "{\n  \"preview_apps\": {\"org.example.editor\": \"never\"}\n}\n");
    const auto sent = fake.http.requests.size();
    guarded.grade();
    fake.dispatcher.runAll();
    EXPECT_FALSE(guarded.preview->has_value());
    EXPECT_GT(fake.http.requests.size(), sent);
    fake.workspace.front = 20;
    gradeFront();
    EXPECT_TRUE(guarded.preview->has_value()) << "another application is asked about";
}

TEST_F(GuardedModelTest, AnotherServiceThanTheOneShownIsShownAndNotSentTo) {
    gradeFront();
    fake.environment.variables["BRASK_API_BASE"] = "https://elsewhere.example";
    guarded.sendPreviewed();
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_EQ(guarded.preview->value().to, "elsewhere.example");
    guarded.sendPreviewed();
    fake.dispatcher.runAll();
    EXPECT_FALSE(fake.http.requests.empty());
}

TEST_F(GuardedModelTest, AnIterateIsPreviewedAndKeepsItsVerdict) {
    fake.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:9";
    gradeFront();
    ASSERT_TRUE(guarded.verdict->has_value());
    fake.environment.variables["BRASK_API_BASE"] = "https://service";
    const auto sent = fake.http.requests.size();
    guarded.iterate();
    fake.dispatcher.runAll();
    ASSERT_TRUE(guarded.preview->has_value());
    EXPECT_EQ(fake.http.requests.size(), sent);
    guarded.dropPreviewed();
    EXPECT_TRUE(guarded.verdict->has_value());
    guarded.iterate();
    fake.dispatcher.runAll();
    guarded.sendPreviewed();
    fake.dispatcher.runAll();
    EXPECT_EQ(guarded.verdict->value().band, Band::ship);
}

TEST_F(GuardedModelTest, APreviewShowsThePictureThatIsSent) {
    fake.workspace.front = 20;
    gradeFront();
    ASSERT_TRUE(guarded.preview->has_value());
    EXPECT_EQ(*guarded.preview->value().picture, "PNG");
    EXPECT_EQ(guarded.preview->value().lines, nullptr);
}

TEST_F(GuardedModelTest, SeveralWaitOneBehindTheOther) {
    guarded.refresh();
    guarded.grade();
    fake.workspace.front = 20;
    guarded.refresh();
    guarded.grade();
    fake.dispatcher.runAll();
    EXPECT_EQ(guarded.preview->value().app, "The editor");
    guarded.sendPreviewed();
    EXPECT_EQ(guarded.preview->value().app, "The design");
    EXPECT_EQ(previewsShown, 2);
}

TEST_F(GuardedModelTest, FromAnExcludedApplicationNothingIsCaptured) {
    set(R"({"never_capture": ["org.example.editor"]})");
    gradeFront();
    EXPECT_EQ(*guarded.refusal, "Nothing is captured from The editor, as you set it.");
    EXPECT_FALSE(*guarded.grading);
    EXPECT_EQ(fake.journal.count("copy"), 0U);
    fake.workspace.front = 20;
    guarded.refresh();
    EXPECT_FALSE(guarded.refusal->has_value());
}

TEST_F(GuardedModelTest, WhatIsExcludedWhileItIsCapturedIsNotSent) {
    fake.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:9";
    guarded.refresh();
    guarded.grade();
    set(R"({"never_capture": ["org.example.*"]})");
    fake.dispatcher.runAll();
    EXPECT_TRUE(fake.http.requests.empty());
    EXPECT_FALSE(*guarded.grading);
    EXPECT_EQ(*guarded.note, "Nothing is captured from The editor, as you set it.");
}

TEST_F(GuardedModelTest, APauseRefusesUntilItIsOverOrEnded) {
    guarded.refresh();
    guarded.pause(std::chrono::hours(1));
    EXPECT_EQ(*guarded.refusal, "Paused for 60 more minutes.");
    EXPECT_FALSE(companionView(guarded).actions.grade.enabled);
    EXPECT_EQ(companionView(guarded).actions.grade.toolTip, "Paused for 60 more minutes.");
    guarded.grade();
    EXPECT_FALSE(*guarded.grading);
    fake.clock.time += std::chrono::minutes(59);
    guarded.refresh();
    EXPECT_EQ(*guarded.refusal, "Paused for 1 more minute.");
    fake.clock.time += std::chrono::minutes(1);
    guarded.refresh();
    EXPECT_FALSE(guarded.refusal->has_value());
    EXPECT_FALSE(guarded.pauseLeft().has_value());
    guarded.pause(std::chrono::hours(1));
    guarded.resume();
    EXPECT_FALSE(guarded.refusal->has_value());
}

TEST(GradePreviewText, IsCutIntoLinesAndMadeHarmless) {
    CaptureResult capture{.parts = {{.mimeType = "text/plain",
                                     .text = "a\n\u202Eb\n" + std::string(900, 'x'),
                                     .dataB64 = std::nullopt,
                                     .logicalName = "work.txt"}},
                          .modality = "text",
                          .ok = true,
                          .note = "A note."};
    const DetectedApp from{.rawBundleId = "id", .rawName = "Name", .app = std::nullopt};
    const auto preview = gradePreview(capture, from, "https://me@host.example", "A hint.");
    EXPECT_EQ(*preview.lines,
              (std::vector<std::string>{"a", "b", std::string(400, 'x'), std::string(400, 'x'),
                                        std::string(100, 'x')}));
    EXPECT_EQ(preview.to, "host.example");
    EXPECT_EQ(preview.amount, 905U);
    EXPECT_FALSE(preview.isCut);
    EXPECT_EQ(preview.notes, (std::vector<std::string>{"A note.", "A hint."}));
    EXPECT_EQ(preview.kind, "text");
    EXPECT_EQ(preview.names, std::vector<std::string>{"work.txt"});
    capture.parts[0].text = std::string(Capture::kMaxCharacters, 'y');
    const auto full = gradePreview(capture, from, "https://host.example", std::nullopt);
    EXPECT_EQ(full.amount, Capture::kMaxCharacters);
    EXPECT_TRUE(full.isCut);
}

} // namespace
} // namespace kelvane
