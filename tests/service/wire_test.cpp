#include "service/wire.h"

#include "tests/service/bodies.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace trevix {
namespace {

using nlohmann::json;

std::string submitError(const std::string& body) {
    const auto parsed = parseSubmit(body);
    return std::holds_alternative<WireError>(parsed) ? std::get<WireError>(parsed).text : "";
}

std::string iterateError(const std::string& body) {
    const auto parsed = parseIterate(body);
    return std::holds_alternative<WireError>(parsed) ? std::get<WireError>(parsed).text : "";
}

SubmitRequest submitted(const json& body) {
    const auto parsed = parseSubmit(body.dump());
    const auto* error = std::get_if<WireError>(&parsed);
    EXPECT_EQ(error, nullptr) << (error != nullptr ? error->text : "");
    return error == nullptr ? std::get<SubmitRequest>(parsed) : SubmitRequest{};
}

Finding someFinding(std::string evidence) {
    Finding finding;
    finding.severity = Severity::high;
    finding.rule = "text.placeholder";
    finding.criterion = "unfinished text";
    finding.place = "line 3";
    finding.evidence = std::move(evidence);
    finding.detail = "Line 3 holds a placeholder.";
    return finding;
}

Iteration someIteration(int number, std::vector<Finding> findings) {
    Iteration iteration;
    iteration.number = number;
    iteration.createdMs = 1'772'546'709'000 + number * 60'000;
    iteration.band = findings.empty() ? Band::ship : Band::route_to_fix;
    iteration.score = findings.empty() ? 1.0 : 0.8;
    iteration.findings = std::move(findings);
    iteration.coverage = {
        {{"hunspell", "1.7", "spelling"}}, {{"French", "no dictionary", "install one"}}, true};
    return iteration;
}

TEST(ParseSubmit, TakesWhatAClientSends) {
    json body = submitObject("hello");
    body["vertical"] = "writing";
    body["policy_id"] = "strict";
    body["something_new"] = {{"from", "a later client"}};
    const SubmitRequest request = submitted(body);
    EXPECT_EQ(request.submission.modality, "text");
    EXPECT_EQ(request.submission.vertical, "writing");
    EXPECT_EQ(request.submission.intent, "Validate this Editor work before it ships.");
    EXPECT_EQ(request.policyId, "strict");
    ASSERT_EQ(request.submission.parts.size(), 1U);
    EXPECT_EQ(request.submission.parts[0].text, "hello");
    EXPECT_EQ(request.submission.parts[0].mimeType, "text/plain");
    EXPECT_EQ(request.submission.parts[0].name, "selection");
    EXPECT_TRUE(request.submission.parts[0].isText);
}

TEST(ParseSubmit, VerticalAndPolicyMayBeMissingAndPartsMayBeNone) {
    json body = submitObject("");
    body["artifact_parts"] = json::array();
    const SubmitRequest request = submitted(body);
    EXPECT_EQ(request.submission.vertical, "");
    EXPECT_EQ(request.policyId, "");
    EXPECT_TRUE(request.submission.parts.empty());
}

TEST(ParseSubmit, AnIntentIsCutAfter4000Characters) {
    json body = submitObject("x");
    std::string intent;
    for (int i = 0; i < 5000; ++i) intent += "é";
    body["user_prompt"] = intent;
    EXPECT_EQ(submitted(body).submission.intent, intent.substr(0, 8000));
}

TEST(ParseSubmit, DecodesPictures) {
    json body = submitObject("");
    body["artifact_parts"][0] = {
        {"mime_type", "image/png"}, {"logical_name", "window.png"}, {"data_b64", "iVBORw=="}};
    const auto parts = submitted(body).submission.parts;
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_FALSE(parts[0].isText);
    EXPECT_EQ(parts[0].bytes, "\x89PNG");
    EXPECT_EQ(parts[0].text, "");
}

TEST(ParseSubmit, TextThatCameAsBase64IsText) {
    json body = submitObject("");
    body["artifact_parts"][0] = {
        {"mime_type", "text/csv"}, {"logical_name", "t.csv"}, {"data_b64", "YSxiCg=="}};
    const auto parts = submitted(body).submission.parts;
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_TRUE(parts[0].isText);
    EXPECT_EQ(parts[0].text, "a,b\n");
}

TEST(ParseSubmit, APartWithBothContentsIsJudgedAsBoth) {
    json body = submitObject("caption");
    body["artifact_parts"][0]["mime_type"] = "image/png";
    body["artifact_parts"][0]["data_b64"] = "iVBORw==";
    const auto parts = submitted(body).submission.parts;
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].text, "caption");
    EXPECT_TRUE(parts[0].isText);
    EXPECT_EQ(parts[1].bytes, "\x89PNG");
    EXPECT_FALSE(parts[1].isText);
}

