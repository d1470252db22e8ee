// The client of the service against servers that fail in every way a network can: whatever happens
// on the wire, a stated verdict comes out.

#include "eval/eval_bridge.h"

#include "platform/curl/curl_http_session.h"
#include "platform/fake/fakes.h"
#include "platform/ports/quit_signal.h"
#include "platform/posix/posix_platform.h"
#include "tests/wire/fault_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kelvane::wire {
namespace {

using namespace std::chrono_literals;
using testing::AnyOf;
using testing::IsEmpty;
using testing::SizeIs;

const Verdict kUnreachable = Verdict::failure("could not reach the eval API");

const std::string kShipped =
    R"({"status":"completed","run_id":"r1","result_summary":{"band":"ship","score":0.9,)"
    R"("flaws":[{"severity":"low","criterion":"c","detail":"d"}]}})";
const Verdict kShipVerdict{Band::ship, 0.9, {{"LOW", "c", "d"}}, "r1", false, std::nullopt};

Step submitted() {
    return json(R"({"job_id":"j1"})");
}

/// In this time a busy machine, too, has got a request to the server; 50 ms it once had not.
constexpr auto kImpatience = 1s;

/// Passes requests on with less patience, so that a silent server costs a test no 30 seconds. That
/// the client asks for no more than 30 is checked after every test, and http_session_test.cpp that
/// the session waits for as long as it is asked to.
class ImpatientSession : public HttpSession {
public:
    explicit ImpatientSession(HttpSession& session) : m_session(session) {}

    std::chrono::milliseconds patience = 10s;
    std::vector<std::chrono::milliseconds> timeouts; ///< As they were asked for.

    std::optional<HttpResponse> send(const HttpRequest& request) override {
        timeouts.push_back(request.timeout);
        HttpRequest impatient = request;
        impatient.timeout = patience;
        return m_session.send(impatient);
    }

private:
    HttpSession& m_session;
};

class EvalBridgeWire : public testing::Test {
public:
    EvalBridgeWire() { machine.environment.variables["BRASK_API_BASE"] = server.base() + "/"; }
    ~EvalBridgeWire() override {
        for (const auto timeout : http.timeouts) EXPECT_LE(timeout, 30s);
    }

    Verdict grade() {
        return EvalBridge::grade(ports, parts, "text", "legal", std::nullopt, "Validate this.",
                                 "secret");
    }
    Verdict iterate() {
        return EvalBridge::iterate(ports, "r7", parts, "Validate this.", "secret");
    }

    FaultServer server;
    QuitSignal quit;
    std::unique_ptr<HttpSession> session = makeCurlHttpSession(quit);
    ImpatientSession http{*session};
    FakePlatform machine;
    EvalBridge::Ports ports{machine.environment, http, machine.clock};
    std::vector<ArtifactPart> parts{
        {.mimeType = "text/plain", .text = "work", .dataB64 = std::nullopt, .logicalName = "sel"}};
};

// ---- a grade that goes well

TEST_F(EvalBridgeWire, AGradeGoesOverTheWireAsStated) {
    server.script(
        {submitted(), json(R"({"status":"running"})"),
         json(R"({"status":"completed","run_id":"r1","result_summary":{"band":"block"}})"),
         json(R"({"run":{"flaws":[{"severity":"high","name":"n"}]}})")});
    EXPECT_EQ(grade(),
              (Verdict{Band::block, std::nullopt, {{"HIGH", "n", ""}}, "r1", false, std::nullopt}));

    const auto seen = server.requests();
    ASSERT_THAT(seen, SizeIs(4));
    EXPECT_EQ(seen[0].method, "POST");
    EXPECT_EQ(seen[0].target, "/api/v1/eval/jobs");
    EXPECT_EQ(nlohmann::json::parse(seen[0].body), nlohmann::json::parse(R"({"submission":"async",
        "modality":"text","vertical":"legal","user_prompt":"Validate this.","artifact_parts":[
        {"mime_type":"text/plain","logical_name":"sel","text":"work"}]})"));
    EXPECT_EQ(seen[0].headers.at("content-type"), "application/json");
    EXPECT_EQ(seen[1].method, "GET");
    EXPECT_EQ(seen[1].target, "/api/v1/eval/jobs/j1");
    EXPECT_EQ(seen[3].target, "/api/v1/eval/runs/r1");
    for (const SeenRequest& request : seen) {
        EXPECT_EQ(request.headers.at("authorization"), "Bearer secret");
        EXPECT_EQ(request.headers.at("accept"), "application/json");
        EXPECT_EQ(request.headers.at("user-agent"), "Kelvane-Companion");
    }
    for (std::size_t i = 1; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].body, "");
        EXPECT_FALSE(seen[i].headers.contains("content-type"));
    }
}

