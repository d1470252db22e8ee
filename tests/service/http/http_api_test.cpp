// The API as its clients see it: real requests to a real server, with critics the test controls.

#include "service/http/http_api.h"

#include "service/job_queue.h"
#include "service/setup/key_proof.h"
#include "service/store/sqlite_store.h"
#include "tests/service/bodies.h"
#include "tests/service/gated_critic.h"
#include "tests/service/http/http_client.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <memory>
#include <set>
#include <thread>

#include <unistd.h>

namespace trevix {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kJobs = "/api/v1/eval/jobs";

class HttpApiTest : public testing::Test {
public:
    void start(bool open = true, std::size_t maxWaiting = 256) {
        m_critic = std::make_unique<GatedCritic>(open);
        m_store = SqliteStore::open(m_folder.path() / "runs.db", 1).store;
        QueueOptions queue;
        queue.maxWaiting = maxWaiting;
        queue.critic = [this](const auto&... asked) { return (*m_critic)(asked...); };
        queue.warmUp = [] {};
        queue.nowMs = [] { return std::int64_t{1'772'546'709'000}; };
        m_queue = std::make_unique<JobQueue>(*m_store, std::move(queue));
        ApiOptions api;
        api.key = "the-right-key";
        api.keyFile = m_folder.path() / "key";
        api.catalog = m_folder.path() / "app-catalog.json";
        api.now = [this] { return m_now; };
        api.userOfPeer = [this](const auto&...) { return m_peer; };
        m_api = std::make_unique<HttpApi>(std::move(api), *m_queue, *m_store);
        auto listening = HttpServer::listen({}, *m_api);
        m_server = std::move(std::get<std::unique_ptr<HttpServer>>(listening));
        m_api->setBase("http://127.0.0.1:" + std::to_string(m_server->port()));
        m_server->start();
    }
    ~HttpApiTest() override {
        if (m_critic) m_critic->open();
        m_queue.reset(); // wakes who waits for a revision
    }

    [[nodiscard]] std::uint16_t port() const { return m_server->port(); }
    static HeaderLines keyed(HeaderLines more = {}) {
        more.emplace_back("Authorization", "Bearer the-right-key");
        return more;
    }
    Reply asked(std::string_view target) { return get(port(), target, keyed()); }
    Reply posted(std::string_view target, std::string_view body) {
        return post(port(), target, body, keyed());
    }
    std::string submit(const std::string& text) {
        const Reply reply = posted(kJobs, submitBody(text));
        EXPECT_EQ(reply.status, 202) << reply.body;
        return json::parse(reply.body).at("job_id");
    }
    json status(const std::string& jobId) {
        const Reply reply = asked(std::string(kJobs) + "/" + jobId);
        EXPECT_EQ(reply.status, 200) << reply.body;
        return json::parse(reply.body);
    }
    json finished(const std::string& jobId) {
        while (true) {
            json answer = status(jobId);
            if (answer.at("status") == "completed" || answer.at("status") == "failed") {
                return answer;
            }
            std::this_thread::yield();
        }
    }
    /// The target of an address that opens the report once.
    std::string ticketFor(const std::string& run) {
        const Reply reply = posted("/api/v1/eval/runs/" + run + "/ticket", "{}");
        EXPECT_EQ(reply.status, 200) << reply.body;
        const json answer = json::parse(reply.body);
        EXPECT_EQ(answer.at("expires_in"), 60);
        const std::string address = answer.at("report");
        const std::string base = "http://127.0.0.1:" + std::to_string(port());
        EXPECT_EQ(address.rfind(base + "/console?run=" + run + "&ticket=", 0), 0U) << address;
        return address.substr(base.size());
    }
    static std::string cookieOf(const Reply& reply) {
        const std::string cookie = reply.headers.at("set-cookie");
        return cookie.substr(0, cookie.find(';'));
    }
    std::string graded(const std::string& text) { return finished(submit(text)).at("run_id"); }

