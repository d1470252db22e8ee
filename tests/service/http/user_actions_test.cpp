// What a person says about findings, as a program with the key and as a browser on a report.

#include "service/http/user_actions.h"

#include "service/http/http_api.h"
#include "service/job_queue.h"
#include "service/report/page_action.h"
#include "service/store/sqlite_store.h"
#include "tests/service/bodies.h"
#include "tests/service/gated_critic.h"
#include "tests/service/http/http_client.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace trevix {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kDismissals = "/api/v1/eval/dismissals";

class UserActionsTest : public testing::Test {
protected:
    UserActionsTest() {
        m_store = SqliteStore::open(m_folder.path() / "runs.db", 1).store;
        QueueOptions queue;
        queue.critic = [this](const auto&... asked) { return m_critic(asked...); };
        queue.warmUp = [] {};
        queue.nowMs = [] { return std::int64_t{1'772'546'709'000}; };
        queue.keepWork = std::chrono::hours(24);
        m_queue = std::make_unique<JobQueue>(*m_store, std::move(queue));
        ApiOptions api;
        api.key = "the-right-key";
        api.dismissed = m_folder.path() / "config/dismissed.tsv";
        api.dictionary = m_folder.path() / "config/dictionary.txt";
        api.nowMs = [] { return std::int64_t{1'772'546'709'000}; };
        m_api = std::make_unique<HttpApi>(std::move(api), *m_queue, *m_store);
        m_server = std::move(std::get<std::unique_ptr<HttpServer>>(HttpServer::listen({}, *m_api)));
        m_server->start();
    }

    [[nodiscard]] std::uint16_t port() const { return m_server->port(); }
    [[nodiscard]] std::string host() const { return "127.0.0.1:" + std::to_string(port()); }
    static HeaderLines keyed() { return {{"Authorization", "Bearer the-right-key"}}; }
    Reply posted(std::string_view target, std::string_view body) {
        return post(port(), target, body, keyed());
    }
    std::string graded(const std::string& text) {
        const json accepted = json::parse(posted("/api/v1/eval/jobs", submitBody(text)).body);
        m_job = "/api/v1/eval/jobs/" + accepted.at("job_id").get<std::string>();
        while (true) {
            const json answer = json::parse(get(port(), m_job, keyed()).body);
            if (answer.at("status") == "completed") return answer.at("run_id");
            std::this_thread::yield();
        }
    }
    json run(const std::string& id) {
        return json::parse(get(port(), "/api/v1/eval/runs/" + id, keyed()).body).at("run");
    }
    std::string page(const std::string& id) {
        return get(port(), "/console?run=" + id, keyed()).body;
    }
    static std::string tokenIn(const std::string& html) {
        const std::string before = "name=\"token\" value=\"";
        const auto at = html.find(before);
        return at == std::string::npos ? "" : html.substr(at + before.size(), 32);
    }
    /// As a browser sends a form of the report.
    Reply sent(const std::string& id, const std::string& body, HeaderLines more = {}) {
        HeaderLines headers{{"Authorization", "Bearer the-right-key"},
                            {"Host", host()},
                            {"Origin", "http://" + host()},
                            {"Content-Type", "application/x-www-form-urlencoded"}};
        for (auto& line : more) {
            std::erase_if(headers, [&](const auto& each) { return each.first == line.first; });
            if (!line.second.empty()) headers.push_back(line);
        }
        return post(port(), "/console?run=" + id, body, headers);
    }

    TemporaryFolder m_folder;
    GatedCritic m_critic{true};
    std::unique_ptr<RunStore> m_store;
    std::unique_ptr<JobQueue> m_queue;
    std::unique_ptr<HttpApi> m_api;
    std::unique_ptr<HttpServer> m_server;
    std::string m_job;
};

