#include "eval/eval_bridge.h"

#include "eval/grade_ticket.h"
#include "eval/service_address.h"
#include "platform/fake/fakes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kelvane {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* kUnreachable = "could not reach the eval API";
constexpr const char* kAuthorizedNot = "not authorized — check your Trevix key (HTTP ";
constexpr const char* kSubmitted = R"({"job_id":"j1"})";
constexpr const char* kRunning = R"({"status":"running"})";
constexpr const char* kShipped =
    R"({"status":"completed","run_id":"r1","result_summary":{"band":"ship","score":0.9,)"
    R"("flaws":[{"severity":"low","criterion":"c","detail":"d"}]}})";

using Answer = std::optional<HttpResponse>;

Answer ok(std::string body) {
    return HttpResponse{200, std::move(body)};
}

class EvalBridgeTest : public testing::Test {
protected:
    EvalBridgeTest() {
        machine.environment.variables["BRASK_API_BASE"] = "https://service.test";
        machine.http.answer = [this](const HttpRequest&) -> Answer {
            EXPECT_FALSE(answers.empty()) << "a request that the test does not expect";
            if (answers.empty()) return std::nullopt;
            Answer answer = answers.front();
            if (answers.size() > 1 || !lastAnswerStays) answers.pop_front();
            return answer;
        };
    }

    Verdict grade(double deadlineSec = EvalBridge::kDeadlineSec) {
        return EvalBridge::grade(ports, parts, "text", vertical, policyId, intent, "the key",
                                 deadlineSec);
    }

    Verdict iterate() { return EvalBridge::iterate(ports, "r7", parts, intent, "the key"); }

    [[nodiscard]] json sentBody(std::size_t index = 0) const {
        return json::parse(machine.http.requests.at(index).body.value());
    }

    [[nodiscard]] std::vector<std::string> exchanges() const {
        std::vector<std::string> lines;
        for (const HttpRequest& request : machine.http.requests) {
            lines.push_back(request.method + " " + request.url);
        }
        return lines;
    }

    FakePlatform machine;
    EvalBridge::Ports ports{machine.environment, machine.http, machine.clock};
    std::deque<Answer> answers;
    bool lastAnswerStays = false;

    std::vector<ArtifactPart> parts{
        {.mimeType = "text/plain", .text = "work", .dataB64 = std::nullopt, .logicalName = "sel"}};
    std::optional<std::string> vertical;
    std::optional<std::string> policyId;
    std::string intent = "Validate this.";
};

// ---- the key

class ApiKey : public testing::Test {
protected:
    std::optional<std::string> apiKey() {
        return EvalBridge::apiKey(machine.environment, machine.files, "/home/me");
    }
    FakePlatform machine;
};

TEST_F(ApiKey, TheEnvironmentVariableIsTakenAsItStands) {
    machine.files.files["/home/me/.brask/key"] = "from file";
    for (const char* value : {"k", " ", " k\n"}) {
        machine.environment.variables["BRASK_API_KEY"] = value;
        EXPECT_EQ(apiKey(), value);
    }
    EXPECT_EQ(machine.journal.count("read"), 0U);
}

TEST_F(ApiKey, AnEmptyVariableGivesWayToTheKeyFile) {
    machine.environment.variables["BRASK_API_KEY"] = "";
    machine.files.files["/home/me/.brask/key"] = "from file";
    EXPECT_EQ(apiKey(), "from file");
}

TEST_F(ApiKey, TheKeyFileIsTrimmedAtBothEnds) {
    machine.files.files["/home/me/.brask/key"] = "\n \t\xC2\xA0\xE2\x80\xA9k e\ny\r\n\xC2\x85 ";
    EXPECT_EQ(apiKey(), "k e\ny");
}

TEST_F(ApiKey, AByteOrderMarkBeforeTheKeyIsNoPartOfIt) {
    machine.files.files["/home/me/.brask/key"] = "\xEF\xBB\xBF k\n";
    EXPECT_EQ(apiKey(), "k");
    machine.files.files["/home/me/.brask/key"] = "k\xEF\xBB\xBF";
    EXPECT_EQ(apiKey(), "k\xEF\xBB\xBF");
}

TEST_F(ApiKey, AKeyFileOfOnlyANewlineGivesNoKey) {
    for (const char* content : {"\n", "", " \t\r\n", "\xEF\xBB\xBF", "\xEF\xBB\xBF\r\n"}) {
        machine.files.files["/home/me/.brask/key"] = content;
        EXPECT_EQ(apiKey(), std::nullopt);
    }
}

TEST_F(ApiKey, IsAbsentWithoutVariableAndFile) {
    EXPECT_EQ(apiKey(), std::nullopt);
}

TEST_F(ApiKey, IsAbsentWhenTheFileCannotBeRead) {
    machine.files.files["/home/me/.brask/key"] = "k";
    machine.files.unreadable.insert("/home/me/.brask/key");
    EXPECT_EQ(apiKey(), std::nullopt);
}

TEST_F(ApiKey, IsAbsentWhenTheFileIsNotUtf8) {
    machine.files.files["/home/me/.brask/key"] = "k\xFF";
    EXPECT_EQ(apiKey(), std::nullopt);
}

TEST_F(ApiKey, IsExposedInAFileThatOthersMayOpenUnlessTheVariableHoldsIt) {
    const auto isExposed = [&] {
        return EvalBridge::isKeyExposed(machine.environment, machine.files, "/home/me");
    };
    EXPECT_FALSE(isExposed()) << "there is no file";
    machine.files.files["/home/me/.brask/key"] = "k";
    EXPECT_FALSE(isExposed()) << "nobody else may open it";
    machine.files.guards["/home/me/.brask/key"] = {.othersRead = true};
    EXPECT_TRUE(isExposed());
    machine.environment.variables["BRASK_API_KEY"] = "";
    EXPECT_TRUE(isExposed());
    machine.environment.variables["BRASK_API_KEY"] = "k";
    EXPECT_FALSE(isExposed());
}

// ---- the base URL

TEST(Base, IsTheBuiltInOneWithoutTheVariable) {
    FakeEnvironment environment;
    EXPECT_EQ(EvalBridge::base(environment), kServiceBase);
    EXPECT_TRUE(EvalBridge::base(environment).starts_with("https://"));
    EXPECT_FALSE(EvalBridge::base(environment).ends_with('/'));
}

TEST(Base, IsTheVariableWithoutBlanksAndTrailingSlashes) {
    FakeEnvironment environment;
    for (const auto& [value, base] : std::vector<std::pair<const char*, const char*>>{
             {"https://x.test", "https://x.test"},
             {" https://x.test//", "https://x.test"},
             {"\t https://x.test/ \t", "https://x.test"},
             {"https://x.test/sub//a///", "https://x.test/sub//a"},
             {"https://x.test/\n", "https://x.test/\n"},
             {"https://x.test/ /", "https://x.test/ "},
             {"\xC2\xA0https://x.test", "\xC2\xA0https://x.test"},
             {"///", ""},
             {"", ""},
             {" \t ", ""}}) {
        environment.variables["BRASK_API_BASE"] = value;
        EXPECT_EQ(EvalBridge::base(environment), base) << value;
    }
}

TEST_F(EvalBridgeTest, ABaseWithABlankAndTwoSlashesGivesOneSlashInTheJobUrl) {
    machine.environment.variables["BRASK_API_BASE"] = " https://x.test//";
    answers = {ok(kSubmitted), ok(kShipped)};
    static_cast<void>(grade());
    EXPECT_THAT(exchanges(), ElementsAre("POST https://x.test/api/v1/eval/jobs",
                                         "GET https://x.test/api/v1/eval/jobs/j1"));
}