    ReportGate::Instant m_now{std::chrono::hours(1)};
    std::optional<uid_t> m_peer; ///< Whose the connections are; absent where nobody can tell.
    TemporaryFolder m_folder;
    std::unique_ptr<GatedCritic> m_critic;
    std::unique_ptr<RunStore> m_store;
    std::unique_ptr<JobQueue> m_queue;
    std::unique_ptr<HttpApi> m_api;
    std::unique_ptr<HttpServer> m_server;
};

std::string errorOf(const Reply& reply) {
    const json body = json::parse(reply.body, nullptr, false);
    EXPECT_TRUE(body.is_object()) << reply.body;
    EXPECT_EQ(reply.headers.at("content-type"), "application/json");
    return body.is_object() ? body.value("error", "") : "";
}

TEST_F(HttpApiTest, AJobGoesFromQueuedToCompleted) {
    start(false);
    const Reply accepted = posted(kJobs, submitBody("high text.placeholder: TODO"));
    EXPECT_EQ(accepted.status, 202);
    const json body = json::parse(accepted.body);
    EXPECT_EQ(body.at("keeps_work"), false); // as these tests set the queue up
    EXPECT_EQ(body.at("status"), "queued");
    const std::string id = body.at("job_id");
    m_critic->awaitArrivals(1);
    EXPECT_EQ(status(id).at("status"), "running");
    const std::string behind = submit("x");
    EXPECT_EQ(status(behind), json::parse(R"({"status":"queued",
                                  "progress":{"warming":false,"position":1}})"));
    m_critic->open();
    const json done = finished(id);
    EXPECT_EQ(done.at("result_summary").at("band"), "route_to_fix");
    EXPECT_EQ(done.at("result_summary").at("score"), 0.8);
    EXPECT_EQ(done.at("result_summary").at("flaws").size(), 1U);
    const json run =
        json::parse(asked("/api/v1/eval/runs/" + done.at("run_id").get<std::string>()).body)
            .at("run");
    EXPECT_EQ(run.at("flaws"), done.at("result_summary").at("flaws"));
    EXPECT_EQ(run.at("iterations"), json::array());
}

TEST_F(HttpApiTest, IterateShowsFixedRemainingAndNew) {
    start();
    const std::string run = graded("high a: one\nmedium b: two");
    const Reply reply = posted("/api/v1/eval/runs/" + run + "/iterate",
                               iterateBody("another line\nmedium b: two\nlow c: three"));
    EXPECT_EQ(reply.status, 200);
    const json iteration = json::parse(reply.body).at("iteration");
    EXPECT_EQ(iteration.at("number"), 1);
    EXPECT_EQ(iteration.at("critic_verdict").at("band"), "ship");
    EXPECT_EQ(iteration.at("critic_verdict").at("score"), 0.9);
    ASSERT_EQ(iteration.at("fixed").size(), 1U);
    EXPECT_EQ(iteration.at("fixed")[0].at("rule"), "a");
    ASSERT_EQ(iteration.at("remaining").size(), 1U);
    EXPECT_EQ(iteration.at("remaining")[0].at("place"), "line 2") << "it moved";
    ASSERT_EQ(iteration.at("new").size(), 1U);
    EXPECT_EQ(iteration.at("new")[0].at("rule"), "c");

    const Reply page = asked("/console?run=" + run);
    EXPECT_THAT(page.body, HasSubstr("1 fixed, 1 remains, 1 new"));
}

TEST_F(HttpApiTest, NothingUnderApiWithoutTheKey) {
    start();
    const std::string run = graded("x");
    const std::string targets[] = {kJobs,
                                   std::string(kJobs) + "/job_1",
                                   "/api/v1/eval/runs/" + run,
                                   "/api/v1/eval/runs/" + run + "/iterate",
                                   "/api",
                                   "/api/",
                                   "/api/v1/nothing",
                                   "/%61pi/v1/eval/runs/" + run};
    const HeaderLines wrong[] = {
        {},
        {{"Authorization", "Bearer the-wrong-key"}},
        {{"Authorization", "Bearer the-right-key2"}},
        {{"Authorization", "Bearer "}},
        {{"Authorization", "the-right-key"}},
        {{"Authorization", "Bearer the-right-key"}, {"Authorization", "Bearer other"}},
    };
    for (const std::string& target : targets) {
        for (const HeaderLines& headers : wrong) {
            for (const Reply& reply :
                 {get(port(), target, headers), post(port(), target, submitBody("x"), headers)}) {
                EXPECT_EQ(reply.status, 401) << target;
                EXPECT_THAT(errorOf(reply), HasSubstr("key")) << target;
                EXPECT_EQ(reply.headers.at("www-authenticate"), "Bearer");
            }
        }
    }
    EXPECT_EQ(m_critic->judged().size(), 1U);
}

TEST_F(HttpApiTest, OtherHostsAndOtherPagesAreTurnedAway) {
    start();
    for (const char* host :
         {"evil.example", "127.0.0.1.evil.example", "localhost.evil.example", "127.0.0.1:80:80",
          "127.0.0.1:x", "10.0.0.1", "localhost@evil", "::1", "evil.example:8797"}) {
        const Reply reply = get(port(), "/healthz", {{"Host", host}});
        EXPECT_EQ(reply.status, 403) << host;
        EXPECT_THAT(errorOf(reply), HasSubstr("127.0.0.1")) << host;
    }
    for (const char* host :
         {"127.0.0.1", "localhost", "LocalHost:8797", "[::1]:9", "127.0.0.1:1"}) {
        EXPECT_EQ(get(port(), "/healthz", {{"Host", host}}).status, 200) << host;
    }
    EXPECT_EQ(roundTrip(port(), "GET /healthz HTTP/1.1\r\n\r\n").status, 400);
    EXPECT_EQ(get(port(), "/healthz", {{"Host", "localhost"}, {"Host", "evil"}}).status, 400);

    for (const char* origin : {"https://evil.example", "null", "http://127.0.0.1:1", ""}) {
        const Reply reply = post(port(), kJobs, submitBody("x"),
                                 keyed({{"Host", "127.0.0.1:8797"}, {"Origin", origin}}));
        // An empty header is none at all.
        EXPECT_EQ(reply.status, *origin == '\0' ? 202 : 403) << origin;
    }
    EXPECT_EQ(post(port(), kJobs, submitBody("x"),
                   keyed({{"Host", "127.0.0.1:8797"}, {"Origin", "http://127.0.0.1:8797"}}))
                  .status,
              202);
}

TEST_F(HttpApiTest, AddressesAndMethodsThatDoNotExist) {
    start();
    const std::string run = graded("x");
    const std::string runs = "/api/v1/eval/runs/";
    for (const std::string& target :
         {std::string("/nothing"), std::string("/api/v1/eval"), std::string("/api/v1/eval/jobs/"),
          runs, runs + run + "/", runs + run + "/other", runs + "/iterate",
          std::string("/brask/key"), std::string("/../key"), std::string("/console/x"),
          std::string("//console")}) {
        EXPECT_EQ(asked(target).status, 404) << target;
        EXPECT_NE(errorOf(asked(target)), "") << target;
    }
    for (const std::string& target :
         {std::string(kJobs) + "/job_none", runs + "run_none", runs + "%00", runs + "%ff",
          runs + "' OR 1=1 --", std::string(kJobs) + "/" + run}) {
        std::string escaped;
        for (const char c : target) escaped += c == ' ' ? std::string("%20") : std::string(1, c);
        const Reply reply = asked(escaped);
        EXPECT_EQ(reply.status, 404) << target;
        EXPECT_THAT(errorOf(reply), HasSubstr("there is no such")) << target;
    }
    EXPECT_EQ(posted(runs + "run_none/iterate", iterateBody("x")).status, 404);

    const struct {
        const char* method;
        std::string target;
        const char* allow;
    } cases[] = {
        {"GET", kJobs, "POST"},
        {"PUT", kJobs, "POST"},
        {"DELETE", runs + run, "GET, HEAD"},
        {"PUT", std::string(kJobs) + "/job_none", "GET, HEAD, DELETE"},
        {"POST", runs + run, "GET, HEAD"},
        {"GET", runs + run + "/iterate", "POST"},
        {"PUT", "/console?run=" + run, "GET, HEAD, POST"},
        {"POST", "/", "GET, HEAD"},
        {"OPTIONS", kJobs, "POST"},
        {"PATCH", "/healthz", "GET, HEAD"},
    };
    for (const auto& [method, target, allow] : cases) {
        const Reply reply = roundTrip(port(), requestText(method, target, keyed(), ""));
        EXPECT_EQ(reply.status, 405) << method << " " << target;
        EXPECT_EQ(reply.headers.at("allow"), allow) << method << " " << target;
        EXPECT_NE(errorOf(reply), "");
    }
}

TEST_F(HttpApiTest, BodiesThatCannotBeUsedAreExplained) {
    start();
    const std::string run = graded("x");
    const std::string iterate = "/api/v1/eval/runs/" + run + "/iterate";
    json wrongType = submitObject("x");
    wrongType["modality"] = 3;
    json notBase64 = submitObject("x");
    notBase64["artifact_parts"][0]["data_b64"] = "***";
    const struct {
        std::string body;
        const char* text;
    } cases[] = {
        {"not JSON", "not valid JSON"},
        {"[1]", "must be a JSON object"},
        {"{}", "submission is missing"},
        {"{\"a\":\"\xff\"}", "UTF-8"},
        {std::string(3'000'000, '['), "nested more than 512"},
        {wrongType.dump(), "modality must be a string"},
        {notBase64.dump(), "artifact_parts[0].data_b64 is not base64"},
    };
    for (const auto& [body, text] : cases) {
        const Reply reply = posted(kJobs, body);
        EXPECT_EQ(reply.status, 400) << text;
        EXPECT_THAT(errorOf(reply), HasSubstr(text));
    }
    EXPECT_THAT(errorOf(posted(iterate, "{}")), HasSubstr("decision is missing"));
    EXPECT_EQ(posted(iterate, "{}").status, 400);
    for (const char* type : {"text/plain", "application/x-www-form-urlencoded", "application/jsonp",
                             "multipart/form-data; boundary=x"}) {
        EXPECT_EQ(post(port(), kJobs, submitBody("x"), keyed({{"Content-Type", type}})).status, 415)
            << type;
    }
    const Reply taken = post(port(), kJobs, submitBody("x"),
                             keyed({{"Content-Type", "Application/JSON; charset=utf-8"}}));
    ASSERT_EQ(taken.status, 202);
    EXPECT_EQ(post(port(), kJobs, submitBody("x"), keyed({{"Content-Encoding", "gzip"}})).status,
              415);
    finished(json::parse(taken.body).at("job_id"));
    EXPECT_EQ(m_critic->judged().size(), 2U) << "only what could be used was judged";
}

TEST_F(HttpApiTest, MoreThan64MiBIsRefused) {
    start();
    const Reply reply = posted(kJobs, std::string((std::size_t{64} << 20U) + 1, 'x'));
    EXPECT_EQ(reply.status, 413);
    EXPECT_EQ(errorOf(reply), "the body is larger than 64 MiB");
}

TEST_F(HttpApiTest, AFullQueueAsksToComeBack) {
    start(false, 2);
    submit("running");
    m_critic->awaitArrivals(1);
    submit("1");
    submit("2");
    const Reply reply = posted(kJobs, submitBody("3"));
    EXPECT_EQ(reply.status, 429);
    EXPECT_THAT(errorOf(reply), HasSubstr("too many jobs"));
    EXPECT_EQ(reply.headers.at("retry-after"), "5");
}

TEST_F(HttpApiTest, AHundredJobsAtOnceAreAnsweredInTheirOrder) {
    start(false);
    submit("first");
    m_critic->awaitArrivals(1);
    std::vector<std::future<std::string>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::async(std::launch::async,
                                     [this, i] { return submit("work " + std::to_string(i)); }));
    }
    std::vector<std::string> ids;
    for (auto& client : clients) ids.push_back(client.get());
    std::map<std::size_t, int> byPosition; // position in the queue -> number of the work
    for (int i = 0; i < 100; ++i) {
        byPosition[status(ids[static_cast<std::size_t>(i)]).at("progress").at("position")] = i;
    }
    ASSERT_EQ(byPosition.size(), 100U) << "every one has a place of its own";
    EXPECT_EQ(byPosition.begin()->first, 1U);
    m_critic->open();
    for (const std::string& id : ids) EXPECT_EQ(finished(id).at("status"), "completed");
    const auto judged = m_critic->judged();
    ASSERT_EQ(judged.size(), 101U);
    for (const auto& [position, number] : byPosition) {
        EXPECT_EQ(judged[position].parts[0].text, "work " + std::to_string(number));
    }
}

