// The product's own client against the service: both ends of the wire as they ship, but for the
// critics.

#include "eval/eval_bridge.h"
#include "eval/grade_ticket.h"
#include "platform/curl/curl_http_session.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_environment.h"
#include "platform/fake/journal.h"
#include "platform/ports/quit_signal.h"
#include "service/http/http_api.h"
#include "service/job_queue.h"
#include "service/store/sqlite_store.h"
#include "tests/service/gated_critic.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <thread>

namespace trevix {
namespace {

using namespace kelvane;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class ClientTest : public testing::Test {
public:
    void start(std::function<void()> warmUp = [] {}) {
        m_store = SqliteStore::open(m_folder.path() / "runs.db", 1).store;
        QueueOptions queue;
        queue.critic = [this](const auto&... asked) { return m_critic(asked...); };
        queue.warmUp = std::move(warmUp);
        queue.nowMs = [] { return std::int64_t{1}; };
        m_queue = std::make_unique<JobQueue>(*m_store, std::move(queue));
        ApiOptions api;
        api.key = "the-right-key";
        m_api = std::make_unique<HttpApi>(std::move(api), *m_queue, *m_store);
        auto listening = HttpServer::listen({}, *m_api);
        m_server = std::move(std::get<std::unique_ptr<HttpServer>>(listening));
        m_server->start();
        m_environment.variables["BRASK_API_BASE"] =
            "http://127.0.0.1:" + std::to_string(m_server->port()) + "/";
        // The client's time passes while it waits; the service does its work meanwhile.
        m_clock.onSleep = [this](Instant) {
            while (!m_store->pendingJobs().empty() && !m_queue->isWarming()) {
                std::this_thread::yield();
            }
        };
    }
    ~ClientTest() override { m_critic.open(); }

    Verdict grade(const std::string& text, const std::string& key = "the-right-key") {
        return EvalBridge::grade(m_ports, {{"text/plain", text, std::nullopt, "selection"}}, "text",
                                 "writing", "policy", "Validate this work before it ships.", key);
    }
    Verdict iterate(const std::string& runId, const std::string& text) {
        return EvalBridge::iterate(m_ports, runId,
                                   {{"text/plain", text, std::nullopt, "selection"}},
                                   "Validate this work before it ships.", "the-right-key");
    }

    TemporaryFolder m_folder;
    GatedCritic m_critic;
    std::unique_ptr<RunStore> m_store;
    std::unique_ptr<JobQueue> m_queue;
    std::unique_ptr<HttpApi> m_api;
    std::unique_ptr<HttpServer> m_server;

    QuitSignal m_quit;
    Journal m_journal;
    FakeEnvironment m_environment;
    FakeClock m_clock{m_journal};
    std::unique_ptr<HttpSession> m_http = makeCurlHttpSession(m_quit);
    EvalBridge::Ports m_ports{m_environment, *m_http, m_clock};
};

TEST_F(ClientTest, AGradeReturnsTheVerdict) {
    start();
    const Verdict verdict = grade("high text.placeholder: TODO\nlow text.style: so");
    EXPECT_EQ(verdict.band, kelvane::Band::route_to_fix);
    EXPECT_EQ(verdict.score, 0.78);
    EXPECT_EQ(verdict.error, std::nullopt);
    ASSERT_THAT(verdict.flaws, SizeIs(2));
    EXPECT_EQ(verdict.flaws[0], (Flaw{"HIGH", "criterion of text.placeholder", "Line 1: TODO"}));
    ASSERT_TRUE(verdict.runId);
    const auto run = m_store->run(*verdict.runId);
    ASSERT_TRUE(run);
    EXPECT_EQ(run->vertical, "writing");
    EXPECT_EQ(run->policyId, "policy");
    EXPECT_EQ(run->iterations[0].intent, "Validate this work before it ships.");
}

TEST_F(ClientTest, WorkWithoutFlawsShips) {
    start();
    const Verdict verdict = grade("fine words");
    EXPECT_EQ(verdict.band, kelvane::Band::ship);
    EXPECT_EQ(verdict.score, 1.0);
    EXPECT_THAT(verdict.flaws, IsEmpty());
}

TEST_F(ClientTest, ARevisionChangesTheVerdict) {
    start();
    const Verdict first = grade("critical secrets.key: abc");
    EXPECT_EQ(first.band, kelvane::Band::block);
    const Verdict second = iterate(first.runId.value_or(""), "no secrets");
    EXPECT_EQ(second.band, kelvane::Band::ship);
    EXPECT_EQ(second.score, 1.0);
    EXPECT_EQ(second.runId, first.runId);
    EXPECT_THAT(m_store->run(*first.runId)->iterations, SizeIs(2));
}

TEST_F(ClientTest, TheVerdictTellsWhoJudged) {
    start();
    const std::vector<kelvane::CheckedBy> expected{{"gate", "1", "what it was told"}};
    const Verdict first = grade("fine words");
    EXPECT_EQ(first.checkedBy, expected);
    EXPECT_THAT(first.notChecked, IsEmpty());
    EXPECT_EQ(iterate(first.runId.value_or(""), "finer words").checkedBy, expected);
}

TEST_F(ClientTest, AGradeThatIsGivenUpIsJudgedByNobody) {
    std::promise<void> ready;
    start([&] { ready.get_future().wait(); });
    GradeTicket ticket;
    m_ports.ticket = &ticket;
    m_clock.onSleep = [&](Instant) {
        const auto jobId = ticket.cancel();
        ASSERT_TRUE(jobId);
        EXPECT_THAT(m_store->pendingJobs(), SizeIs(1));
        EvalBridge::cancelJob(m_ports, *jobId, "the-right-key");
    };
    EXPECT_EQ(grade("x").error, "the grade was cancelled");
    EXPECT_THAT(m_clock.sleeps, SizeIs(1));
    EXPECT_THAT(m_store->pendingJobs(), IsEmpty());
    ready.set_value();
    m_ports.ticket = nullptr;
    m_clock.onSleep = [this](Instant) {
        while (!m_store->pendingJobs().empty()) std::this_thread::yield();
    };
    EXPECT_EQ(grade("y").band, kelvane::Band::ship);
    ASSERT_THAT(m_critic.judged(), SizeIs(1));
    EXPECT_EQ(m_critic.judged()[0].parts[0].text, "y");
}

TEST_F(ClientTest, PicturesArriveAsTheyWereSent) {
    start();
    const std::string bytes("\x89PNG\r\n\x1a\n\0\xff", 10);
    const Verdict verdict =
        EvalBridge::grade(m_ports, {{"image/png", std::nullopt, "iVBORw0KGgoA/w==", "window.png"}},
                          "ui_ux", std::nullopt, std::nullopt, "intent", "the-right-key");
    EXPECT_EQ(verdict.error, std::nullopt);
    ASSERT_THAT(m_critic.judged(), SizeIs(1));
    EXPECT_EQ(m_critic.judged()[0].parts[0].bytes, bytes);
    EXPECT_EQ(m_critic.judged()[0].modality, "ui_ux");
}

TEST_F(ClientTest, AWrongKeyIsToldAsTheClientWordsIt) {
    start();
    EXPECT_EQ(grade("x", "another-key").error, "not authorized — check your Trevix key (HTTP 401)");
}

TEST_F(ClientTest, WorkThatCannotBeJudgedIsAFailureWithItsReason) {
    start();
    EXPECT_EQ(grade("throw").error, "the critics could not judge this work: the critic stumbled");
}

TEST_F(ClientTest, ARevisionOfAnUnknownRunIsAVerdictWithoutAnswer) {
    start();
    EXPECT_EQ(iterate("run_none", "x").band, kelvane::Band::unknown);
}

TEST_F(ClientTest, AServiceThatWarmsUpPastTheDeadlineSaysSo) {
    std::promise<void> ready;
    start([&] { ready.get_future().wait(); });
    const Verdict verdict = grade("x");
    EXPECT_EQ(verdict.error, "grade timed out after 420s");
    EXPECT_TRUE(verdict.warming);
    ready.set_value();
}

} // namespace
} // namespace trevix