TEST_F(EvalBridgeTest, ABaseOfOnlyBlanksMakesEveryRequestUnreachable) {
    machine.environment.variables["BRASK_API_BASE"] = "   ";
    EXPECT_EQ(grade(), Verdict::failure(kUnreachable));
    EXPECT_EQ(iterate(), Verdict::failure(kUnreachable));
}

TEST_F(EvalBridgeTest, TheBaseIsReadAgainForEveryRequest) {
    machine.http.answer = [this](const HttpRequest& request) -> Answer {
        machine.environment.variables["BRASK_API_BASE"] = "https://second.test";
        return ok(request.method == "POST" ? kSubmitted : kShipped);
    };
    static_cast<void>(grade());
    EXPECT_THAT(exchanges(), ElementsAre("POST https://service.test/api/v1/eval/jobs",
                                         "GET https://second.test/api/v1/eval/jobs/j1"));
}

// ---- the request

TEST_F(EvalBridgeTest, ASubmissionCarriesExactlyTheStatedHeadersAndTimeout) {
    answers = {std::nullopt};
    static_cast<void>(grade());
    const HttpRequest& request = machine.http.requests.at(0);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, 30s);
    EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                   {"Authorization", "Bearer the key"},
                                   {"Accept", "application/json"},
                                   {"User-Agent", "Kelvane-Companion"},
                                   {"Content-Type", "application/json"}}));
}

TEST_F(EvalBridgeTest, AStatusRequestHasNeitherBodyNorContentType) {
    answers = {ok(kSubmitted), ok(kShipped)};
    static_cast<void>(grade());
    const HttpRequest& request = machine.http.requests.at(1);
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.timeout, 30s);
    EXPECT_EQ(request.body, std::nullopt);
    EXPECT_EQ(request.headers, (std::vector<std::pair<std::string, std::string>>{
                                   {"Authorization", "Bearer the key"},
                                   {"Accept", "application/json"},
                                   {"User-Agent", "Kelvane-Companion"}}));
}

TEST_F(EvalBridgeTest, TheBodyIsCompactJson) {
    answers = {std::nullopt};
    parts.clear();
    intent = "a b";
    static_cast<void>(grade());
    EXPECT_EQ(
        machine.http.requests.at(0).body,
        R"({"artifact_parts":[],"modality":"text","submission":"async","user_prompt":"a b"})");
}

TEST_F(EvalBridgeTest, ABodyThatCannotBeSerialisedIsLeftOutAndItsHeaderStays) {
    answers = {std::nullopt};
    parts[0].text = "broken \xFF";
    EXPECT_EQ(grade(), Verdict::failure(kUnreachable));
    const HttpRequest& request = machine.http.requests.at(0);
    EXPECT_EQ(request.body, std::nullopt);
    EXPECT_EQ(request.headers.back(),
              std::pair(std::string("Content-Type"), std::string("application/json")));
}

TEST_F(EvalBridgeTest, TheSubmissionHoldsModalityIntentAndPartsInOrder) {
    answers = {std::nullopt};
    parts = {{.mimeType = "image/png",
              .text = std::nullopt,
              .dataB64 = "AAAA",
              .logicalName = "screenshot"},
             {.mimeType = "text/plain",
              .text = "",
              .dataB64 = std::nullopt,
              .logicalName = "selection"}};
    static_cast<void>(grade());
    EXPECT_EQ(sentBody(), json::parse(R"({"submission":"async","modality":"text",
        "user_prompt":"Validate this.","artifact_parts":[
        {"mime_type":"image/png","logical_name":"screenshot","data_b64":"AAAA"},
        {"mime_type":"text/plain","logical_name":"selection","text":""}]})"));
}

TEST_F(EvalBridgeTest, TheVerticalIsSentWhenGivenEvenWhenEmpty) {
    answers = {std::nullopt, std::nullopt, std::nullopt};
    static_cast<void>(grade());
    EXPECT_FALSE(sentBody(0).contains("vertical"));
    vertical = "";
    static_cast<void>(grade());
    EXPECT_EQ(sentBody(1).at("vertical"), "");
    vertical = "legal";
    static_cast<void>(grade());
    EXPECT_EQ(sentBody(2).at("vertical"), "legal");
}

TEST_F(EvalBridgeTest, ThePolicyIsSentOnlyWhenNotEmpty) {
    answers = {std::nullopt, std::nullopt, std::nullopt};
    static_cast<void>(grade());
    EXPECT_FALSE(sentBody(0).contains("policy_id"));
    policyId = "";
    static_cast<void>(grade());
    EXPECT_FALSE(sentBody(1).contains("policy_id"));
    policyId = "p1";
    static_cast<void>(grade());
    EXPECT_EQ(sentBody(2).at("policy_id"), "p1");
}

TEST_F(EvalBridgeTest, AnIntentOf5000CharactersIsSentAsItsFirst4000) {
    answers = {std::nullopt, std::nullopt};
    intent = std::string(5000, 'x');
    static_cast<void>(grade());
    static_cast<void>(iterate());
    EXPECT_EQ(sentBody(0).at("user_prompt"), std::string(4000, 'x'));
    EXPECT_EQ(sentBody(1).at("user_prompt"), std::string(4000, 'x'));
}

TEST_F(EvalBridgeTest, TheIntentIsCutBetweenCharactersAsPeopleSeeThem) {
    answers = {std::nullopt};
    const std::string family = "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7"; // two joined
    intent.clear();
    std::string expected;
    for (int i = 0; i < 4001; ++i) {
        if (i == 4000) expected = intent;
        intent += family;
    }
    static_cast<void>(grade());
    EXPECT_EQ(sentBody().at("user_prompt"), expected);
}

