// Who may ask a team's service, and what each is told.

#include "service/http/http_api.h"

#include "service/http/metrics_door.h"
#include "service/http/watched_handler.h"

#include "service/postgres/connection.h"
#include "service/postgres/postgres_store.h"
#include "service/postgres/schema.h"
#include "service/setup/team_key_text.h"
#include "service/shared_queue.h"
#include "service/team_keys.h"

#include "tests/service/bodies.h"
#include "tests/service/gated_critic.h"
#include "tests/service/http/http_client.h"
#include "tests/service/postgres_cluster.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace trevix {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* kJobs = "/api/v1/eval/jobs";

class TeamApiTest : public testing::Test {
public:
    void SetUp() override {
        if (m_cluster == nullptr) GTEST_SKIP() << "no database server";
        m_cluster->clear();
        m_store = openPostgresStore(m_cluster->address());
        QueueOptions queue;
        queue.atOnce = 1;
        queue.critic = [this](const auto&... asked) { return m_critic(asked...); };
        queue.warmUp = [] {};
        queue.nowMs = [this] { return m_store->nowMs(); };
        m_queue = std::make_unique<SharedQueue>(*m_store, std::move(queue));
        // What is new is read when the test says so.
        m_keys = std::make_unique<TeamKeys>(*m_store, 1h);
        ApiOptions api;
        api.keys = m_keys.get();
        api.shared = m_store.get();
        api.publicUrl = parsePublicUrl("https://judge.example.org");
        api.userOfPeer = [](const auto&...) { return std::nullopt; };
        m_api = std::make_unique<HttpApi>(std::move(api), *m_queue, *m_store);
        m_api->setBase("https://judge.example.org");
        m_watched = std::make_unique<WatchedHandler>(*m_api, m_metrics, m_log);
        m_server = serving(*m_watched);
        m_door = std::make_unique<MetricsDoor>(m_metrics, *m_store, *m_queue);
        m_watchPort = serving(*m_door);
    }
    static std::unique_ptr<HttpServer> serving(HttpHandler& handler) {
        auto listening = HttpServer::listen({}, handler);
        auto server = std::move(std::get<std::unique_ptr<HttpServer>>(listening));
        server->start();
        return server;
    }
    [[nodiscard]] Reply watch(const std::string& path) const {
        return get(m_watchPort->port(), path);
    }
    ~TeamApiTest() override {
        m_critic.open();
        if (m_queue) m_queue->stop();
        m_watchPort.reset();
        m_server.reset();
    }

    // Adds a key, and returns the headers of who has it.
    HeaderLines person(KeysCommand command) {
        command.action = KeysCommand::Action::add;
        const KeysDone done = runKeysCommand(*m_store, command);
        EXPECT_EQ(done.status, 0) << done.output;
        m_keys->reread();
        return {{"Authorization", "Bearer " + done.output.substr(0, done.output.size() - 1)}};
    }
    HeaderLines person(const std::string& name) {
        KeysCommand command;
        command.name = name;
        return person(std::move(command));
    }

    [[nodiscard]] Reply ask(const std::string& path, const HeaderLines& key) const {
        return get(m_server->port(), path, key);
    }
    [[nodiscard]] Reply handIn(const std::string& text, const HeaderLines& key) const {
        return post(m_server->port(), kJobs, submitBody(text), key);
    }
    std::string submit(const std::string& text, const HeaderLines& key) const {
        const Reply reply = handIn(text, key);
        EXPECT_EQ(reply.status, 202) << reply.body;
        return json::parse(reply.body).value("job_id", "");
    }
    // The store is looked at, not the address: that one answers a key only so often in a minute.
    std::string finishedRun(const std::string& job, const HeaderLines& key) const {
        while (m_store->isPending(job)) std::this_thread::yield();
        const Reply reply = ask(std::string(kJobs) + "/" + job, key);
        EXPECT_EQ(reply.status, 200) << reply.body;
        const json answer = json::parse(reply.body);
        EXPECT_EQ(answer.value("status", ""), "completed") << reply.body;
        return answer.value("run_id", "");
    }