TEST(ParseSubmit, APartWithNeitherContentIsAnEmptyOne) {
    json body = submitObject("");
    body["artifact_parts"][0].erase("text");
    const auto parts = submitted(body).submission.parts;
    ASSERT_EQ(parts.size(), 1U);
    EXPECT_EQ(parts[0].text, "");
    EXPECT_EQ(parts[0].bytes, "");
}

TEST(ParseSubmit, WrongFieldsAreNamed) {
    const struct {
        const char* patch;
        const char* text;
    } cases[] = {
        {R"({"submission": null})", "submission is missing; it must be a string"},
        {R"({"submission": 3})", "submission must be a string"},
        {R"({"submission": "sync"})", "submission must be \"async\""},
        {R"({"modality": null})", "modality is missing; it must be a string"},
        {R"({"modality": []})", "modality must be a string"},
        {R"({"user_prompt": {"a": 1}})", "user_prompt must be a string"},
        {R"({"vertical": false})", "vertical must be a string"},
        {R"({"policy_id": 7})", "policy_id must be a string"},
        {R"({"artifact_parts": null})", "artifact_parts is missing; it must be an array"},
        {R"({"artifact_parts": {"0": {}}})", "artifact_parts must be an array"},
        {R"({"artifact_parts": ["text"]})", "artifact_parts[0] must be an object"},
        {R"({"artifact_parts": [{}]})",
         "artifact_parts[0].mime_type is missing; it must be a string"},
        {R"({"artifact_parts": [{"mime_type": "text/plain"}]})",
         "artifact_parts[0].logical_name is missing; it must be a string"},
        {R"({"artifact_parts": [{"mime_type": "a", "logical_name": "b", "text": 1}]})",
         "artifact_parts[0].text must be a string"},
        {R"({"artifact_parts": [{"mime_type": "a", "logical_name": "b", "data_b64": ["x"]}]})",
         "artifact_parts[0].data_b64 must be a string"},
        {R"({"artifact_parts": [{"mime_type": "a", "logical_name": "b"},
                                {"mime_type": "a", "logical_name": "b", "data_b64": "?!"}]})",
         "artifact_parts[1].data_b64 is not base64"},
        {R"({"artifact_parts": [{"mime_type": "a", "logical_name": "b", "data_b64": "iVBORw"}]})",
         "artifact_parts[0].data_b64 is not base64"},
    };
    for (const auto& [patch, text] : cases) {
        json body = submitObject("x");
        body.merge_patch(json::parse(patch)); // null takes a key away
        EXPECT_EQ(submitError(body.dump()), text);
    }
    json body = submitObject("x");
    body["vertical"] = nullptr;
    EXPECT_EQ(submitError(body.dump()), "vertical must be a string") << "null is not absent";
}

TEST(ParseSubmit, WhatIsNoObjectIsRefused) {
    const struct {
        std::string body;
        const char* text;
    } cases[] = {
        {"", "the body is not valid JSON"},
        {"nonsense", "the body is not valid JSON"},
        {"{\"submission\": \"async\"", "the body is not valid JSON"},
        {"{} {}", "the body is not valid JSON"},
        {"{\"a\": 1e999}", "the body is not valid JSON"},
        {"{\"a\": \"\\ud800\"}", "the body is not valid JSON"},
        {std::string("{}\0", 3), "the body is not valid JSON"},
        {"[]", "the body must be a JSON object"},
        {"\"text\"", "the body must be a JSON object"},
        {"null", "the body must be a JSON object"},
        {"{\"a\": \"\xff\"}", "the body is not valid UTF-8"},
        {"{\"a\": \"\xc0\xaf\"}", "the body is not valid UTF-8"},
    };
    for (const auto& [body, text] : cases) {
        EXPECT_EQ(submitError(body), text) << body;
        EXPECT_EQ(iterateError(body), text) << body;
    }
}

