#include "app/cli/detection_report.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

DetectedApp figma() {
    CatalogApp app;
    app.id = "figma";
    app.name = "Figma";
    app.primaryModality = "ui_ux";
    return {.rawBundleId = "com.figma.Desktop", .rawName = "Figma Beta", .app = app};
}

DetectedAgent agent(std::string id, bool running, bool present, std::optional<bool> wired) {
    return {.id = std::move(id),
            .name = "Name",
            .kind = AgentKind::codingHarness,
            .running = running,
            .present = present,
            .wired = wired};
}

TEST(DetectionReport, ListsEverythingInFixedOrderWithoutBlanks) {
    EXPECT_EQ(detectionReport(
                  figma(), 186,
                  {agent("claude_code", true, true, true), agent("codex", false, true, false)}),
              R"({"frontmost_bundle":"com.figma.Desktop","detected_app":"figma",)"
              R"("app_name":"Figma","modality":"ui_ux","supported":true,"catalog_apps":186,)"
              R"("agents":[{"id":"claude_code","running":true,"wired":true},)"
              R"({"id":"codex","running":false,"wired":false}]})");
}

TEST(DetectionReport, NothingInFrontLeavesTextsEmpty) {
    EXPECT_EQ(detectionReport({}, 0, {}),
              R"({"frontmost_bundle":"","detected_app":"","app_name":"","modality":"",)"
              R"("supported":false,"catalog_apps":0,"agents":[]})");
}

TEST(DetectionReport, UnknownAppKeepsItsIdentifierAndHasNoName) {
    const DetectedApp unknown{.rawBundleId = "org.example.App", .rawName = "App", .app = {}};
    EXPECT_EQ(detectionReport(unknown, 7, {}),
              R"({"frontmost_bundle":"org.example.App","detected_app":"","app_name":"",)"
              R"("modality":"","supported":false,"catalog_apps":7,"agents":[]})");
}

TEST(DetectionReport, IsOneLineWhateverAnybodyIsCalled) {
    auto front = figma();
    front.rawBundleId = std::string("a\nb\r\x1b[31m\x7f\tc") + '\0' + "d";
    front.app->id = "fig\nma";
    front.app->name = "Fig\n\"ma\" \\ \u00e9";
    front.app->primaryModality = "ui\x01_ux";
    EXPECT_EQ(detectionReport(front, 1, {}),
              "{\"frontmost_bundle\":\"ab[31mcd\",\"detected_app\":\"figma\","
              "\"app_name\":\"Fig\"ma\" \\ \u00e9\",\"modality\":\"ui_ux\","
              "\"supported\":true,\"catalog_apps\":1,\"agents\":[]}");
}

TEST(DetectionReport, AgentThatCannotBeWiredHasNull) {
    EXPECT_NE(detectionReport({}, 0, {agent("ollama", true, true, std::nullopt)})
                  .find(R"({"id":"ollama","running":true,"wired":null})"),
              std::string::npos);
}

TEST(DetectionReport, AgentThatIsNotPresentIsLeftOutWhateverItsOtherFlags) {
    const auto line = detectionReport(
        {}, 0, {agent("ghost", true, false, true), agent("codex", false, true, false)});
    EXPECT_NE(line.find(R"("agents":[{"id":"codex","running":false,"wired":false}])"),
              std::string::npos);
    EXPECT_EQ(line.find("ghost"), std::string::npos);
}

TEST(DetectionReport, AgentsKeepTheOrderOfTheScan) {
    const auto line =
        detectionReport({}, 0, {agent("z", false, true, false), agent("a", false, true, false)});
    EXPECT_LT(line.find(R"("id":"z")"), line.find(R"("id":"a")"));
}

TEST(DetectionReport, QuotesAndBackslashesGoThroughRaw) {
    auto app = figma();
    app.rawBundleId = R"(com."quoted"\id)";
    app.app->id = R"(a"b)";
    app.app->name = R"(The "Best" \ App)";
    EXPECT_EQ(detectionReport(app, 1, {}),
              R"({"frontmost_bundle":"com."quoted"\id","detected_app":"a"b",)"
              R"("app_name":"The "Best" \ App","modality":"ui_ux","supported":true,)"
              R"("catalog_apps":1,"agents":[]})");
}

TEST(DetectionReport, NameComesFromTheCatalogNeverFromTheSystem) {
    EXPECT_EQ(detectionReport(figma(), 1, {}).find("Figma Beta"), std::string::npos);
}

TEST(DetectionReport, ModalityIsTheCatalogsPrimaryOne) {
    auto app = figma();
    app.app->modalities = {"image", "ui_ux"};
    app.app->capture = "screenshot";
    EXPECT_NE(detectionReport(app, 1, {}).find(R"("modality":"ui_ux")"), std::string::npos);
}

} // namespace
} // namespace kelvane