    PostgresCluster* m_cluster = PostgresCluster::ofThisProgram();
    GatedCritic m_critic{true};
    std::unique_ptr<SharedStore> m_store;
    std::unique_ptr<SharedQueue> m_queue;
    std::unique_ptr<TeamKeys> m_keys;
    std::unique_ptr<HttpApi> m_api;
    ServiceMetrics m_metrics;
    std::string m_logged;
    ServiceLog m_log{true, [] { return std::int64_t{0}; },
                     [this](const std::string& line) { m_logged += line; }};
    std::unique_ptr<WatchedHandler> m_watched;
    std::unique_ptr<HttpServer> m_server;
    std::unique_ptr<MetricsDoor> m_door;
    std::unique_ptr<HttpServer> m_watchPort;
};

TEST(RequestBudget, IsUsedUpAndComesBackWithTime) {
    RequestBudget budget;
    EXPECT_TRUE(budget.take(2, 1'000));
    EXPECT_TRUE(budget.take(2, 1'000));
    EXPECT_FALSE(budget.take(2, 1'000));
    EXPECT_FALSE(budget.take(2, 30'000)) << "not quite one";
    EXPECT_TRUE(budget.take(2, 31'000));
    EXPECT_FALSE(budget.take(2, 31'000));
    EXPECT_TRUE(budget.take(2, 9'000'000));
    EXPECT_TRUE(budget.take(2, 9'000'000));
    EXPECT_FALSE(budget.take(2, 9'000'000)) << "no more than a minute's";
}

TEST(RequestBudget, OfAnyNumberIsNeverUsedUp) {
    RequestBudget budget;
    for (int i = 0; i < 100; ++i) EXPECT_TRUE(budget.take(0, 0));
}

TEST_F(TeamApiTest, WithoutAGoodKeyNothingIsTold) {
    const HeaderLines ada = person("ada");
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", ada).status, 404);
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", {}).status, 401);
    EXPECT_EQ(
        ask(std::string(kJobs) + "/job_x", {{"Authorization", "Bearer trevix_team_0"}}).status,
        401);
    // What the database holds opens nothing.
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x",
                  {{"Authorization", "Bearer " + m_cluster->query("SELECT digest FROM keys")}})
                  .status,
              401);
    EXPECT_EQ(ask("/api/v1/proof?nonce=" + std::string(64, '0'), {}).status, 404);
}

TEST_F(TeamApiTest, ARevokedKeyAndAnExpiredOneAreNotGood) {
    const HeaderLines ada = person("ada");
    KeysCommand shortLived;
    shortLived.name = "guest";
    shortLived.expiresDays = 1;
    const HeaderLines guest = person(shortLived);
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", guest).status, 404);
    m_cluster->query("UPDATE keys SET expires = expires - 86400000 WHERE name = 'guest'");
    EXPECT_EQ(runKeysCommand(*m_store, {KeysCommand::Action::revoke, "", "ada"}).status, 0);
    m_keys->reread();
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", ada).status, 401);
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", guest).status, 401);
    EXPECT_EQ(runKeysCommand(*m_store, {KeysCommand::Action::revoke, "", "ada"}).status, 1);
    EXPECT_EQ(runKeysCommand(*m_store, {KeysCommand::Action::add, "", "ada"}).status, 1)
        << "its uses are not to be somebody else's";
    EXPECT_THAT(runKeysCommand(*m_store, {KeysCommand::Action::list, "", ""}).output,
                MatchesRegex("NAME\tGROUP[^\n]*\n"
                             "ada\tada\tgrade\t600\tany\t[-0-9]+\trevoked [-0-9]+\n"
                             "guest\tguest\tgrade\t600\tany\t[-0-9]+\texpired [-0-9]+\n"));
}

TEST_F(TeamApiTest, KeysAreGoodWhileTheDatabaseIsAway) {
    const HeaderLines ada = person("ada");
    m_cluster->kill();
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", ada).status, 503);
    EXPECT_EQ(ask("/readyz", {}).status, 503);
    EXPECT_EQ(ask("/healthz", {}).status, 200) << "beginning the process anew would mend nothing";
    EXPECT_EQ(ask("/healthz", ada).status, 200) << "whoever asks";
    EXPECT_EQ(watch("/readyz").status, 503);
    EXPECT_EQ(watch("/healthz").status, 200);
    const std::string away = watch("/metrics").body;
    EXPECT_THAT(away, HasSubstr("\ntrevix_database_up 0\n"));
    EXPECT_THAT(away, Not(HasSubstr("\ntrevix_database_errors_total 0\n")));
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", {}).status, 401);
    m_cluster->start();
    EXPECT_EQ(ask("/readyz", {}).status, 200);
    EXPECT_EQ(watch("/readyz").status, 200);
    EXPECT_THAT(watch("/metrics").body, HasSubstr("\ntrevix_database_up 1\n"));
    EXPECT_EQ(ask(std::string(kJobs) + "/job_x", ada).status, 404);
}

TEST_F(TeamApiTest, NobodySeesWhatIsAnothers) {
    const HeaderLines ada = person("ada");
    const HeaderLines eve = person("eve");
    const std::string job = submit("high a: one", ada);
    const std::string run = finishedRun(job, ada);
    const std::string runs = "/api/v1/eval/runs/" + run;
    EXPECT_EQ(ask(runs, ada).status, 200);
    const std::string none = ask("/api/v1/eval/runs/run_none", eve).body;
    EXPECT_EQ(ask(runs, eve).status, 404);
    EXPECT_EQ(ask(runs, eve).body, none) << "as if it were not there";
    EXPECT_EQ(ask(std::string(kJobs) + "/" + job, eve).status, 404);
    EXPECT_EQ(post(m_server->port(), runs + "/iterate", iterateBody("x"), eve).status, 404);
    EXPECT_EQ(post(m_server->port(), runs + "/ticket", "{}", eve).status, 404);
    EXPECT_EQ(ask("/console?run=" + run, eve).status, 403);
    EXPECT_EQ(ask("/console?run=" + run, ada).status, 200);
    EXPECT_THAT(ask("/console?run=" + run, ada).body, Not(HasSubstr("<form")));
    EXPECT_EQ(
        roundTrip(m_server->port(), requestText("DELETE", std::string(kJobs) + "/" + job, eve))
            .status,
        404);
    EXPECT_EQ(post(m_server->port(), runs + "/iterate", iterateBody("x"), ada).status, 200);
}

TEST_F(TeamApiTest, AGroupSeesItsWorkTogether) {
    KeysCommand command;
    command.group = "writers";
    command.name = "ada";
    const HeaderLines ada = person(command);
    command.name = "grace";
    command.scope = KeyScope::read;
    const HeaderLines grace = person(command);
    const std::string run = finishedRun(submit("work", ada), ada);
    EXPECT_EQ(ask("/api/v1/eval/runs/" + run, grace).status, 200);
    EXPECT_EQ(handIn("work", grace).status, 403) << "it only reads";
    EXPECT_EQ(post(m_server->port(), "/api/v1/eval/runs/" + run + "/ticket", "{}", grace).status,
              200);
}

TEST_F(TeamApiTest, WhatWasThereBeforeThereWerePeopleIsNobodys) {
    const HeaderLines ada = person("ada");
    m_store->addJob("job_old", JobKind::grade, "", submitBody("old"), 1);
    EXPECT_EQ(ask(std::string(kJobs) + "/job_old", ada).status, 404);
}

TEST_F(TeamApiTest, AKeyMayAskAndHandInOnlySoOften) {
    KeysCommand command;
    command.name = "busy";
    command.perMinute = 3;
    const HeaderLines busy = person(command);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(ask(std::string(kJobs) + "/job_x", busy).status, 404);
    const Reply refused = ask(std::string(kJobs) + "/job_x", busy);
    EXPECT_EQ(refused.status, 429);
    EXPECT_EQ(refused.headers.count("retry-after"), 1U);

    command.name = "many";
    command.perMinute = 0;
    command.perDay = 2;
    const HeaderLines many = person(command);
    submit("one", many);
    submit("two", many);
    const Reply full = handIn("three", many);
    EXPECT_EQ(full.status, 429);
    EXPECT_THAT(full.body, HasSubstr("within a day"));
    m_cluster->query("UPDATE jobs SET created = created - 86400001");
    EXPECT_EQ(handIn("three", many).status, 202) << "a day later";
}

TEST_F(TeamApiTest, UsesAreWrittenDownWithoutWorkOrKey) {
    const HeaderLines ada = person("ada");
    const std::string job = submit("the private words", ada);
    const std::string run = finishedRun(job, ada);
    (void)ask("/api/v1/eval/runs/" + run + "?why=secret", ada);
    (void)ask("/api/v1/eval/runs/run_none", ada);
    EXPECT_EQ(m_cluster->query("SELECT string_agg(key || ' ' || action || ' ' || status, '\n' "
                               "ORDER BY at) FROM uses"),
              "ada POST /api/v1/eval/jobs 202\n"
              "ada GET /api/v1/eval/jobs/" +
                  job +
                  " 200\n"
                  "ada GET /api/v1/eval/runs/" +
                  run +
                  " 200\n"
                  "ada GET /api/v1/eval/runs/run_none 404");
    m_store->prune(m_store->nowMs() + 1000);
    EXPECT_EQ(m_cluster->query("SELECT count(*) FROM uses"), "0") << "with the runs of their time";
}

TEST_F(TeamApiTest, TellsWhoWatchesHowMuchThereIsToDo) {
    const HeaderLines ada = person("ada");
    const std::string done = submit("done", ada);
    (void)finishedRun(done, ada);
    m_critic.close();
    const std::string held = submit("held", ada);
    m_critic.awaitArrivals(2);
    const std::string waits = submit("waits", ada);
    m_cluster->query("UPDATE jobs SET created = created - 90000 WHERE id = '" + waits + "'");
    m_cluster->query("INSERT INTO workers VALUES ('gone', true, now() - interval '1 second'), "
                     "('new', false, now() + interval '1 minute')");
    // It says so itself, from a thread of its own.
    while (!m_store->hasWorkers()) std::this_thread::yield();
    const StoreFigures figures = m_store->figures();
    EXPECT_EQ(figures.queued, 1U);
    EXPECT_EQ(figures.running, 1U);
    EXPECT_GE(figures.oldestQueued, 90s);
    EXPECT_LT(figures.oldestQueued, 1h);
    EXPECT_EQ(figures.workersReady, 1U) << "its own";
    EXPECT_EQ(figures.workersWarming, 1U);
    EXPECT_EQ(m_queue->cancel(waits), JobDesk::Cancelled::done);
    EXPECT_EQ(m_store->counts().completed, 1U);
    EXPECT_EQ(m_store->counts().failed, 1U);
    EXPECT_EQ(ask("/nowhere/private-words", ada).status, 404);

    const Reply told = watch("/metrics");
    EXPECT_EQ(told.status, 200);
    EXPECT_EQ(told.headers.at("content-type"), "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_THAT(told.body, HasSubstr("\ntrevix_jobs{state=\"running\"} 1\n"));
    EXPECT_THAT(told.body, HasSubstr("\ntrevix_requests_total{code=\"202\"} 3\n"));
    EXPECT_THAT(told.body, HasSubstr("\ntrevix_requests_total{code=\"404\"} 1\n"));
    for (const char* secret : {"ada", "private", "held"}) {
        EXPECT_THAT(told.body, Not(HasSubstr(secret)));
        EXPECT_THAT(m_logged, Not(HasSubstr(secret)));
    }
    EXPECT_THAT(m_logged, HasSubstr(R"("method":"GET","route":"other","status":404)"));
    EXPECT_THAT(m_logged, HasSubstr(R"("method":"POST","route":"/api/v1/eval/jobs","status":202)"));
}

TEST_F(TeamApiTest, WhoWatchesIsToldNothingElse) {
    EXPECT_EQ(watch("/api/v1/eval/jobs/job_x").status, 404);
    EXPECT_EQ(watch("/console?run=run_x").status, 404);
    EXPECT_EQ(post(m_watchPort->port(), "/metrics", "{}").status, 405);
    EXPECT_EQ(get(m_watchPort->port(), "/metrics", {{"Host", "evil.example"}}).status, 403);
    EXPECT_EQ(ask("/metrics", {}).status, 404) << "where everybody asks there are none";
    m_queue->stop();
    EXPECT_EQ(watch("/readyz").status, 503);
    EXPECT_EQ(watch("/healthz").status, 200);
}

TEST(RouteName, HasNoWordOfTheClients) {
    EXPECT_EQ(routeName("/api/v1/eval/jobs/trevix_team_0"), "/api/v1/eval/jobs/{id}");
    EXPECT_EQ(routeName("/api/v1/eval/runs/run_1/iterate"), "/api/v1/eval/runs/{id}/iterate");
    EXPECT_EQ(routeName("/api/v1/eval/dismissals/undo"), "/api/v1/eval/dismissals/undo");
    EXPECT_EQ(routeName("/private words"), "other");
    EXPECT_EQ(routeName("/"), "/");
}

TEST_F(TeamApiTest, AnswersToItsPublicNameAndToNoOther) {
    const HeaderLines ada = person("ada");
    const std::string run = finishedRun(submit("work", ada), ada);
    const auto asked = [&](const std::string& host, const std::string& origin) {
        std::string text = "POST /api/v1/eval/runs/" + run + "/ticket HTTP/1.1\r\nHost: " + host +
                           "\r\nAuthorization: " + ada.front().second +
                           "\r\nContent-Type: application/json\r\nContent-Length: 2\r\n";
        if (!origin.empty()) text += "Origin: " + origin + "\r\n";
        return roundTrip(m_server->port(), text + "\r\n{}");
    };
    const Reply ticket = asked("Judge.example.org", "");
    EXPECT_EQ(ticket.status, 200) << ticket.body;
    EXPECT_THAT(ticket.body, HasSubstr("https://judge.example.org/console?run="));
    EXPECT_EQ(asked("judge.example.org", "https://judge.example.org").status, 200);
    EXPECT_EQ(asked("judge.example.org", "http://judge.example.org").status, 403);
    EXPECT_EQ(asked("judge.example.org:8443", "").status, 403);
    EXPECT_EQ(asked("elsewhere.example.org", "").status, 403);
    EXPECT_EQ(asked("127.0.0.1", "").status, 200);

    const std::string address = json::parse(ticket.body).at("report");
    const Reply opened = ask(address.substr(address.find("/console")), {});
    EXPECT_EQ(opened.status, 303);
    EXPECT_THAT(opened.headers.at("set-cookie"), HasSubstr("; Secure"));
}

TEST_F(TeamApiTest, TablesOfBeforeThereWerePeopleAreTakenOver) {
    m_queue->stop();
    m_cluster->clear();
    {
        SqlConnection connection(m_cluster->address());
        bringUpTo(connection, 1);
        connection.execute("INSERT INTO jobs (id, kind, run_id, created, bytes) VALUES "
                           "('job_1', 'grade', '', 1, 4); "
                           "INSERT INTO payloads VALUES ('job_1', 'work')");
    }
    const auto store = openPostgresStore(m_cluster->address());
    EXPECT_EQ(store->pendingJobs().size(), 1U);
    EXPECT_EQ(store->groupOfJob("job_1"), "");
    EXPECT_EQ(m_cluster->query("SELECT version FROM format"), std::to_string(sharedFormat()));
}

} // namespace
} // namespace trevix
