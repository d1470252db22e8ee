#include "app/console.h"

#include "detect/capture.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <sstream>

namespace kelvane {
namespace {

class ConsoleTest : public testing::Test {
protected:
    ConsoleTest() {
        fake.environment.variables["BRASK_API_KEY"] = "k";
        fake.environment.variables["BRASK_API_BASE"] = "http://service";
        fake.workspace.running = {{.bundleId = "org.example.editor", .name = "Editor", .pid = 1}};
        fake.workspace.front = 1;
        fake.http.answer = [this](const HttpRequest& request) -> std::optional<HttpResponse> {
            if (request.url.ends_with("/iterate")) return HttpResponse{200, iterateAnswer};
            if (request.method == "POST") return HttpResponse{200, R"({"job_id":"j"})"};
            return HttpResponse{200, R"({"status":"completed","run_id":"r","result_summary":
                {"band":"block","score":0.25,"flaws":[{"severity":"high","criterion":"c","detail":"d"}]}})"};
        };
    }

    static AppCatalog catalog() {
        CatalogApp app;
        app.id = "editor";
        app.name = "Editor";
        app.category = "writing";
        app.bundleIds = {"org.example.editor"};
        app.primaryModality = "document";
        return AppCatalog({app}, "1", {"document"}, {{.id = "writing", .label = "Writing"}});
    }

    /// What was printed since the last call.
    std::string printed() {
        auto text = out.str();
        out.str("");
        return text;
    }

    FakePlatform fake;
    std::string iterateAnswer =
        R"({"iteration":{"critic_verdict":{"band":"ship","score":1,"flaws":[]}}})";
    CaptureResult captured{.parts = {{.mimeType = "text/markdown",
                                      .text = "words",
                                      .dataB64 = std::nullopt,
                                      .logicalName = "editor.md"}},
                           .modality = "document",
                           .ok = true,
                           .note = std::nullopt};
    std::ostringstream out;
    int quits = 0;
    CompanionModel model{{.workspace = fake.workspace,
                          .processes = fake.processes,
                          .files = fake.files,
                          .environment = fake.environment,
                          .http = fake.http,
                          .clock = fake.clock,
                          .dispatcher = fake.dispatcher,
                          .capture = [this](const DetectedApp&) { return captured; }},
                         catalog(),
                         "/home/ada"};
    Console console{
        model,
        fake.dispatcher,
        out,
        {.quit = [this] { ++quits; },
         .reportAddress = [](const std::string& run) { return "http://report/" + run; }}};
};

TEST_F(ConsoleTest, StartSaysWhatToTypeAndWhatIsInFront) {
    model.refresh();
    console.start();
    const auto text = printed();
    for (const char* command : {"grade", "iterate", "status", "quit"}) {
        EXPECT_NE(text.find(command), std::string::npos) << command;
    }
    EXPECT_NE(text.find("You're in Editor · Writing · grades as document\n"), std::string::npos);
}

TEST_F(ConsoleTest, GradePrintsTheVerdictWhenTheModelIsDone) {
    console.handle("  grade ");
    EXPECT_NE(printed().find("Grading…"), std::string::npos);
    fake.dispatcher.runAll();
    EXPECT_EQ(printed(), "You're in Editor · Writing · grades as document\n"
                         "band   block\n"
                         "score  0.25\n"
                         "flaws (1)\n"
                         "  HIGH      c: d\n"
                         "report http://report/r\n"
                         "done\n");
}

TEST_F(ConsoleTest, IteratePrintsWhatChanged) {
    console.handle("grade");
    fake.dispatcher.runAll();
    printed();
    console.handle("iterate");
    EXPECT_EQ(printed(), "Grading the revision…\n");
    fake.dispatcher.runAll();
    EXPECT_EQ(printed(), "band   block -> ship\n"
                         "score  0.25 -> 1.00\n"
                         "fixed (1)\n"
                         "  HIGH      c: d\n"
                         "report http://report/r\n"
                         "done\n");
}

TEST_F(ConsoleTest, FailedCaptureShowsItsNoteAndNoVerdict) {
    captured = {.parts = {}, .modality = "", .ok = false, .note = "why\x1b"};
    console.handle("grade");
    fake.dispatcher.runAll();
    const auto text = printed();
    EXPECT_NE(text.find("why\\x1B\ndone\n"), std::string::npos);
    EXPECT_EQ(text.find("band"), std::string::npos);
}

TEST_F(ConsoleTest, IterateWhoseCaptureFailsShowsNoVerdictAgain) {
    console.handle("grade");
    fake.dispatcher.runAll();
    captured = {.parts = {}, .modality = "", .ok = false, .note = "gone"};
    printed();
    console.handle("iterate");
    printed();
    fake.dispatcher.runAll();
    EXPECT_EQ(printed(), "gone\ndone\n");
}

TEST_F(ConsoleTest, SaysWhyNothingCanBeGraded) {
    fake.workspace.front.reset();
    console.handle("grade");
    EXPECT_EQ(printed(), "Nothing to grade: No app in front yet.\n");
    fake.workspace.front = 1;
    fake.environment.variables.clear();
    console.handle("grade");
    EXPECT_NE(printed().find("No key"), std::string::npos);
    console.handle("iterate");
    EXPECT_NE(printed().find("grade first"), std::string::npos);
}

TEST_F(ConsoleTest, SecondGradeWhileOneRunsIsRefused) {
    console.handle("grade");
    printed();
    console.handle("grade");
    console.handle("iterate");
    EXPECT_EQ(printed(), "Still grading.\nStill grading.\n");
    fake.dispatcher.runAll();
    EXPECT_EQ(fake.journal.count("POST"), 1U);
}

TEST_F(ConsoleTest, UnknownCommandGetsAHintAndAnEmptyLineNothing) {
    console.handle("gradde");
    EXPECT_EQ(printed(), "Type grade, iterate, status or quit.\n");
    console.handle("");
    console.handle("   ");
    EXPECT_EQ(printed(), "");
}

TEST_F(ConsoleTest, StatusShowsAppCatalogKeyAgentsAndWorkflow) {
    fake.processes.results["/bin/ps"] = {.status = 0, .output = "claude\n"};
    model.refresh();
    console.handle("status");
    const auto text = printed();
    EXPECT_NE(text.find("catalog  1 apps\n"), std::string::npos);
    EXPECT_NE(text.find("key      there\n"), std::string::npos);
    EXPECT_NE(text.find("agent    Claude Code, running, not wired\n"), std::string::npos);
    EXPECT_NE(text.find("workflow Editor\n"), std::string::npos);
}

TEST_F(ConsoleTest, QuitQuitsAtOnce) {
    console.handle("quit");
    EXPECT_EQ(quits, 1);
}

TEST_F(ConsoleTest, EndOfInputWaitsForTheGradeInFlight) {
    console.handle("grade");
    console.inputEnded();
    EXPECT_EQ(quits, 0);
    fake.dispatcher.runAll();
    EXPECT_EQ(quits, 1);
    EXPECT_NE(printed().find("band   block"), std::string::npos);
}

TEST_F(ConsoleTest, EndOfInputWithNothingInFlightQuits) {
    console.inputEnded();
    EXPECT_EQ(quits, 1);
}

} // namespace
} // namespace kelvane