TEST_F(HttpApiTest, AJobIsGivenUpWhenItsOwnerSaysSo) {
    start(false);
    const std::string id = submit("work");
    m_critic->awaitArrivals(1);
    const auto deleted = [&](const std::string& job, const HeaderLines& headers) {
        return roundTrip(port(),
                         requestText("DELETE", std::string(kJobs) + "/" + job, headers, ""));
    };
    EXPECT_EQ(deleted(id, {}).status, 401);
    EXPECT_EQ(deleted(id, keyed({{"Origin", "http://elsewhere.example"}})).status, 403);
    EXPECT_EQ(status(id).at("status"), "running");
    const Reply reply = deleted(id, keyed());
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(json::parse(reply.body),
              (json{{"job_id", id}, {"status", "failed"}, {"error", "the job was cancelled"}}));
    EXPECT_EQ(finished(id).at("error"), "the job was cancelled");
    EXPECT_EQ(deleted(id, keyed()).status, 409);
    EXPECT_EQ(errorOf(deleted(id, keyed())), "the job is over");
    EXPECT_EQ(deleted("job_none", keyed()).status, 404);
}

TEST_F(HttpApiTest, AFailedJobAndAFailedRevisionSayWhy) {
    start();
    const json failed = finished(submit("throw"));
    EXPECT_EQ(failed.at("status"), "failed");
    EXPECT_THAT(failed.at("error"), HasSubstr("could not judge this work"));
    EXPECT_FALSE(failed.contains("run_id"));
    const Reply reply =
        posted("/api/v1/eval/runs/" + graded("x") + "/iterate", iterateBody("throw"));
    EXPECT_EQ(reply.status, 500);
    EXPECT_THAT(errorOf(reply), HasSubstr("could not judge this work"));
}