TEST(ParseSubmit, NestingEndsAt512Levels) {
    const auto opened = [](std::size_t arrays) { return std::string(arrays, '['); };
    const auto nested = [&](std::size_t arrays) {
        std::string body = submitObject("x").dump();
        body.pop_back();
        return body + R"(,"extra":)" + opened(arrays) + std::string(arrays, ']') + "}";
    };
    EXPECT_EQ(submitError(nested(511)), "");
    EXPECT_EQ(submitError(nested(512)), "the body is nested more than 512 levels deep");
    EXPECT_EQ(submitError(opened(10'000'000)), "the body is nested more than 512 levels deep");
    EXPECT_EQ(submitError(submitBody(std::string(1000, '[') + "\\\"" + std::string(1000, '{'))), "")
        << "brackets inside a text nest nothing";
}

TEST(ParseSubmit, ACrowdOfValuesIsRefused) {
    std::string crowd = "{\"a\":[0";
    for (int i = 0; i < 200'000; ++i) crowd += ",0";
    EXPECT_EQ(submitError(crowd + "]}"), "the body holds more than 100000 values");
    EXPECT_EQ(submitError(submitBody(std::string(200'000, ','))), "");
}

TEST(ParseIterate, TakesWhatAClientSends) {
    const auto parsed = parseIterate(iterateBody("better"));
    ASSERT_TRUE(std::holds_alternative<IterateRequest>(parsed));
    const auto& request = std::get<IterateRequest>(parsed);
    EXPECT_EQ(request.submission.intent, "Validate this Editor work before it ships.");
    ASSERT_EQ(request.submission.parts.size(), 1U);
    EXPECT_EQ(request.submission.parts[0].text, "better");
}

TEST(ParseIterate, WrongFieldsAreNamed) {
    const struct {
        const char* patch;
        const char* text;
    } cases[] = {
        {R"({"decision": null})", "decision is missing; it must be a string"},
        {R"({"decision": "ship"})", "decision must be \"re_prompt\""},
        {R"({"user_prompt": null})", "user_prompt is missing; it must be a string"},
        {R"({"new_artifact_parts": null})", "new_artifact_parts is missing; it must be an array"},
        {R"({"new_artifact_parts": [7]})", "new_artifact_parts[0] must be an object"},
    };
    for (const auto& [patch, text] : cases) {
        json body = iterateObject("x");
        body.merge_patch(json::parse(patch));
        EXPECT_EQ(iterateError(body.dump()), text);
    }
}

TEST(StatusJson, SaysHowFarAJobIs) {
    JobStatus status;
    status.warming = true;
    status.position = 3;
    EXPECT_EQ(json::parse(statusJson(status)),
              json::parse(R"({"status":"queued","progress":{"warming":true,"position":3}})"));
    status = {};
    status.state = JobState::running;
    EXPECT_EQ(json::parse(statusJson(status)),
              json::parse(R"({"status":"running","progress":{"warming":false,"position":0}})"));
    status.progress = {1, 3, {"trevix", "cppcheck"}};
    EXPECT_EQ(json::parse(statusJson(status)),
              json::parse(R"({"status":"running","progress":{"warming":false,"position":0,
                              "done":1,"of":3,"running":["trevix","cppcheck"]}})"));
    status.state = JobState::failed;
    status.error = "why";
    EXPECT_EQ(json::parse(statusJson(status)), json::parse(R"({"status":"failed","error":"why",
                              "progress":{"warming":false,"position":0}})"));
}

TEST(StatusJson, WhatIsDismissedIsTold) {
    JobStatus status;
    status.state = JobState::completed;
    status.result = someIteration(0, {});
    status.result->dismissed = {{someFinding("TODO"), "mine", "2026-03-03T14:05:09Z", false},
                                {someFinding("x"), "", "", true}};
    const json dismissed = json::parse(statusJson(status)).at("result_summary").at("dismissed");
    ASSERT_EQ(dismissed.size(), 2U);
    EXPECT_EQ(dismissed[0].at("reason"), "mine");
    EXPECT_EQ(dismissed[0].at("evidence"), "TODO");
    EXPECT_EQ(dismissed[0].at("dismissed_at"), "2026-03-03T14:05:09Z");
    EXPECT_EQ(dismissed[1].at("reason"), "the word is in the dictionary");
}

TEST(Dismissals, AreReadStrictlyAndToldWhole) {
    const auto one = parseDismissal(
        R"({"rule":"r","evidence":"see line 12","place":"p","reason":"why","other":1})");
    ASSERT_TRUE(std::holds_alternative<Dismissal>(one));
    EXPECT_EQ(std::get<Dismissal>(one), (Dismissal{"r", "see line #", "p", "why", ""}));
    EXPECT_TRUE(std::holds_alternative<WireError>(parseDismissal(R"({"rule":3})")));
    EXPECT_TRUE(std::holds_alternative<WireError>(parseWord(R"({"word":3})")));
    EXPECT_EQ(std::get<std::string>(parseWord(R"({"word":"w"})")), "w");
    EXPECT_EQ(json::parse(dismissalsJson({{"r", "e", "p", "why", "when"}})),
              json::parse(R"({"dismissals":[{"rule":"r","evidence":"e","place":"p",
                              "reason":"why","dismissed_at":"when"}]})"));
}

TEST(StatusJson, HoldsTheVerdictOfACompletedJob) {
    JobStatus status;
    status.state = JobState::completed;
    status.runId = "run_1";
    status.result = someIteration(0, {someFinding("TODO")});
    EXPECT_EQ(json::parse(statusJson(status)), json::parse(R"({
        "status": "completed", "run_id": "run_1",
        "progress": {"warming": false, "position": 0},
        "result_summary": {
            "band": "route_to_fix", "decision": "route_to_fix", "score": 0.8, "findings": 1,
            "flaws": [{"severity": "HIGH", "criterion": "unfinished text",
                       "detail": "Line 3 holds a placeholder.", "rule": "text.placeholder",
                       "place": "line 3", "evidence": "TODO"}],
            "checked_by": [{"engine": "hunspell", "version": "1.7", "knows": "spelling"}],
            "dismissed": [], "not_checked": [{"what": "French", "why": "no dictionary",
                             "remedy": "install one"}]}})"));
}

TEST(RunJson, HoldsTheLatestVerdictTheOriginalAndEveryRevision) {
    const RunRecord run{
        "run_1", "text", "", "", {someIteration(0, {someFinding("TODO")}), someIteration(1, {})}};
    const json answer = json::parse(runJson(run)).at("run");
    EXPECT_EQ(answer.at("id"), "run_1");
    EXPECT_EQ(answer.at("created"), "2026-03-03T14:05:09Z");
    EXPECT_EQ(answer.at("band"), "ship");
    EXPECT_EQ(answer.at("score"), 1.0);
    EXPECT_EQ(answer.at("flaws"), json::array());
    EXPECT_EQ(answer.at("original").at("band"), "route_to_fix");
    EXPECT_EQ(answer.at("original").at("flaws").size(), 1U);
    ASSERT_EQ(answer.at("iterations").size(), 1U);
    const json& revision = answer.at("iterations").at(0);
    EXPECT_EQ(revision.at("number"), 1);
    EXPECT_EQ(revision.at("created"), "2026-03-03T14:06:09Z");
    EXPECT_EQ(revision.at("critic_verdict").at("band"), "ship");
    EXPECT_EQ(revision.at("fixed").size(), 1U);
    EXPECT_EQ(revision.at("remaining"), json::array());
    EXPECT_EQ(revision.at("new"), json::array());
    EXPECT_EQ(json::parse(iterationJson(run, 1)).at("iteration"), revision);
}

TEST(WireText, ThatIsNotUtf8NeverBreaksAnAnswer) {
    JobStatus status;
    status.state = JobState::completed;
    status.result = someIteration(0, {someFinding("bad \xff byte")});
    EXPECT_EQ(json::parse(statusJson(status))["result_summary"]["flaws"][0]["evidence"],
              "bad \ufffd byte");
    EXPECT_EQ(json::parse(errorJson("\xff")).at("error"), "\ufffd");
}

} // namespace
} // namespace trevix