TEST_F(EvalBridgeWire, AnIterateGoesOverTheWireAsStated) {
    server.script({json(R"({"iteration":{"critic_verdict":{"decision":"ship","score":1}}})")});
    EXPECT_EQ(iterate(), (Verdict{Band::ship, 1.0, {}, "r7", false, std::nullopt}));
    ASSERT_THAT(server.requests(), SizeIs(1));
    EXPECT_EQ(server.requests()[0].target, "/api/v1/eval/runs/r7/iterate");
}

TEST_F(EvalBridgeWire, APictureOfSeveralMegabytesArrivesWhole) {
    parts[0].text.reset();
    parts[0].dataB64 = std::string(8 * 1024 * 1024, 'A');
    server.script({submitted(), json(kShipped)});
    EXPECT_EQ(grade(), kShipVerdict);
    const auto body = nlohmann::json::parse(server.requests().at(0).body);
    EXPECT_TRUE(body["artifact_parts"][0]["data_b64"] == *parts[0].dataB64);
}

// ---- answers that are no good

struct AnswerCase {
    const char* name;
    Step step;
    Verdict graded;
    Verdict iterated;
};

Verdict failure(const char* text) {
    return Verdict::failure(text);
}

TEST_F(EvalBridgeWire, EveryBadAnswerToASubmissionOrAnIterateHasItsVerdict) {
    const Verdict kNoVerdict{Band::unknown, std::nullopt, {}, "r7", false, std::nullopt};
    const std::string html = "<html><body>Oh no</body></html>";
    const std::vector<AnswerCase> table{
        {"401", answer(401, R"({"detail":"bad key"})"),
         failure("not authorized — check your Trevix key (HTTP 401)"), kNoVerdict},
        {"401 with a challenge", answer(401, "", {{"WWW-Authenticate", "Basic realm=\"x\""}}),
         failure("not authorized — check your Trevix key (HTTP 401)"), kNoVerdict},
        {"401 that says why", answer(401, R"({"error":"key expired"})"), failure("key expired"),
         kNoVerdict},
        {"403", answer(403, html), failure("not authorized — check your Trevix key (HTTP 403)"),
         kNoVerdict},
        {"404", answer(404, html), failure("eval API error (HTTP 404)"), kNoVerdict},
        {"429", answer(429, R"({"message":"slow down"})", {{"Retry-After", "5"}}),
         failure("slow down"), kNoVerdict},
        {"500 with HTML", answer(500, html, {{"Content-Type", "text/html"}}),
         failure("eval API error (HTTP 500)"), kNoVerdict},
        {"500 with a detail", answer(500, R"({"detail":"grader down"})"), failure("grader down"),
         kNoVerdict},
        {"503 without a body", answer(503, ""), failure("eval API error (HTTP 503)"), kNoVerdict},
        {"200 with HTML", answer(200, html), kUnreachable, kUnreachable},
        {"200 with nothing", answer(200, ""), kUnreachable, kUnreachable},
        {"204", rawThenClose("HTTP/1.1 204 No Content\r\n\r\n"), kUnreachable, kUnreachable},
        {"200 with half of a JSON text", json(R"({"job_id":"j1)"), kUnreachable, kUnreachable},
        {"half a body", halfBody(200, R"({"job_id":"j1"}      )"), kUnreachable, kUnreachable},
        {"half a body of a 500", halfBody(500, R"({"detail":"grader down"})"), kUnreachable,
         kUnreachable},
        {"half a chunk",
         rawThenClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n40\r\n{\"job_id\":"),
         kUnreachable, kUnreachable},
        {"half a head", rawThenClose("HTTP/1.1 200 OK\r\nContent-"), kUnreachable, kUnreachable},
        {"no HTTP at all", rawThenClose("220 mail.test ESMTP\r\n"), kUnreachable, kUnreachable},
        {"the end of the connection", hangUp(), kUnreachable, kUnreachable},
        {"a reset", reset(), kUnreachable, kUnreachable},
        {"a key that ends in a NUL", json(std::string("{\"job_id\":\"j1\"}\0", 16)), kUnreachable,
         kUnreachable},
        {"nesting without end", json("{\"job_id\":" + std::string(100'000, '[')), kUnreachable,
         kUnreachable},
    };
    for (const AnswerCase& c : table) {
        const std::size_t before = server.requests().size();
        server.script({c.step});
        EXPECT_EQ(grade(), c.graded) << c.name;
        EXPECT_EQ(iterate(), c.iterated) << c.name;
        // Nobody submitted twice because of it.
        EXPECT_EQ(server.requests().size(), before + 2) << c.name;
    }
    EXPECT_THAT(machine.clock.sleeps, IsEmpty());
}

TEST_F(EvalBridgeWire, ASilentServerIsUnreachable) {
    http.patience = kImpatience;
    server.script({silence()});
    EXPECT_EQ(grade(), kUnreachable);
    EXPECT_EQ(iterate(), kUnreachable);
    EXPECT_THAT(server.requests(), SizeIs(2));
}

TEST_F(EvalBridgeWire, AClosedPortIsUnreachable) {
    machine.environment.variables["BRASK_API_BASE"] =
        "http://127.0.0.1:" + std::to_string(closedPort());
    EXPECT_EQ(grade(), kUnreachable);
    EXPECT_EQ(iterate(), kUnreachable);
}

TEST_F(EvalBridgeWire, AnAddressThatIsNoneIsUnreachable) {
    for (const char* base : {"", "   ", "localhost", "ftp://127.0.0.1", "http://", "http://a b"}) {
        machine.environment.variables["BRASK_API_BASE"] = base;
        EXPECT_EQ(grade(), kUnreachable) << base;
        EXPECT_EQ(iterate(), kUnreachable) << base;
    }
}

TEST_F(EvalBridgeWire, AKeyWithALineBreakReachesNobody) {
    EXPECT_EQ(
        EvalBridge::grade(ports, parts, "text", std::nullopt, std::nullopt, "", "a\r\nX: b"),
        failure("the service key holds a line break \u2014 check BRASK_API_KEY or ~/.brask/key"));
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(EvalBridgeWire, ALongHeaderCounts) {
    server.script({answer(500, R"({"detail":"seen"})", {{"X-Long", std::string(6 * 1024, 'x')}})});
    EXPECT_EQ(grade(), failure("seen"));
}

// How long a head may be is the toolkit's to say; past that the answer must not do harm.
TEST_F(EvalBridgeWire, AHugeHeaderHarmsNothing) {
    http.patience = 300ms;
    server.script({answer(500, R"({"detail":"seen"})", {{"X-Long", std::string(1 << 20, 'x')}})});
    EXPECT_THAT(grade(), AnyOf(failure("seen"), kUnreachable));
}

// ---- redirects

TEST_F(EvalBridgeWire, ARedirectWithinTheOriginIsFollowed) {
    server.script({redirect(307, "/v2/jobs"), submitted(), redirect(302, server.base() + "/v2/j1"),
                   json(kShipped)});
    EXPECT_EQ(grade(), kShipVerdict);
    ASSERT_THAT(server.requests(), SizeIs(4));
    EXPECT_EQ(server.requests()[1].body, server.requests()[0].body);
}

TEST_F(EvalBridgeWire, TheKeyIsNotCarriedToAnotherOrigin) {
    FaultServer other;
    other.script({submitted()});
    for (const int status : {301, 302, 303, 307, 308}) {
        server.script({redirect(status, other.base() + "/api/v1/eval/jobs")});
        EXPECT_EQ(grade(), kUnreachable) << status;
        EXPECT_EQ(iterate(), kUnreachable) << status;
    }
    EXPECT_EQ(other.connections(), 0);
}

// ---- polling

struct PollFault {
    const char* name;
    Step step;
};

TEST_F(EvalBridgeWire, APollSurvivesEveryFaultAndIsSentOnce) {
    const std::vector<PollFault> table{
        {"a reset", reset()},
        {"the end of the connection", hangUp()},
        {"half a head", rawThenClose("HTTP/1.1 200 OK\r\nCont")},
        {"half a body", halfBody(200, kShipped)},
        {"500", answer(500, "<html>")},
        {"401", answer(401, "")},
        {"an answer that is no object", json("[]")},
        {"a job that waits", json(R"({"status":"queued"})")},
    };
    for (const PollFault& fault : table) {
        machine.clock.sleeps.clear();
        http.timeouts.clear();
        const std::size_t before = server.requests().size();
        server.script({submitted(), fault.step, json(kShipped)});
        EXPECT_EQ(grade(), kShipVerdict) << fault.name;

        // The submission, the poll that met the fault, and after one wait the next.
        EXPECT_THAT(machine.clock.sleeps, SizeIs(1)) << fault.name;
        EXPECT_THAT(http.timeouts, SizeIs(3)) << fault.name;
        EXPECT_EQ(server.requests().size() - before, 3U) << fault.name;
    }
}

TEST_F(EvalBridgeWire, APollSurvivesSilence) {
    http.patience = kImpatience;
    server.script({submitted(), silence(), json(kShipped)});
    EXPECT_EQ(grade(), kShipVerdict);
    EXPECT_THAT(machine.clock.sleeps, testing::ElementsAre(1500ms));
}

TEST_F(EvalBridgeWire, AServerThatDiesAfterTheSubmissionRunsIntoTheDeadline) {
    server.script({submitted(), reset()});
    EXPECT_EQ(grade(), failure("grade timed out after 420s"));
    EXPECT_EQ(machine.clock.time, 420s);
}

TEST_F(EvalBridgeWire, AServerThatClosesEachConnectionHarmsNothing) {
    server.script({rawThenClose(answerBytes(200, R"({"job_id":"j1"})")),
                   rawThenClose(answerBytes(200, R"({"status":"running"})")),
                   rawThenClose(answerBytes(200, kShipped))});
    EXPECT_EQ(grade(), kShipVerdict);
    EXPECT_THAT(server.requests(), SizeIs(3));
}

TEST_F(EvalBridgeWire, AFailedFlawsFetchKeepsTheVerdict) {
    const Step completed =
        json(R"({"status":"completed","run_id":"r1","result_summary":{"band":"quarantine"}})");
    for (const Step& step : {halfBody(200, R"({"flaws":[{}]})"), answer(500, R"({"flaws":7})"),
                             answer(200, "<html>"), answer(401, "")}) {
        server.script({submitted(), completed, step});
        EXPECT_EQ(grade(),
                  (Verdict{Band::quarantine, std::nullopt, {}, "r1", false, std::nullopt}));
    }
}

// ---- odd but good answers

TEST_F(EvalBridgeWire, AChunkedAnswerCounts) {
    server.script({chunked(R"({"job_id":"j1"})", 3), chunked(kShipped, 7)});
    EXPECT_EQ(grade(), kShipVerdict);
}

TEST_F(EvalBridgeWire, ASlowTrickleCounts) {
    server.script({submitted(), trickle(kShipped, 20, 5ms)});
    EXPECT_EQ(grade(), kShipVerdict);
}

TEST_F(EvalBridgeWire, TenThousandFlawsArriveInOrder) {
    nlohmann::json flaws = nlohmann::json::array();
    for (int i = 0; i < 10'000; ++i) {
        flaws.push_back({{"severity", "low"},
                         {"criterion", std::to_string(i)},
                         {"detail", std::string(200, 'x')}});
    }
    const nlohmann::json job = {{"status", "completed"},
                                {"result_summary", {{"band", "block"}, {"flaws", flaws}}}};
    server.script({submitted(), chunked(job.dump(), 60'000)});
    const Verdict verdict = grade();
    EXPECT_EQ(verdict.band, Band::block);
    ASSERT_THAT(verdict.flaws, SizeIs(10'000));
    for (std::size_t i = 0; i < verdict.flaws.size(); ++i) {
        ASSERT_EQ(verdict.flaws[i].criterion, std::to_string(i));
    }
}

TEST_F(EvalBridgeWire, ControlCharactersInAFlawStayAsTheyAre) {
    server.script({submitted(), json(R"({"status":"completed","result_summary":{"flaws":[
        {"severity":"low\u0007","criterion":"\u001b[2J","detail":"a\u0000b\r\n\u202e"}]}})")});
    EXPECT_EQ(grade().flaws,
              (std::vector<Flaw>{{"LOW\a", "\x1b[2J", std::string("a\0b\r\n\xE2\x80\xAE", 8)}}));
}

TEST_F(EvalBridgeWire, InvalidUtf8InAnAnswerIsNoAnswer) {
    server.script({json("{\"job_id\":\"j\xFF\"}")});
    EXPECT_EQ(grade(), kUnreachable);
}

// ---- quitting

TEST_F(EvalBridgeWire, QuittingEndsAGradeThatWaitsForTheServer) {
    server.script({submitted(), silence()});
    auto verdict = std::async(std::launch::async, [this] { return grade(); });
    ASSERT_TRUE(server.waitForRequests(2));
    machine.clock.sleepEnds = {SleepEnd::Quitting};
    quit.raise();
    ASSERT_EQ(verdict.wait_for(5s), std::future_status::ready); // far below the time-out
    EXPECT_EQ(verdict.get(), kUnreachable);
}

TEST_F(EvalBridgeWire, QuittingEndsAGradeThatSleepsBetweenTwoPolls) {
    const auto clock = makePosixClock(quit);
    const EvalBridge::Ports real{machine.environment, http, *clock};
    server.script({submitted(), json(R"({"status":"running"})")});
    auto verdict = std::async(std::launch::async, [&] {
        return EvalBridge::grade(real, parts, "text", std::nullopt, std::nullopt, "", "k");
    });
    ASSERT_TRUE(server.waitForRequests(2));
    quit.raise();
    ASSERT_EQ(verdict.wait_for(5s), std::future_status::ready); // it would poll for 420 s
    EXPECT_EQ(verdict.get(), kUnreachable);
}

} // namespace
} // namespace kelvane::wire