TEST_F(HttpApiTest, WhenTheServiceEndsWhoWaitsForARevisionIsTold) {
    start(false);
    const std::string first = submit("x");
    m_critic->letOnePass();
    const std::string run = finished(first).at("run_id");
    auto revision = std::async(std::launch::async, [&] {
        return posted("/api/v1/eval/runs/" + run + "/iterate", iterateBody("y"));
    });
    m_critic->awaitArrivals(2);
    auto stopping = std::async(std::launch::async, [&] { m_queue->stop(); });
    EXPECT_EQ(revision.get().status, 503);
    m_critic->open();
    stopping.get();
    EXPECT_EQ(posted(kJobs, submitBody("late")).status, 503);
}

TEST_F(HttpApiTest, TheReportIsAPageForWhoHasTheKey) {
    start();
    const std::string run = graded("high x: <script>alert(1)</script>\x01");
    const Reply page = asked("/console?run=" + run);
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.headers.at("content-type"), "text/html; charset=utf-8");
    EXPECT_THAT(page.headers.at("content-security-policy"), HasSubstr("default-src 'none'"));
    EXPECT_EQ(page.headers.at("referrer-policy"), "same-origin");
    EXPECT_EQ(page.headers.at("cache-control"), "no-store");
    EXPECT_THAT(page.body, HasSubstr("&lt;script&gt;"));
    EXPECT_THAT(page.body, Not(HasSubstr("<script>alert")));

    for (const char* target : {"/console", "/console?run=", "/console?run=run_none",
                               "/console?run=%3Cscript%3E", "/console?other=1"}) {
        const Reply none = asked(target);
        EXPECT_EQ(none.status, 404) << target;
        EXPECT_THAT(none.body, HasSubstr("There is no such report")) << target;
        EXPECT_THAT(none.body, Not(HasSubstr("<script"))) << target;
    }
}