TEST_F(UserActionsTest, AProgramDismissesAndUndoes) {
    const std::string id = graded("high a: one\nmedium b: two");
    EXPECT_EQ(run(id).at("band"), "route_to_fix");
    const json flaw = run(id).at("flaws")[0];
    const json said = {
        {"rule", flaw.at("rule")}, {"evidence", flaw.at("evidence")}, {"reason", "it is meant"}};
    EXPECT_EQ(posted(kDismissals, said.dump()).status, 200);

    json now = run(id);
    EXPECT_EQ(now.at("band"), "ship");
    EXPECT_EQ(now.at("score"), 0.92);
    EXPECT_EQ(now.at("flaws").size(), 1U);
    ASSERT_EQ(now.at("dismissed").size(), 1U);
    EXPECT_EQ(now.at("dismissed")[0].at("reason"), "it is meant");
    EXPECT_EQ(now.at("dismissed")[0].at("dismissed_at"), "2026-03-03T14:05:09Z");
    EXPECT_EQ(json::parse(get(port(), m_job, keyed()).body).at("result_summary").at("band"),
              "ship");
    const json list = json::parse(get(port(), kDismissals, keyed()).body).at("dismissals");
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].at("rule"), "a");

    const std::string other = graded("another line\nhigh a: one");
    EXPECT_EQ(run(other).at("dismissed").size(), 1U) << "wherever the same words stand";

    EXPECT_EQ(posted(std::string(kDismissals) + "/undo", said.dump()).status, 200);
    now = run(id);
    EXPECT_EQ(now.at("band"), "route_to_fix");
    EXPECT_EQ(now.at("score"), 0.72);
    EXPECT_EQ(now.at("dismissed").size(), 0U);
}

TEST_F(UserActionsTest, WhatCannotBeUsedIsExplained) {
    const struct {
        std::string target;
        std::string body;
        const char* text;
    } cases[] = {
        {kDismissals, "{}", "rule is missing"},
        {kDismissals, R"({"rule":""})", "rule must not be empty"},
        {kDismissals, R"({"rule":"a","evidence":"AKIA…"})", "place is missing"},
        {kDismissals, R"({"rule":"a"})", "place is missing"},
        {kDismissals, R"({"rule":"a","evidence":3})", "evidence must be a string"},
        {"/api/v1/eval/words", R"({"word":"two words"})", "no blanks"},
        {"/api/v1/eval/words/undo", "[]", "must be a JSON object"},
    };
    for (const auto& [target, body, text] : cases) {
        const Reply reply = posted(target, body);
        EXPECT_EQ(reply.status, 400) << body;
        EXPECT_THAT(reply.body, HasSubstr(text));
    }
    EXPECT_EQ(posted(kDismissals, std::string(kLargestForm + 1, ' ')).status, 413);
    for (const char* target : {kDismissals, "/api/v1/eval/dismissals/undo", "/api/v1/eval/words",
                               "/api/v1/eval/words/undo"}) {
        EXPECT_EQ(post(port(), target, "{}").status, 401) << target;
        EXPECT_EQ(
            post(port(), target, "{}",
                 {{"Authorization", "Bearer the-right-key"}, {"Origin", "http://evil.example"}})
                .status,
            403)
            << target;
        EXPECT_EQ(roundTrip(port(), requestText("PUT", target, keyed(), "")).status, 405);
    }
}

TEST_F(UserActionsTest, WordsGoIntoTheDictionaryAndOut) {
    const std::string id = graded("medium text.spelling: kelvan");
    const std::string word = run(id).at("flaws")[0].at("evidence");
    const json body = {{"word", word}};
    EXPECT_EQ(posted("/api/v1/eval/words", body.dump()).status, 200);
    EXPECT_EQ(run(id).at("dismissed").size(), 1U);
    EXPECT_THAT(run(id).at("dismissed")[0].at("reason"), HasSubstr("dictionary"));
    EXPECT_EQ(posted("/api/v1/eval/words/undo", body.dump()).status, 200);
    EXPECT_EQ(run(id).at("dismissed").size(), 0U);
}

