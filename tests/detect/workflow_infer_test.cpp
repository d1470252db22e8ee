#include "detect/workflow_infer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelvane {
namespace {

using WorkflowInfer::append;
using WorkflowInfer::infer;

WorkflowEvent event(const std::string& id, const std::string& modality = "text") {
    return {.appId = id, .name = "The " + id, .category = "any", .modality = modality};
}

std::vector<WorkflowEvent> history(const std::vector<std::string>& ids) {
    std::vector<WorkflowEvent> events;
    for (const auto& id : ids) events.push_back(event(id));
    return events;
}

std::vector<WorkflowEvent> appended(const std::vector<std::string>& ids) {
    std::vector<WorkflowEvent> events;
    for (const auto& id : ids) events = append(std::move(events), event(id));
    return events;
}

std::vector<std::string> pipelineOf(const std::vector<std::string>& ids) {
    std::vector<std::string> names;
    for (const auto& step : infer(history(ids), std::nullopt).pipeline) {
        names.push_back(step.name.substr(4)); // without "The "
    }
    return names;
}

using Names = std::vector<std::string>;

TEST(WorkflowAppend, RepeatOfTheLastAppIsCollapsed) {
    EXPECT_EQ(appended({"A", "A", "A", "B"}), history({"A", "B"}));
    EXPECT_EQ(appended({"A", "A", "B", "C"}), history({"A", "B", "C"}));
}

TEST(WorkflowAppend, OnlyTheLastEventIsCompared) {
    EXPECT_EQ(appended({"A", "B", "A"}), history({"A", "B", "A"}));
}

TEST(WorkflowAppend, RepeatIsRecognisedByIdAndLeavesTheOldEvent) {
    auto renamed = event("A", "code");
    renamed.name = "Renamed";
    EXPECT_EQ(append(history({"A"}), renamed), history({"A"}));
    auto namesake = event("B");
    namesake.name = "The A";
    EXPECT_EQ(append(history({"A"}), namesake).size(), 2U);
}

TEST(WorkflowAppend, SeventhDistinctEventPushesTheOldestOut) {
    EXPECT_EQ(appended({"A", "B", "C", "D", "E", "F"}), history({"A", "B", "C", "D", "E", "F"}));
    EXPECT_EQ(appended({"A", "B", "C", "D", "E", "F", "G"}),
              history({"B", "C", "D", "E", "F", "G"}));
}

TEST(WorkflowAppend, LimitIsTheCallers) {
    EXPECT_EQ(append(history({"A", "B", "C"}), event("D"), 2), history({"C", "D"}));
    EXPECT_EQ(append({}, event("A"), 1), history({"A"}));
    EXPECT_TRUE(append(history({"A"}), event("B"), 0).empty());
}

TEST(WorkflowAppend, RepeatLeavesAnOverlongHistoryUnchanged) {
    EXPECT_EQ(append(history({"A", "B", "C"}), event("C"), 2), history({"A", "B", "C"}));
}

TEST(WorkflowInferNode, IsTheFirstNodeOfTheCurrentApp) {
    CatalogApp app;
    app.workflowNodes = {"draft", "review"};
    EXPECT_EQ(infer({}, app).node, "draft");
    EXPECT_EQ(infer(history({"A", "B"}), app).node, "draft");
}

TEST(WorkflowInferNode, IsADashWithoutAnAppOrWithoutNodes) {
    EXPECT_EQ(infer(history({"A"}), std::nullopt).node, "\u2014");
    EXPECT_EQ(infer(history({"A"}), CatalogApp()).node, "\u2014");
}

TEST(WorkflowInferPipeline, EmptyHistoryGivesNoneAndIsNotMultiModal) {
    const auto state = infer({}, std::nullopt);
    EXPECT_TRUE(state.pipeline.empty());
    EXPECT_FALSE(state.multiModal);
    EXPECT_EQ(state, WorkflowState());
}

TEST(WorkflowInferPipeline, EachAppStandsAtItsMostRecentPlace) {
    EXPECT_EQ(pipelineOf({"A", "B", "A", "C"}), (Names{"B", "A", "C"}));
    EXPECT_EQ(pipelineOf({"A", "B", "A"}), (Names{"B", "A"}));
    EXPECT_EQ(pipelineOf({"C", "A", "B", "A"}), (Names{"C", "B", "A"})) << "past what was taken";
}

TEST(WorkflowInferPipeline, HoldsTheFourMostRecentOldestFirst) {
    EXPECT_EQ(pipelineOf({"A", "B", "C", "D"}), (Names{"A", "B", "C", "D"}));
    EXPECT_EQ(pipelineOf({"A", "B", "C", "D", "E"}), (Names{"B", "C", "D", "E"}));
    EXPECT_EQ(pipelineOf({"A", "B", "C", "D", "A", "E"}), (Names{"C", "D", "A", "E"}));
}

TEST(WorkflowInferPipeline, TakesNameAndModalityOfTheNewestEvent) {
    auto older = event("A", "text");
    older.name = "Old name";
    const auto state = infer({older, event("B"), event("A", "code")}, std::nullopt);
    EXPECT_EQ(state.pipeline, (std::vector<WorkflowStep>{{.name = "The B", .modality = "text"},
                                                         {.name = "The A", .modality = "code"}}));
}

TEST(WorkflowInferMultiModal, NeedsTwoModalitiesInThePipeline) {
    EXPECT_TRUE(infer({event("A", "document"), event("B", "code")}, std::nullopt).multiModal);
    EXPECT_FALSE(infer({event("A", "code"), event("B", "code")}, std::nullopt).multiModal);
    EXPECT_FALSE(infer({event("A", "code")}, std::nullopt).multiModal);
    EXPECT_TRUE(infer({event("A", "Code"), event("B", "code")}, std::nullopt).multiModal);
}

TEST(WorkflowInferMultiModal, LooksAtThePipelineNotAtTheHistory) {
    // The only other modality is that of an app pushed out, or of an event superseded.
    EXPECT_FALSE(
        infer({event("A", "image"), event("B"), event("C"), event("D"), event("E")}, std::nullopt)
            .multiModal);
    EXPECT_FALSE(
        infer({event("A", "image"), event("B"), event("A", "text")}, std::nullopt).multiModal);
}

TEST(WorkflowInferPipeline, CurrentAppHasNoPartInIt) {
    CatalogApp app;
    app.id = "Z";
    app.name = "The Z";
    app.primaryModality = "audio";
    EXPECT_EQ(infer(history({"A"}), app).pipeline, infer(history({"A"}), std::nullopt).pipeline);
    EXPECT_FALSE(infer(history({"A"}), app).multiModal);
}

TEST(WorkflowStateEquality, ComparesNodeFlagAndPipelineInOrder) {
    const WorkflowState state{
        .node = "n",
        .pipeline = {{.name = "A", .modality = "x"}, {.name = "B", .modality = "y"}},
        .multiModal = true};
    auto other = state;
    EXPECT_EQ(state, other);
    other.node = "m";
    EXPECT_NE(state, other);
    other = state;
    other.multiModal = false;
    EXPECT_NE(state, other);
    other = state;
    std::swap(other.pipeline[0], other.pipeline[1]);
    EXPECT_NE(state, other);
    other = state;
    other.pipeline.pop_back();
    EXPECT_NE(state, other);
    EXPECT_NE(other, state);
    other = state;
    other.pipeline[1].modality = "z";
    EXPECT_NE(state, other);
}

TEST(WorkflowStateEquality, IsThatOfTheJoinedTexts) {
    const WorkflowState a{
        .node = "n", .pipeline = {{.name = "A|x", .modality = "y"}}, .multiModal = false};
    const WorkflowState b{
        .node = "n", .pipeline = {{.name = "A", .modality = "x|y"}}, .multiModal = false};
    EXPECT_EQ(a, b);
}

} // namespace
} // namespace kelvane