TEST_F(HttpApiTest, AnAddressAloneOpensNoReport) {
    start();
    const std::string run = graded("high x: private words");
    const std::string same = get(port(), "/console?run=run_none").body;
    for (const HeaderLines& headers :
         {HeaderLines{}, HeaderLines{{"Authorization", "Bearer wrong-key"}},
          HeaderLines{{"Cookie", run + "=pass_00000000000000000000000000000000"}},
          HeaderLines{{"Cookie", run + "=; " + run}}}) {
        for (const std::string& target :
             {"/console?run=" + run, "/console?run=" + run + "&ticket=",
              "/console?run=" + run + "&ticket=ticket_00000000000000000000000000000000"}) {
            const Reply reply = get(port(), target, headers);
            EXPECT_EQ(reply.status, 403) << target;
            EXPECT_THAT(reply.body, HasSubstr("brask report")) << "how to open it";
            EXPECT_THAT(reply.body, Not(HasSubstr("private words")));
        }
    }
    EXPECT_THAT(same, HasSubstr("This report is closed"))
        << "nor does it tell which runs there are";
}

TEST_F(HttpApiTest, ATicketOpensTheReportOnceAndThePassAgain) {
    start();
    const std::string run = graded("high x: private words");
    const std::string other = graded("high x: other words");
    const std::string target = ticketFor(run);
    const Reply opened = get(port(), target);
    EXPECT_EQ(opened.status, 303);
    EXPECT_EQ(opened.headers.at("location"), "/console?run=" + run)
        << "a history keeps the address without the ticket";
    EXPECT_THAT(opened.headers.at("set-cookie"),
                testing::MatchesRegex(run + "=pass_[0-9a-f]{32}; Path=/console; Max-Age=3600; "
                                            "HttpOnly; SameSite=Lax"));
    EXPECT_EQ(get(port(), target).status, 403) << "whoever else saw the address is too late";

    const std::string cookie = cookieOf(opened);
    const auto withCookie = [&](const std::string& id) {
        return get(port(), "/console?run=" + id, {{"Cookie", "a=b;" + cookie + "; c=d"}});
    };
    EXPECT_EQ(withCookie(run).status, 200);
    EXPECT_THAT(withCookie(run).body, HasSubstr("private words"));
    EXPECT_EQ(withCookie(other).status, 403);
    m_now += ReportGate::kPassLasts;
    EXPECT_EQ(withCookie(run).status, 403);
}