TEST_F(UserActionsTest, AFormOfTheReportDismissesAndUndoes) {
    const std::string id = graded("high a: one");
    const std::string html = page(id);
    const Finding finding = m_store->run(id)->latest().findings[0];
    const std::string form = "token=" + tokenIn(html) + "&finding=" + findingKey(finding);
    const Reply reply = sent(id, form + "&reason=It+is+meant&do=dismiss");
    EXPECT_EQ(reply.status, 303);
    EXPECT_EQ(reply.headers.at("location"), "/console?run=" + id + "#k-" + findingKey(finding));
    EXPECT_THAT(page(id), HasSubstr("no flaw: It is meant"));
    EXPECT_THAT(page(id), HasSubstr("Ready to ship"));
    EXPECT_EQ(sent(id, form + "&do=undo").status, 303);
    EXPECT_THAT(page(id), Not(HasSubstr("It is meant")));
    EXPECT_THAT(page(id), HasSubstr("Fix it before it ships"));
    EXPECT_EQ(get(port(), "/console?run=" + id, keyed()).headers.at("referrer-policy"),
              "same-origin")
        << "else the browser would not name the origin of a form";
}

TEST_F(UserActionsTest, OneSaidOfAPlaceHoldsThereAndIsUndoneOnThePage) {
    const std::string id = graded("high a: one\nhigh a: one");
    EXPECT_EQ(posted(kDismissals, R"({"rule":"a","evidence":"one","place":"line 2"})").status, 200);
    ASSERT_EQ(run(id).at("dismissed").size(), 1U);
    EXPECT_EQ(run(id).at("dismissed")[0].at("place"), "line 2");
    const std::string key = findingKey(m_store->run(id)->latest().findings[1]);
    EXPECT_EQ(sent(id, "token=" + tokenIn(page(id)) + "&do=undo&finding=" + key).status, 303);
    EXPECT_TRUE(run(id).at("dismissed").empty());
}

TEST_F(UserActionsTest, NoOtherPageSpeaksForThePerson) {
    const std::string id = graded("high a: zebras");
    const std::string other = graded("high b: two");
    const std::string key = findingKey(m_store->run(id)->latest().findings[0]);
    const std::string token = tokenIn(page(id));
    const std::string form = "finding=" + key + "&do=dismiss&token=";
    for (const HeaderLines& foreign : {
             HeaderLines{{"Origin", "http://evil.example"}},
             HeaderLines{{"Origin", "null"}},
             HeaderLines{{"Origin", ""}},
             HeaderLines{{"Origin", "http://127.0.0.1:1"}},
             HeaderLines{{"Sec-Fetch-Site", "cross-site"}},
             HeaderLines{{"Sec-Fetch-Site", "same-site"}},
         }) {
        EXPECT_EQ(sent(id, form + token, foreign).status, 403) << foreign[0].second;
    }
    EXPECT_EQ(sent(id, form + token, {{"Content-Type", "text/plain"}}).status, 415);
    EXPECT_EQ(sent(id, form + token + std::string(kLargestForm, 'x')).status, 413);
    for (const std::string& wrong :
         {std::string(), std::string("0"), tokenIn(page(other)), token + "0"}) {
        const Reply reply = sent(id, form + wrong);
        EXPECT_EQ(reply.status, 403);
        EXPECT_THAT(reply.body, HasSubstr("older than the service"));
        EXPECT_THAT(reply.body, Not(HasSubstr("zebras"))) << "nothing is told of the run";
        EXPECT_THAT(reply.body, Not(HasSubstr(token)));
    }
    EXPECT_EQ(sent(id, "token=" + token + "&finding=0123&do=dismiss").status, 409);
    EXPECT_EQ(sent(id, "nonsense").status, 400);
    EXPECT_EQ(sent("run_none", form + token).status, 404);
    EXPECT_TRUE(run(id).at("dismissed").empty());
    EXPECT_FALSE(std::filesystem::exists(m_folder.path() / "config"));
}

TEST_F(UserActionsTest, TheReportShowsTheWorkWhileItIsKept) {
    const std::string id = graded("a line of its own\nhigh a: one");
    EXPECT_THAT(page(id), HasSubstr("a line of its own"));
    m_store->dropWork(std::int64_t{1} << 60U, 0);
    EXPECT_THAT(page(id), Not(HasSubstr("a line of its own")));
    EXPECT_THAT(page(id), HasSubstr("The work itself is not kept"));
}

} // namespace
} // namespace trevix