TEST_F(EvalBridgeTest, IdsAreAppendedAsGiven) {
    answers = {ok(R"({"job_id":"a/../b c?d#e%"})"), ok(R"({"status":"completed","run_id":"r /?"})"),
               ok("{}")};
    static_cast<void>(grade());
    EXPECT_THAT(exchanges(), ElementsAre("POST https://service.test/api/v1/eval/jobs",
                                         "GET https://service.test/api/v1/eval/jobs/a/../b c?d#e%",
                                         "GET https://service.test/api/v1/eval/runs/r /?"));
}

// ---- keys that must not travel

TEST_F(EvalBridgeTest, AKeyWithALineBreakOrNulIsNeverSentAndSaysWhy) {
    const Verdict unusable = Verdict::failure(
        "the service key holds a line break \u2014 check BRASK_API_KEY or ~/.brask/key");
    for (const std::string& key :
         {std::string("a\nb"), std::string("a\r"), std::string("a\0b", 3), std::string("\n")}) {
        EXPECT_EQ(EvalBridge::grade(ports, parts, "text", vertical, policyId, intent, key),
                  unusable);
        EXPECT_EQ(EvalBridge::iterate(ports, "r7", parts, intent, key), unusable);
        EXPECT_EQ(EvalBridge::resume(ports, "j1", key, 100), unusable);
        EvalBridge::cancelJob(ports, "j1", key);
    }
    EXPECT_THAT(machine.http.requests, IsEmpty());
}

TEST_F(EvalBridgeTest, AKeyOfALocalServiceHasToBeProvedFirst) {
    lastAnswerStays = true;
    answers = {std::nullopt};
    static_cast<void>(grade());
    EXPECT_EQ(machine.http.requests.back().keyToProve, std::nullopt);
    for (const char* base : {"http://127.0.0.1:8797", "https://service.test",
                             "http+unix://%2Frun%2Fa.sock", "http://10.0.0.5"}) {
        machine.environment.variables["BRASK_API_BASE"] = base;
        static_cast<void>(
            EvalBridge::grade(ports, parts, "text", vertical, policyId, intent, "trevix_local_1"));
        EXPECT_EQ(machine.http.requests.back().keyToProve, "trevix_local_1") << base;
    }
}

// ---- addresses that are not encrypted

class PlainHttpBase : public EvalBridgeTest {
protected:
    PlainHttpBase() {
        machine.environment.variables["BRASK_API_BASE"] = "http://10.0.0.5:8797/base";
        ports.mayGoUnencrypted = [this](const std::string& address) {
            asked.push_back(address);
            return isAllowed;
        };
    }
    const Verdict refused =
        Verdict::failure("nothing was sent: http://10.0.0.5:8797 is not encrypted "
                         "and was not allowed \u2014 see ~/.brask/plain-http");
    bool isAllowed = true;
    std::vector<std::string> asked;
};

TEST_F(PlainHttpBase, IsAskedAboutBeforeAnythingIsSent) {
    isAllowed = false;
    EXPECT_EQ(grade(), refused);
    EXPECT_EQ(iterate(), refused);
    EvalBridge::cancelJob(ports, "j1", "the key");
    EXPECT_THAT(machine.http.requests, IsEmpty());
    EXPECT_THAT(asked, testing::Each("http://10.0.0.5:8797"));
}

TEST_F(PlainHttpBase, ThatIsAllowedIsUsed) {
    answers = {ok(kSubmitted), ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(PlainHttpBase, IsRefusedWhereNobodyCanBeAsked) {
    ports.mayGoUnencrypted = nullptr;
    EXPECT_EQ(grade(), refused);
    EXPECT_EQ(iterate(), refused);
    EXPECT_THAT(machine.http.requests, IsEmpty());
}

TEST_F(PlainHttpBase, ThatComesUpDuringAGradeIsSentNothing) {
    isAllowed = false;
    machine.environment.variables["BRASK_API_BASE"] = "https://service.test";
    machine.http.answer = [this](const HttpRequest&) -> Answer {
        machine.environment.variables["BRASK_API_BASE"] = "http://10.0.0.5:8797";
        return ok(kSubmitted);
    };
    EXPECT_EQ(grade(), Verdict::failure("grade timed out after 420s"));
    EXPECT_THAT(machine.http.requests, SizeIs(1));
}

TEST_F(PlainHttpBase, NobodyIsAskedAboutThisMachineOrAnEncryptedAddress) {
    lastAnswerStays = true;
    answers = {std::nullopt};
    for (const char* base : {"http://127.0.0.1:8797", "http://localhost", "https://service.test",
                             "http+unix://%2Frun%2Fa.sock", ""}) {
        machine.environment.variables["BRASK_API_BASE"] = base;
        EXPECT_EQ(grade(), Verdict::failure(kUnreachable)) << base;
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(PlainHttpBase, AKeyOfALocalServiceIsNotAskedAboutAndNotSentThere) {
    answers = {std::nullopt};
    EXPECT_EQ(EvalBridge::grade(ports, parts, "text", vertical, policyId, intent, "trevix_local_1"),
              Verdict::failure(kUnreachable));
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_EQ(machine.http.requests.at(0).keyToProve,
              "trevix_local_1"); // which no session does there
}

// ---- submitting

TEST_F(EvalBridgeTest, AnUnreachableSubmissionFails) {
    answers = {std::nullopt};
    EXPECT_EQ(grade(), Verdict::failure(kUnreachable));
    EXPECT_THAT(machine.clock.sleeps, IsEmpty());
}

TEST_F(EvalBridgeTest, ASuccessThatIsNoJsonObjectCountsAsUnreachable) {
    for (const std::string& body :
         {std::string(), std::string("<html>"), std::string("[]"), std::string("\"x\""),
          std::string("null"), std::string("{\"job_id\":\"j\xFF\"}"), std::string("{} \0", 4),
          std::string("{\"job_id\":") + std::string(100'000, '[')}) {
        for (const int status : {0, 200, 204, 302, 399}) {
            answers = {HttpResponse{status, body}};
            EXPECT_EQ(grade(), Verdict::failure(kUnreachable))
                << status << " " << body.substr(0, 30);
        }
    }
}

TEST_F(EvalBridgeTest, AStatusOfZeroCountsAsSuccess) {
    answers = {HttpResponse{0, kSubmitted}, ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
}

TEST_F(EvalBridgeTest, ASubmissionWithoutJobIdAndErrorSaysSo) {
    for (const char* body : {"{}", R"({"job_id":7})", R"({"job_id":null,"error":7})"}) {
        answers = {ok(body)};
        EXPECT_EQ(grade(), Verdict::failure("no job_id in response")) << body;
    }
}

TEST_F(EvalBridgeTest, ASuccessWithAnErrorTextFailsWithIt) {
    answers = {ok(R"({"error":"quota used up"})")};
    EXPECT_EQ(grade(), Verdict::failure("quota used up"));
}

TEST_F(EvalBridgeTest, AnEmptyErrorTextIsKept) {
    answers = {ok(R"({"error":""})")};
    EXPECT_EQ(grade(), Verdict::failure(""));
}

struct ErrorCase {
    int status;
    const char* body;
    std::string error;
};

TEST_F(EvalBridgeTest, HttpErrorsOnSubmissionAreFoldedIntoTheirText) {
    const std::string no401 = std::string(kAuthorizedNot) + "401)";
    const std::string no403 = std::string(kAuthorizedNot) + "403)";
    const std::vector<ErrorCase> table{
        {401, "", no401},
        {401, "<html>", no401},
        {401, R"({"detail":"d","message":"m"})", no401},
        {403, R"({"detail":"d"})", no403},
        {403, "[]", no403},
        {401, R"({"error":"its own"})", "its own"},
        {403, R"({"error":"its own","detail":"d"})", "its own"},
        {401, R"({"error":7})", "no job_id in response"},
        {403, R"({"error":null})", "no job_id in response"},
        {500, R"({"detail":"d"})", "d"},
        {500, R"({"detail":"d","message":"m"})", "d"},
        {500, R"({"detail":"","message":"m"})", ""},
        {500, R"({"detail":["d"],"message":"m"})", "m"},
        {500, R"({"message":"m"})", "m"},
        {500, R"({"error":"e","detail":"d","message":"m"})", "e"},
        {500, R"({"error":{},"detail":"d"})", "no job_id in response"},
        {500, R"({"detail":7})", "eval API error (HTTP 500)"},
        {500, "", "eval API error (HTTP 500)"},
        {500, "<html>oops</html>", "eval API error (HTTP 500)"},
        {500, "[1]", "eval API error (HTTP 500)"},
        {400, "{}", "eval API error (HTTP 400)"},
        {404, "{}", "eval API error (HTTP 404)"},
        {429, R"({"detail":"slow down"})", "slow down"},
        {402, "{}", "eval API error (HTTP 402)"},
        {599, "{}", "eval API error (HTTP 599)"},
    };
    for (const ErrorCase& c : table) {
        answers = {HttpResponse{c.status, c.body}};
        EXPECT_EQ(grade(), Verdict::failure(c.error)) << c.status << " " << c.body;
    }
}

TEST_F(EvalBridgeTest, A500WithADetailFailsWithThatText) {
    answers = {HttpResponse{500, R"({"detail":"the grader is down"})"}};
    EXPECT_EQ(grade(), Verdict::failure("the grader is down"));
}

TEST_F(EvalBridgeTest, A500ThatIsNotJsonFailsWithItsStatus) {
    answers = {HttpResponse{500, "<html>"}};
    EXPECT_EQ(grade(), Verdict::failure("eval API error (HTTP 500)"));
}

TEST_F(EvalBridgeTest, A403WithADetailStillSaysNotAuthorized) {
    answers = {HttpResponse{403, R"({"detail":"forbidden"})"}};
    EXPECT_EQ(grade(), Verdict::failure("not authorized — check your Trevix key (HTTP 403)"));
}

TEST_F(EvalBridgeTest, AnErrorStatusThatNamesAJobIsPolled) {
    answers = {HttpResponse{503, kSubmitted}, ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
}

// ---- polling

TEST_F(EvalBridgeTest, OneOddValueCostsNoVerdict) {
    for (const char* odd :
         {R"("trace":1e400)", R"("trace":"\ud800")", R"("result_summary2":{"score":-1e999})"}) {
        answers = {
            ok(std::string(R"({"job_id":"j1",)") + odd + "}"),
            ok(std::string(R"({"status":"completed","result_summary":{"band":"ship","flaws":[)"
                           R"({"name":"cut \ud83d"}]},)") +
               odd + "}")};
        const Verdict verdict = grade();
        EXPECT_EQ(verdict.band, Band::ship) << odd;
        EXPECT_EQ(verdict.flaws, (std::vector<Flaw>{{"", "cut \xEF\xBF\xBD", ""}})) << odd;
    }
}

TEST_F(EvalBridgeTest, AScoreThatNoDoubleHoldsIsAbsent) {
    answers = {ok(kSubmitted),
               ok(R"({"status":"completed","result_summary":{"band":"ship","score":1e400}})")};
    EXPECT_EQ(grade(), (Verdict{Band::ship, std::nullopt, {}, std::nullopt, false, std::nullopt}));
}

TEST_F(EvalBridgeTest, AnswersThatKeepBeingUnreadableAreSaidAtTheDeadline) {
    lastAnswerStays = true;
    Verdict expected = Verdict::failure("grade timed out after 420s");
    expected.hint = "The service answers, but not in a way that can be read.";
    for (const int status : {200, 399}) {
        answers = {ok(kSubmitted), HttpResponse{status, "<html>"}};
        EXPECT_EQ(grade(), expected) << status;
    }
}

TEST_F(EvalBridgeTest, AnUnreachableServiceIsNotSaidToAnswer) {
    lastAnswerStays = true;
    answers = {ok(kSubmitted), ok("[]"), ok(kRunning), std::nullopt};
    EXPECT_EQ(grade(), Verdict::failure("grade timed out after 420s"));
}

TEST_F(EvalBridgeTest, AnErrorIsReadAsOneWhateverItSays) {
    lastAnswerStays = true;
    answers = {ok(kSubmitted), HttpResponse{400, "<html>"}};
    EXPECT_EQ(grade(), Verdict::failure("grade timed out after 420s"));
}

TEST_F(EvalBridgeTest, NoStatusRequestLastsLongerThanWhatIsLeft) {
    answers = {ok(kSubmitted), ok(kRunning), ok(kRunning), std::nullopt};
    static_cast<void>(grade(4.0001)); // waits 1.5 s, then 2.5 s
    const auto& sent = machine.http.requests;
    ASSERT_THAT(sent, SizeIs(4));
    EXPECT_EQ(sent[0].timeout, 30s);
    EXPECT_EQ(sent[1].timeout, 4001ms);
    EXPECT_EQ(sent[2].timeout, 2501ms);
    EXPECT_EQ(sent[3].timeout, 1ms);
}

TEST_F(EvalBridgeTest, ACompletedJobGivesItsVerdict) {
    answers = {ok(kSubmitted), ok(kShipped)};
    EXPECT_EQ(grade(), (Verdict{Band::ship, 0.9, {{"LOW", "c", "d"}}, "r1", false, std::nullopt}));
    EXPECT_THAT(machine.clock.sleeps, IsEmpty());
}

// ---- giving up

TEST_F(EvalBridgeTest, AGradeThatIsGivenUpBeforeItBeginsAsksForNothing) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    EXPECT_EQ(ticket.cancel(), std::nullopt);
    EXPECT_EQ(grade(), Verdict::failure("the grade was cancelled"));
    EXPECT_EQ(iterate(), Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(machine.http.requests, IsEmpty());
}

TEST_F(EvalBridgeTest, AGradeThatIsGivenUpWhileItIsSubmittedGivesItsJobUpItself) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    machine.http.answer = [&](const HttpRequest& request) {
        if (request.method == "POST") {
            EXPECT_EQ(ticket.cancel(), std::nullopt);
        }
        return request.method == "POST" ? ok(kSubmitted) : std::nullopt;
    };
    EXPECT_EQ(grade(), Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(exchanges(), ElementsAre("POST https://service.test/api/v1/eval/jobs",
                                         "DELETE https://service.test/api/v1/eval/jobs/j1"));
}

TEST_F(EvalBridgeTest, AGradeThatIsGivenUpBetweenTwoPollsAsksForNothingMore) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    answers = {ok(kSubmitted), ok(kRunning), ok(kRunning), ok(kShipped)};
    machine.clock.onSleep = [&](Instant) {
        if (machine.clock.sleeps.size() == 2) {
            EXPECT_EQ(ticket.cancel(), "j1");
        }
    };
    EXPECT_EQ(grade(), Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(machine.http.requests, SizeIs(3));
}

TEST_F(EvalBridgeTest, AnAnswerThatComesAfterGivingUpIsDropped) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    machine.http.answer = [&](const HttpRequest& request) {
        if (request.method == "GET") {
            EXPECT_EQ(ticket.cancel(), "j1");
        }
        return ok(request.method == "GET" ? kShipped : kSubmitted);
    };
    EXPECT_EQ(grade(), Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, AGradeThatIsOverHasNoJobToGiveUp) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    answers = {ok(kSubmitted), ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_EQ(ticket.cancel(), std::nullopt);
}

TEST_F(EvalBridgeTest, GivingAJobUpIsOneShortRequestOfWhichNothingComes) {
    for (const Answer& answer : {Answer(), ok("{}"), ok("<html>"), Answer(HttpResponse{404, ""}),
                                 Answer(HttpResponse{409, R"({"error":"over"})"})}) {
        machine.http.requests.clear();
        answers = {answer};
        EvalBridge::cancelJob(ports, "j1", "the key");
        ASSERT_THAT(machine.http.requests, SizeIs(1));
        const HttpRequest& request = machine.http.requests[0];
        EXPECT_EQ(request.method + " " + request.url,
                  "DELETE https://service.test/api/v1/eval/jobs/j1");
        EXPECT_EQ(request.headers.at(0),
                  std::make_pair(std::string("Authorization"), std::string("Bearer the key")));
        EXPECT_EQ(request.body, std::nullopt);
        EXPECT_EQ(request.timeout, 5s);
    }
}

TEST(GradeTicket, AJobIsGivenUpByExactlyOneOfTwoThreads) {
    for (int round = 0; round < 200; ++round) {
        GradeTicket ticket;
        bool accepted = false;
        std::thread grading([&] { accepted = ticket.accept("j"); });
        const auto told = ticket.cancel();
        grading.join();
        // Not accepted: the grade gives up. Accepted before: the one who cancels does.
        EXPECT_EQ(accepted, told.has_value());
        EXPECT_TRUE(ticket.cancelled());
        EXPECT_EQ(ticket.cancel(), std::nullopt);
    }
}

TEST_F(EvalBridgeTest, TheStatusIsComparedWithoutRegardToCase) {
    answers = {ok(kSubmitted), ok(R"({"status":"COMPLETED","result_summary":{"band":"block"}})")};
    EXPECT_EQ(grade().band, Band::block);
    answers = {ok(kSubmitted), ok(R"({"status":"Failed"})")};
    EXPECT_EQ(grade(), Verdict::failure("grade failed"));
    answers = {ok(kSubmitted), ok(R"({"status":"CANCELLED"})")};
    EXPECT_EQ(grade(), Verdict::failure("grade cancelled"));
}

TEST_F(EvalBridgeTest, AFailedOrCancelledJobFailsWithItsErrorText) {
    for (const char* status : {"failed", "cancelled"}) {
        answers = {ok(kSubmitted),
                   ok(R"({"status":")" + std::string(status) + R"(","error":"why"})")};
        EXPECT_EQ(grade(), Verdict::failure("why"));
        answers = {ok(kSubmitted), ok(R"({"status":")" + std::string(status) + R"(","error":7})")};
        EXPECT_EQ(grade(), Verdict::failure("grade " + std::string(status)));
    }
}

TEST_F(EvalBridgeTest, AFailedJobIgnoresItsSummaryAndRun) {
    answers = {ok(kSubmitted),
               ok(R"({"status":"failed","run_id":"r1","result_summary":{"band":"ship"}})")};
    EXPECT_EQ(grade(), Verdict::failure("grade failed"));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, SleepsGrowBySecondsUpToSix) {
    answers = {ok(kSubmitted)};
    for (int i = 0; i < 8; ++i) answers.push_back(ok(kRunning));
    answers.push_back(ok(kShipped));
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.clock.sleeps,
                ElementsAre(1500ms, 2500ms, 3500ms, 4500ms, 5500ms, 6000ms, 6000ms, 6000ms));
}

TEST_F(EvalBridgeTest, AnUnreachableStatusRequestIsRetriedWithoutGrowth) {
    answers = {ok(kSubmitted), std::nullopt, std::nullopt, ok(kRunning), std::nullopt,
               ok("<html>"),   ok(kRunning), std::nullopt, ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.clock.sleeps,
                ElementsAre(1500ms, 1500ms, 1500ms, 2500ms, 2500ms, 2500ms, 3500ms));
}

TEST_F(EvalBridgeTest, AnHttpErrorToAStatusRequestCountsAsInProgress) {
    answers = {ok(kSubmitted), HttpResponse{500, R"({"detail":"never shown"})"},
               HttpResponse{401, ""}, ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.clock.sleeps, ElementsAre(1500ms, 2500ms));
}

TEST_F(EvalBridgeTest, HttpErrorsToStatusRequestsEndWithTheTimeoutText) {
    answers = {ok(kSubmitted), HttpResponse{500, R"({"detail":"never shown"})"}};
    lastAnswerStays = true;
    EXPECT_EQ(grade(10), Verdict::failure("grade timed out after 10s"));
}

TEST_F(EvalBridgeTest, AnHttpErrorThatCarriesAStatusIsTakenAtItsWord) {
    answers = {ok(kSubmitted), HttpResponse{500, R"({"status":"failed","error":"why"})"}};
    EXPECT_EQ(grade(), Verdict::failure("why"));
}

TEST_F(EvalBridgeTest, AnyOtherStatusIsInProgress) {
    answers = {ok(kSubmitted),
               ok("{}"),
               ok(R"({"status":7})"),
               ok(R"({"status":""})"),
               ok(R"({"status":"canceled"})"),
               ok(R"({"status":" completed"})"),
               ok(R"({"status":"done"})"),
               ok(kShipped)};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.clock.sleeps, SizeIs(6));
}

TEST_F(EvalBridgeTest, TheDefaultDeadlineIsSevenMinutes) {
    answers = {ok(kSubmitted), ok(kRunning)};
    lastAnswerStays = true;
    EXPECT_EQ(grade(), Verdict::failure("grade timed out after 420s"));
    // 1.5 + 2.5 + 3.5 + 4.5 + 5.5 = 17.5, then 68 sleeps of 6 s: the first moment at or past 420 s.
    EXPECT_THAT(machine.clock.sleeps, SizeIs(5 + 68));
    EXPECT_EQ(machine.clock.time, 425500ms);
}

TEST_F(EvalBridgeTest, TheDeadlineItselfIsTooLate) {
    answers = {ok(kSubmitted), ok(kRunning)};
    EXPECT_EQ(grade(1.5), Verdict::failure("grade timed out after 1s"));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, JustBeforeTheDeadlineOneMoreRequestIsSent) {
    answers = {ok(kSubmitted), ok(kRunning), ok(kShipped)};
    EXPECT_EQ(grade(1.500001).band, Band::ship);
}

TEST_F(EvalBridgeTest, ADeadlineOfZeroSendsNothingAfterTheSubmission) {
    answers = {ok(kSubmitted)};
    EXPECT_EQ(grade(0), Verdict::failure("grade timed out after 0s"));
    EXPECT_THAT(machine.http.requests, SizeIs(1));
    EXPECT_THAT(machine.clock.sleeps, IsEmpty());
}

TEST_F(EvalBridgeTest, ADeadlineInThePastIsTruncatedTowardsZero) {
    answers = {ok(kSubmitted), ok(kSubmitted)};
    EXPECT_EQ(grade(-0.5), Verdict::failure("grade timed out after 0s"));
    EXPECT_EQ(grade(-3.9), Verdict::failure("grade timed out after -3s"));
}

TEST_F(EvalBridgeTest, TheDeadlineCountsFromTheFirstPoll) {
    machine.clock.time = 1000h;
    machine.http.answer = [this](const HttpRequest& request) -> Answer {
        if (request.method == "POST") machine.clock.time += 60s; // a slow submission
        return ok(request.method == "POST" ? kSubmitted : kShipped);
    };
    EXPECT_EQ(grade(10).band, Band::ship);
}

TEST_F(EvalBridgeTest, SlowRequestsCountAgainstTheDeadline) {
    machine.http.answer = [this](const HttpRequest& request) -> Answer {
        machine.clock.time += 30s;
        return ok(request.method == "POST" ? kSubmitted : kRunning);
    };
    EXPECT_EQ(grade(31), Verdict::failure("grade timed out after 31s"));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, AnAnswerPastTheDeadlineStillCounts) {
    machine.http.answer = [this](const HttpRequest& request) -> Answer {
        if (request.method == "GET") machine.clock.time += 500s;
        return ok(request.method == "POST" ? kSubmitted : kShipped);
    };
    EXPECT_EQ(grade().band, Band::ship);
}

TEST_F(EvalBridgeTest, AnUnreachableServiceIsRetriedUntilTheDeadline) {
    answers = {ok(kSubmitted), std::nullopt};
    lastAnswerStays = true;
    EXPECT_EQ(grade(6), Verdict::failure("grade timed out after 6s"));
    EXPECT_THAT(machine.clock.sleeps, ElementsAre(1500ms, 1500ms, 1500ms, 1500ms));
}

TEST_F(EvalBridgeTest, WarmingIsRememberedForTheTimeout) {
    answers = {ok(kSubmitted), ok(R"({"status":"queued","progress":{"warming":true}})"),
               ok(R"({"status":"running","progress":{"warming":false}})"), std::nullopt,
               ok(kRunning)};
    lastAnswerStays = true;
    Verdict expected = Verdict::failure("grade timed out after 20s");
    expected.warming = true;
    EXPECT_EQ(grade(20), expected);
}

TEST_F(EvalBridgeTest, WarmingCountsOnlyAsABooleanOfAnObject) {
    for (const char* progress :
         {R"("warming")", "true", R"({"warming":1})", R"({"warming":"true"})",
          R"({"warming":null})", R"([{"warming":true}])", "{}"}) {
        answers = {ok(kSubmitted), ok(R"({"progress":)" + std::string(progress) + "}")};
        lastAnswerStays = true;
        EXPECT_FALSE(grade(5).warming) << progress;
    }
}

TEST_F(EvalBridgeTest, WarmingOfOneGradeDoesNotReachTheNext) {
    answers = {ok(kSubmitted), ok(R"({"progress":{"warming":true}})")};
    EXPECT_TRUE(grade(1).warming);
    answers = {ok(kSubmitted), ok(kRunning)};
    EXPECT_FALSE(grade(1).warming);
}

TEST_F(EvalBridgeTest, AFinishedGradeDoesNotReportWarming) {
    answers = {ok(kSubmitted), ok(R"({"progress":{"warming":true}})"), ok(kShipped)};
    EXPECT_FALSE(grade().warming);
    answers = {ok(kSubmitted), ok(R"({"progress":{"warming":true}})"),
               ok(R"({"status":"failed"})")};
    EXPECT_FALSE(grade().warming);
}

TEST_F(EvalBridgeTest, ACancelledSleepIsIgnored) {
    answers = {ok(kSubmitted), ok(kRunning), ok(kRunning), ok(kShipped)};
    machine.clock.sleepEnds = {SleepEnd::Cancelled, SleepEnd::Elapsed};
    EXPECT_EQ(grade().band, Band::ship);
    EXPECT_THAT(machine.clock.sleeps, ElementsAre(1500ms, 2500ms));
}

TEST_F(EvalBridgeTest, QuittingEndsTheGradeAtItsWait) {
    answers = {ok(kSubmitted), ok(R"({"progress":{"warming":true}})")};
    machine.clock.sleepEnds = {SleepEnd::Quitting};
    EXPECT_EQ(grade(), Verdict::failure(kUnreachable));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
    EXPECT_THAT(machine.clock.sleeps, SizeIs(1));
}

TEST_F(EvalBridgeTest, QuittingEndsAnUnreachableGradeToo) {
    answers = {ok(kSubmitted), std::nullopt};
    machine.clock.sleepEnds = {SleepEnd::Quitting};
    EXPECT_EQ(grade(), Verdict::failure(kUnreachable));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

// ---- the finished job and its flaws

TEST_F(EvalBridgeTest, ASummaryWithFlawsDoesNotFetchTheRun) {
    answers = {ok(kSubmitted), ok(kShipped)};
    EXPECT_THAT(grade().flaws, SizeIs(1));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, ACompletedJobWithoutFlawsAndRunIdFetchesNothing) {
    answers = {ok(kSubmitted), ok(R"({"status":"completed","result_summary":{"band":"ship"}})")};
    EXPECT_EQ(grade(), (Verdict{Band::ship, std::nullopt, {}, std::nullopt, false, std::nullopt}));
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, ARunIdThatIsANumberIsNoRunId) {
    answers = {ok(kSubmitted), ok(R"({"status":"completed","run_id":7})")};
    EXPECT_EQ(grade(), Verdict{});
    EXPECT_THAT(machine.http.requests, SizeIs(2));
}

TEST_F(EvalBridgeTest, ASummaryOfTheWrongTypeIsEmpty) {
    for (const char* summary : {"[]", "\"ship\"", "null", "7"}) {
        answers = {ok(kSubmitted),
                   ok(R"({"status":"completed","result_summary":)" + std::string(summary) + "}")};
        EXPECT_EQ(grade(), Verdict{}) << summary;
    }
}

class FetchFlaws : public EvalBridgeTest {
protected:
    std::vector<Flaw> fetched(Answer run) {
        answers = {ok(kSubmitted), ok(R"({"status":"completed","run_id":"r1"})"), std::move(run)};
        machine.http.requests.clear();
        const Verdict verdict = grade();
        EXPECT_EQ(verdict.error, std::nullopt);
        EXPECT_EQ(verdict.runId, "r1");
        EXPECT_THAT(machine.http.requests, SizeIs(3));
        EXPECT_EQ(machine.http.requests.back().method, "GET");
        EXPECT_EQ(machine.http.requests.back().url, "https://service.test/api/v1/eval/runs/r1");
        EXPECT_EQ(machine.http.requests.back().body, std::nullopt);
        return verdict.flaws;
    }
    const std::vector<Flaw> a{{"", "a", ""}};
};

TEST_F(FetchFlaws, ReadsTheFlawsOfTheRun) {
    EXPECT_EQ(fetched(ok(R"({"run":{"flaws":[{"criterion":"a"}]}})")), a);
}

TEST_F(FetchFlaws, TheRunsFlawsCountEvenWhenEmpty) {
    for (const char* run : {"{}", R"({"flaws":[]})", R"({"flaws":[7]})"}) {
        const std::string body =
            R"({"run":)" + std::string(run) + R"(,"flaws":[{"criterion":"a"}]})";
        EXPECT_THAT(fetched(ok(body)), IsEmpty()) << body;
    }
}

TEST_F(FetchFlaws, WithoutARunObjectTheTopLevelFlawsCount) {
    for (const char* body :
         {R"({"flaws":[{"criterion":"a"}]})", R"({"run":7,"flaws":[{"criterion":"a"}]})",
          R"({"run":null,"flaws":[{"criterion":"a"}]})",
          R"({"run":[],"flaws":[{"criterion":"a"}]})"}) {
        EXPECT_EQ(fetched(ok(body)), a) << body;
    }
}

TEST_F(FetchFlaws, AFailedFetchKeepsTheVerdictWithoutFlaws) {
    EXPECT_THAT(fetched(std::nullopt), IsEmpty());
    EXPECT_THAT(fetched(ok("<html>")), IsEmpty());
    EXPECT_THAT(fetched(HttpResponse{500, "{}"}), IsEmpty());
    EXPECT_THAT(fetched(HttpResponse{401, ""}), IsEmpty());
    EXPECT_THAT(fetched(ok("{}")), IsEmpty());
}

TEST_F(FetchFlaws, HappensForAnEmptyRunIdToo) {
    answers = {ok(kSubmitted), ok(R"({"status":"completed","run_id":""})"),
               ok(R"({"flaws":[{"criterion":"a"}]})")};
    EXPECT_EQ(grade().flaws, a);
    EXPECT_EQ(machine.http.requests.back().url, "https://service.test/api/v1/eval/runs/");
}

TEST_F(FetchFlaws, HappensWhenTheSummarysFlawsCannotBeRead) {
    answers = {ok(kSubmitted),
               ok(R"({"status":"completed","run_id":"r1","result_summary":{"flaws":[{},7]}})"),
               ok(R"({"flaws":[{"criterion":"a"}]})")};
    EXPECT_EQ(grade().flaws, a);
}

// ---- reports

TEST_F(EvalBridgeTest, AHostedServicesReportHasTheStatedAddressAndNothingIsAsked) {
    for (const std::string id : {"run-1", "a b&c=/\xc3\xbc%", ""}) {
        EXPECT_EQ(EvalBridge::reportAddress(ports, id, "the key"),
                  "https://service.test/console?run=" + id);
    }
    for (const char* elsewhere : {"http://127.0.0.1.evil.test", "http://localhost.test:1",
                                  "http://10.0.0.1", "https://127.0.0.1", "127.0.0.1"}) {
        machine.environment.variables["BRASK_API_BASE"] = elsewhere;
        EXPECT_EQ(EvalBridge::reportAddress(ports, "run_1", "the key"),
                  std::string(elsewhere) + "/console?run=run_1");
        EXPECT_FALSE(EvalBridge::asksForReportAddress(machine.environment)) << elsewhere;
    }
    EXPECT_THAT(machine.http.requests, IsEmpty());
}

TEST_F(EvalBridgeTest, AServiceOfThisMachineIsAskedForAnAddressThatOpensOnce) {
    for (const char* address : {"http://127.0.0.1:8797/", "http://localhost:8797", "HTTP://[::1]",
                                "http+unix://%2Frun%2Fs"}) {
        machine.environment.variables["BRASK_API_BASE"] = address;
        EXPECT_TRUE(EvalBridge::asksForReportAddress(machine.environment)) << address;
        answers = {ok(R"({"report":"http://127.0.0.1:8797/console?run=run_1&ticket=t"})")};
        EXPECT_EQ(EvalBridge::reportAddress(ports, "run_1", "the key"),
                  "http://127.0.0.1:8797/console?run=run_1&ticket=t");
    }
    EXPECT_THAT(exchanges()[0], "POST http://127.0.0.1:8797/api/v1/eval/runs/run_1/ticket");
    EXPECT_EQ(machine.http.requests[0].headers[0],
              (std::pair<std::string, std::string>("Authorization", "Bearer the key")));
    EXPECT_EQ(machine.http.requests[0].timeout, 5s);
}

TEST_F(EvalBridgeTest, OnlyARunWhoseNameIsItselfInAnAddressIsAskedAbout) {
    machine.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:8797";
    lastAnswerStays = true;
    answers = {ok("{}")};
    for (const char letter : std::string("azAZ09_-")) {
        machine.http.requests.clear();
        static_cast<void>(EvalBridge::reportAddress(ports, std::string(1, letter), "the key"));
        EXPECT_THAT(exchanges(), SizeIs(1)) << letter;
    }
    // What stands right before and behind those in ASCII.
    for (const char other : std::string("`{@[/:.^,")) {
        machine.http.requests.clear();
        static_cast<void>(EvalBridge::reportAddress(ports, std::string(1, other), "the key"));
        EXPECT_THAT(exchanges(), IsEmpty()) << other;
    }
}

TEST_F(EvalBridgeTest, WithoutATicketTheStatedAddressIsOpened) {
    machine.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:8797";
    const std::string stated = "http://127.0.0.1:8797/console?run=run_1";
    const Answer unfit[] = {
        std::nullopt,
        HttpResponse{404, R"({"error":"there is nothing at this address"})"},
        ok("no JSON"),
        ok("{}"),
        ok(R"({"report":7})"),
        ok(R"({"report":"https://evil.test/console?run=run_1&ticket=t"})"),
        ok(R"({"report":"http://127.0.0.1.evil.test/console?run=run_1&ticket=t"})"),
        ok(R"({"report":"http://127.0.0.1:8797/console?run=run_2&ticket=t"})"),
        ok(R"({"report":"file:///etc/passwd"})"),
    };
    for (const Answer& answer : unfit) {
        answers = {answer};
        EXPECT_EQ(EvalBridge::reportAddress(ports, "run_1", "the key"), stated)
            << (answer ? answer->body : "unreachable");
    }
    machine.http.requests.clear();
    EXPECT_EQ(EvalBridge::reportAddress(ports, "run_1", std::nullopt), stated);
    EXPECT_EQ(EvalBridge::reportAddress(ports, "a/../b", "the key"),
              "http://127.0.0.1:8797/console?run=a/../b");
    EXPECT_EQ(EvalBridge::reportAddress(ports, "", "the key"),
              "http://127.0.0.1:8797/console?run=");
    EXPECT_THAT(machine.http.requests, IsEmpty());
}

// ---- iterate

TEST_F(EvalBridgeTest, WhoWantsToKnowIsToldOfAnAcceptedJobBeforeItIsPolled) {
    std::vector<std::string> told;
    ports.accepted = [&](const EvalBridge::AcceptedJob& job) {
        told.push_back(job.id + (job.keepsWork ? " kept" : "") + " after " +
                       std::to_string(machine.http.requests.size()));
    };
    for (const char* accepted : {kSubmitted, R"({"job_id":"j2","keeps_work":true})",
                                 R"({"job_id":"j3","keeps_work":"yes"})"}) {
        machine.http.requests.clear();
        answers = {ok(accepted), ok(kShipped)};
        EXPECT_EQ(grade().band, Band::ship);
    }
    EXPECT_THAT(told, ElementsAre("j1 after 1", "j2 kept after 1", "j3 after 1"));
}

TEST_F(EvalBridgeTest, OfAJobThatIsNotAcceptedNobodyIsTold) {
    answers = {ok("{}")};
    ports.accepted = [&](const EvalBridge::AcceptedJob&) { ADD_FAILURE(); };
    EXPECT_TRUE(grade().error);
}

TEST_F(EvalBridgeTest, AnAcceptedJobIsPolledOnWithoutSendingTheWorkAgain) {
    answers = {ok(kRunning), ok(kShipped)};
    EXPECT_EQ(EvalBridge::resume(ports, "j1", "the key", 100).band, Band::ship);
    EXPECT_THAT(exchanges(), ElementsAre("GET https://service.test/api/v1/eval/jobs/j1",
                                         "GET https://service.test/api/v1/eval/jobs/j1"));
}

TEST_F(EvalBridgeTest, WhatIsLeftOfADeadlineHoldsForAJobThatIsTakenUp) {
    EXPECT_EQ(EvalBridge::resume(ports, "j1", "the key", 0).error, "grade timed out after 0s");
    EXPECT_THAT(exchanges(), IsEmpty());
}

TEST_F(EvalBridgeTest, AJobThatIsTakenUpCanBeGivenUp) {
    answers = {ok(kRunning)};
    GradeTicket ticket;
    ports.ticket = &ticket;
    machine.clock.onSleep = [&](Instant) { EXPECT_EQ(ticket.cancel(), "j1"); };
    EXPECT_EQ(EvalBridge::resume(ports, "j1", "the key", 100),
              Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(exchanges(), SizeIs(1));
}

TEST_F(EvalBridgeTest, AJobThatWasGivenUpBeforeItIsTakenUpIsGivenUpThere) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    EXPECT_EQ(ticket.cancel(), std::nullopt);
    answers = {ok("{}")};
    EXPECT_EQ(EvalBridge::resume(ports, "j1", "the key", 100),
              Verdict::failure("the grade was cancelled"));
    EXPECT_THAT(exchanges(), ElementsAre("DELETE https://service.test/api/v1/eval/jobs/j1"));
}

TEST_F(EvalBridgeTest, AJobThatWasTakenUpAndIsOverCannotBeGivenUp) {
    GradeTicket ticket;
    ports.ticket = &ticket;
    answers = {ok(kShipped)};
    EXPECT_EQ(EvalBridge::resume(ports, "j1", "the key", 100).band, Band::ship);
    EXPECT_EQ(ticket.cancel(), std::nullopt);
}

TEST_F(EvalBridgeTest, TheVerdictOfARunIsReadAsItStandsNow) {
    answers = {ok(R"({"run":{"id":"r1","band":"ship","score":1,"flaws":[],
                     "checked_by":[{"engine":"e"}],"iterations":[{"band":"block"}]}})"),
               ok(R"({"run":{"flaws":[]}})"), HttpResponse{404, "{}"}, std::nullopt};
    const auto now = EvalBridge::verdictOfRun(ports, "r1", "the key");
    ASSERT_TRUE(now);
    EXPECT_EQ(now->band, Band::ship);
    EXPECT_EQ(now->runId, "r1");
    EXPECT_THAT(now->checkedBy, SizeIs(1));
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(EvalBridge::verdictOfRun(ports, "r1", "the key"));
}

TEST_F(EvalBridgeTest, TheLastWordGoesToAServiceOfThisMachineAlone) {
    const Flaw flaw{"LOW", "c", "d", "rule", "line 3", "words"};
    EXPECT_EQ(EvalBridge::dismiss(ports, flaw, "the key"), kUnreachable);
    EXPECT_EQ(EvalBridge::addWord(ports, "word", "the key"), kUnreachable);
    EXPECT_THAT(exchanges(), IsEmpty());
    machine.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:1";
    answers = {ok(R"({"status":"ok"})")};
    lastAnswerStays = true;
    EXPECT_EQ(EvalBridge::dismiss(ports, flaw, "the key"), std::nullopt);
    EXPECT_EQ(sentBody(0), (json{{"rule", "rule"}, {"evidence", "words"}}));
    EXPECT_EQ(EvalBridge::undoDismissal(ports, flaw, "the key"), std::nullopt);
    EXPECT_EQ(sentBody(2), (json{{"rule", "rule"}, {"evidence", "words"}, {"place", "line 3"}}));
}

TEST_F(EvalBridgeTest, WhereTheServiceAsksForThePlaceItIsTold) {
    machine.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:1";
    answers = {HttpResponse{400, R"({"error":"place is missing"})"}, ok(R"({"status":"ok"})")};
    EXPECT_EQ(EvalBridge::dismiss(ports, {"LOW", "c", "d", "rule", "line 3", "2 more"}, "k"),
              std::nullopt);
    EXPECT_EQ(sentBody(1)["place"], "line 3");
    answers = {HttpResponse{500, R"({"error":"not written"})"}};
    EXPECT_EQ(EvalBridge::addWord(ports, "word", "k"), "not written");
}

TEST_F(EvalBridgeTest, ALastWordIsTakenBackWhereverItWasSaid) {
    machine.environment.variables["BRASK_API_BASE"] = "http://127.0.0.1:1";
    lastAnswerStays = true;
    answers = {ok(R"({"status":"ok"})")};
    EXPECT_EQ(EvalBridge::undoDismissal(ports, {"LOW", "c", "d", "rule", "", "words"}, "k"),
              std::nullopt);
    EXPECT_EQ(EvalBridge::removeWord(ports, "word", "k"), std::nullopt);
    EXPECT_THAT(exchanges(), ElementsAre("POST http://127.0.0.1:1/api/v1/eval/dismissals/undo",
                                         "POST http://127.0.0.1:1/api/v1/eval/words/undo"));
    EXPECT_EQ(sentBody(1), (json{{"word", "word"}}));
    machine.http.requests.clear();
    answers = {HttpResponse{500, R"({"error":"not written"})"}};
    EXPECT_EQ(EvalBridge::undoDismissal(ports, {"LOW", "c", "d", "rule", "line 3", "words"}, "k"),
              "not written");
    EXPECT_THAT(exchanges(), SizeIs(1));
    EXPECT_EQ(EvalBridge::removeWord(ports, "word", "k"), "not written");
}

TEST_F(EvalBridgeTest, IterateSendsTheRevisionToTheRun) {
    answers = {ok("{}")};
    static_cast<void>(iterate());
    EXPECT_THAT(exchanges(), ElementsAre("POST https://service.test/api/v1/eval/runs/r7/iterate"));
    EXPECT_EQ(sentBody(), json::parse(R"({"decision":"re_prompt","user_prompt":"Validate this.",
        "new_artifact_parts":[{"mime_type":"text/plain","logical_name":"sel","text":"work"}]})"));
    EXPECT_EQ(machine.http.requests.at(0).timeout, 30s);
    EXPECT_EQ(
        machine.http.requests.at(0).headers,
        (std::vector<std::pair<std::string, std::string>>{{"Authorization", "Bearer the key"},
                                                          {"Accept", "application/json"},
                                                          {"User-Agent", "Kelvane-Companion"},
                                                          {"Content-Type", "application/json"}}));
}

TEST_F(EvalBridgeTest, IterateReadsTheCriticsVerdict) {
    answers = {ok(R"({"iteration":{"critic_verdict":{"decision":"SHIP","score":1,)"
                  R"("flaws":[{"severity":"low","name":"n"}]}}})")};
    EXPECT_EQ(iterate(), (Verdict{Band::ship, 1.0, {{"LOW", "n", ""}}, "r7", false, std::nullopt}));
}

TEST_F(EvalBridgeTest, IterateDoesNotFetchFlawsAndDoesNotPoll) {
    answers = {ok(R"({"job_id":"j1","iteration":{"critic_verdict":{"band":"block"}}})")};
    EXPECT_EQ(iterate().band, Band::block);
    EXPECT_THAT(machine.http.requests, SizeIs(1));
    EXPECT_THAT(machine.clock.sleeps, IsEmpty());
}

TEST_F(EvalBridgeTest, IterateWithoutAVerdictIsUnknownWithoutError) {
    for (const char* body : {"{}", R"({"iteration":7})", R"({"iteration":{}})",
                             R"({"iteration":{"critic_verdict":"ship"}})",
                             R"({"critic_verdict":{"band":"ship"}})", R"({"error":"x"})"}) {
        answers = {ok(body)};
        EXPECT_EQ(iterate(), (Verdict{Band::unknown, std::nullopt, {}, "r7", false, std::nullopt}))
            << body;
    }
}

TEST_F(EvalBridgeTest, AnHttpErrorOnIterateIsUnknownWithoutError) {
    for (const int status : {400, 401, 403, 404, 500}) {
        for (const char* body : {"", "<html>", R"({"detail":"d"})", R"({"error":"e"})"}) {
            answers = {HttpResponse{status, body}};
            EXPECT_EQ(iterate(),
                      (Verdict{Band::unknown, std::nullopt, {}, "r7", false, std::nullopt}))
                << status << " " << body;
        }
    }
}

TEST_F(EvalBridgeTest, AnUnreachableIterateFails) {
    answers = {std::nullopt};
    EXPECT_EQ(iterate(), Verdict::failure(kUnreachable));
    answers = {ok("not json")};
    EXPECT_EQ(iterate(), Verdict::failure(kUnreachable));
}

} // namespace
} // namespace kelvane