TEST_F(HttpApiTest, TicketsAreForWhoHasTheKeyAndEnd) {
    start();
    const std::string run = graded("x");
    const std::string tickets = "/api/v1/eval/runs/" + run + "/ticket";
    EXPECT_EQ(post(port(), tickets, "{}").status, 401);
    EXPECT_EQ(asked(tickets).status, 405);
    EXPECT_EQ(post(port(), tickets, "{}", keyed({{"Origin", "http://elsewhere.example"}})).status,
              403);
    EXPECT_EQ(posted("/api/v1/eval/runs/run_none/ticket", "{}").status, 404);
    const std::string late = ticketFor(run);
    EXPECT_EQ(roundTrip(port(), requestText("HEAD", late)).status, 403)
        << "who looks ahead does not use it up";
    m_now += ReportGate::kTicketLasts;
    EXPECT_EQ(get(port(), late).status, 403);
}

TEST_F(HttpApiTest, ATicketIsTakenFromItsOwnUserWhereTheSystemTells) {
    start();
    const std::string run = graded("x");
    const std::string target = ticketFor(run);
    m_peer = geteuid() + 1;
    EXPECT_EQ(get(port(), target).status, 403) << "another user saw the address and was faster";
    m_peer = geteuid();
    EXPECT_EQ(get(port(), target).status, 303);
    const std::string second = ticketFor(run);
    m_peer = 0;
    EXPECT_EQ(get(port(), second).status, 303);
}

