#include "app/flaw_list_view.h"
#include "platform/fake/fakes.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

Flaw spelling(const std::string& word, const std::string& place = "line 3") {
    return {"MEDIUM", "Spelling", "“" + word + "” is misspelt.", "text.spelling", place, word};
}

class FlawListViewTest : public testing::Test {
protected:
    FlawListViewTest() {
        fake.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:8797";
        model.hasKey = true;
    }
    void show(std::vector<Flaw> flaws) {
        Verdict verdict;
        verdict.band = Band::route_to_fix;
        verdict.flaws = std::move(flaws);
        verdict.runId = "r1";
        model.verdict = verdict;
        model.gradedWork = GradedWork{
            .app = "gedit", .isPicture = false, .bundleId = "org.gnome.gedit", .text = "teh\n"};
    }

    FakePlatform fake;
    CompanionModel model{{.workspace = fake.workspace,
                          .processes = fake.processes,
                          .files = fake.files,
                          .environment = fake.environment,
                          .http = fake.http,
                          .clock = fake.clock,
                          .dispatcher = fake.dispatcher,
                          .capture = [](const DetectedApp&) { return CaptureResult{}; }},
                         AppCatalog(std::vector<CatalogApp>{}),
                         "/home/u"};
};

TEST_F(FlawListViewTest, WithoutAVerdictAndWhileGradingThereIsNone) {
    EXPECT_EQ(flawListView(model), FlawListView{});
    show({spelling("teh")});
    model.grading = true;
    EXPECT_EQ(flawListView(model), FlawListView{});
}

TEST_F(FlawListViewTest, EveryFlawHasItsPlaceAndWhatMayBeDone) {
    show({spelling("teh"),
          {"HIGH", "contrast", "Too pale.", "picture.contrast", "x 1, y 2", "2.1:1"},
          {"LOW", "", "Told by a service that names no rule."}});
    const auto view = flawListView(model);
    EXPECT_EQ(view.title, "3 flaws");
    ASSERT_EQ(view.items.size(), 3U);
    EXPECT_EQ(view.items[0].place, "line 3");
    EXPECT_EQ(view.items[0].evidence, "");
    EXPECT_TRUE(view.items[0].mayDismiss && view.items[0].mayAddWord && view.items[0].mayGoTo);
    EXPECT_EQ(view.items[0].spoken, "MEDIUM: Spelling: “teh” is misspelt., line 3");
    EXPECT_EQ(view.items[1].evidence, "2.1:1");
    EXPECT_TRUE(view.items[1].mayDismiss);
    EXPECT_FALSE(view.items[1].mayAddWord || view.items[1].mayGoTo);
    EXPECT_FALSE(view.items[2].mayDismiss || view.items[2].mayAddWord || view.items[2].mayGoTo);
    EXPECT_EQ(view.more, "");
}

TEST_F(FlawListViewTest, OnlyAServiceOfThisMachineTakesTheLastWord) {
    show({spelling("teh")});
    fake.environment.variables["BRASK_API_BASE"] = "https://service";
    EXPECT_FALSE(flawListView(model).items[0].mayDismiss);
    fake.environment.variables["BRASK_API_BASE"] = "http+unix://%2Frun%2Fapi.sock";
    EXPECT_TRUE(flawListView(model).items[0].mayDismiss);
    model.hasKey = false;
    EXPECT_FALSE(flawListView(model).items[0].mayDismiss);
}

TEST_F(FlawListViewTest, AnEditorWithoutAWayToALineIsNotOffered) {
    show({spelling("teh")});
    model.gradedWork->bundleId = "org.gnome.TextEditor";
    EXPECT_FALSE(flawListView(model).items[0].mayGoTo);
    show({spelling("teh")});
    model.gradedWork->text.reset();
    EXPECT_FALSE(flawListView(model).items[0].mayGoTo);
}

TEST_F(FlawListViewTest, MoreThanAPersonGoesThroughIsCounted) {
    show(std::vector<Flaw>(kMostFlawsListed + 5, spelling("teh")));
    const auto view = flawListView(model);
    EXPECT_EQ(view.title, "105 flaws");
    EXPECT_EQ(view.items.size(), kMostFlawsListed);
    EXPECT_EQ(view.more, "+5 more in the full report");
}

TEST_F(FlawListViewTest, TextsFromOutsideStayInTheirPlace) {
    show({{"HIGH", "c", "d", "r", "line 1\n\x1b[2J", "\u202Eevidence"}});
    const auto view = flawListView(model);
    EXPECT_EQ(view.items[0].place.find_first_of("\n\x1b"), std::string::npos);
    EXPECT_EQ(view.items[0].evidence, "evidence");
}

TEST(MisspeltWord, IsOneWordOfTheSpellingRule) {
    EXPECT_EQ(misspeltWord(spelling("teh")), "teh");
    EXPECT_EQ(misspeltWord(spelling("two words")), "");
    EXPECT_EQ(misspeltWord(spelling("cut…")), "");
    EXPECT_EQ(misspeltWord(spelling("#x")), "");
    EXPECT_EQ(misspeltWord({"HIGH", "c", "d", "text.grammar", "line 1", "teh"}), "");
}

TEST(FlawText, HoldsWhatIsKnownOnce) {
    EXPECT_EQ(flawText(spelling("teh")), "MEDIUM: Spelling: “teh” is misspelt. (line 3)");
    EXPECT_EQ(flawText({"", "", "d", "", "", "evidence"}), "d: “evidence”");
    EXPECT_EQ(flawsText({{"LOW", "c", "one"}, {"LOW", "c", "two"}}), "LOW: c: one\nLOW: c: two\n");
}

} // namespace
} // namespace kelvane