TEST_F(HttpApiTest, ProvesThatItKnowsTheKeyBeforeItIsSent) {
    start();
    const std::string nonce(64, 'a');
    // Kept open, as what follows a proof goes over the same connection, it would be waited for.
    const Reply reply = get(port(), "/api/v1/proof?nonce=" + nonce, {{"Connection", "close"}});
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(
        json::parse(reply.body),
        (json{{"proof", keyProof("the-right-key", nonce, "127.0.0.1:" + std::to_string(port()))}}));
    for (const std::string& odd :
         {std::string("/api/v1/proof"), std::string("/api/v1/proof?nonce="),
          "/api/v1/proof?nonce=" + std::string(63, 'a'),
          "/api/v1/proof?nonce=" + std::string(64, 'A')}) {
        EXPECT_EQ(get(port(), odd).status, 400) << odd;
        EXPECT_THAT(errorOf(get(port(), odd)), HasSubstr("nonce")) << odd;
    }
    EXPECT_EQ(get(port(), "/api/v1/proof/?nonce=" + nonce).status, 401);
    EXPECT_EQ(post(port(), "/api/v1/proof?nonce=" + nonce, "{}").status, 405);
    EXPECT_EQ(get(port(), "/api/v1/proof?nonce=" + nonce, {{"Host", "evil.example"}}).status, 403);
}

TEST_F(HttpApiTest, TheProofAndWhatFollowsItGoOverOneConnection) {
    start();
    Connection connection(port());
    connection.send(requestText("GET", "/api/v1/proof?nonce=" + std::string(64, '0'),
                                {{"Connection", "keep-alive"}}));
    EXPECT_EQ(connection.nextReply().status, 200);
    connection.send(requestText("POST", kJobs, keyed({{"Connection", "keep-alive"}}),
                                submitBody("over the same connection")));
    const Reply accepted = connection.nextReply();
    EXPECT_EQ(accepted.status, 202) << accepted.body;
}

TEST_F(HttpApiTest, NoPageTellsTheKeyOrListsRuns) {
    start();
    const std::string run = graded("x");
    for (const char* target : {"/", "/connect", "/connect?from=macos-app", "/healthz"}) {
        const Reply reply = get(port(), target);
        EXPECT_EQ(reply.status, 200) << target;
        EXPECT_THAT(reply.body, Not(HasSubstr("the-right-key"))) << target;
        EXPECT_THAT(reply.body, Not(HasSubstr(run))) << target;
    }
    const Reply connect = get(port(), "/connect", {{"Host", "127.0.0.1:4711"}});
    EXPECT_THAT(connect.body, HasSubstr((m_folder.path() / "key").string()));
    EXPECT_THAT(connect.body, HasSubstr("export BRASK_API_BASE=http://127.0.0.1:4711"));
    EXPECT_EQ(get(port(), "/healthz").body, R"({"status":"ok","warming":false})");
}

TEST_F(HttpApiTest, TheCatalogIsServedByteForByte) {
    start();
    const Reply none = get(port(), "/brask/app-catalog.json");
    EXPECT_EQ(none.status, 404);
    EXPECT_THAT(errorOf(none), HasSubstr("no application catalog"));
    const std::string bytes = "{\"version\": \"1\",\r\n \"apps\": []}\n\xff";
    std::ofstream(m_folder.path() / "app-catalog.json", std::ios::binary) << bytes;
    const Reply reply = get(port(), "/brask/app-catalog.json", {{"Range", "bytes=0-3"}});
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.body, bytes) << "whole, whatever was asked for";
    std::filesystem::remove(m_folder.path() / "app-catalog.json");
    std::filesystem::create_directory(m_folder.path() / "app-catalog.json");
    EXPECT_EQ(get(port(), "/brask/app-catalog.json").status, 404);
}

} // namespace
} // namespace trevix
