// What the service says while it runs, in either form.

#include "service/service_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <vector>

namespace trevix {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::ElementsAre;

class ServiceLogTest : public testing::Test {
protected:
    std::vector<std::string> m_lines;
    const ServiceLog::Sink m_sink = [this](const std::string& line) { m_lines.push_back(line); };
    const std::function<std::int64_t()> m_now = [] { return std::int64_t{1'772'600'767'089}; };
};

TEST_F(ServiceLogTest, ForPeopleHasNoticesAlone) {
    ServiceLog log(false, m_now, m_sink);
    log.notice("the disk is full");
    log.notice("");
    log.request("GET", "/healthz", 200, 3ms);
    log.judged({"job_1", JobKind::grade, 1, 3ms});
    log.stage("started", "api");
    EXPECT_THAT(m_lines, ElementsAre("trevix-local: the disk is full\n"));
}

TEST_F(ServiceLogTest, ForProgramsHasOneObjectALine) {
    ServiceLog log(true, m_now, m_sink);
    log.notice("two\nlines, \"quoted\", and \xff");
    log.request("POST", "/api/v1/eval/jobs", 202, 3ms);
    log.judged({"job_1", JobKind::iterate, 2, 1234ms});
    log.stage("draining", "worker");
    const std::string time = "2026-03-04T05:06:07.089Z";
    std::vector<json> objects;
    for (const std::string& line : m_lines) {
        EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
        objects.push_back(json::parse(line));
    }
    EXPECT_THAT(objects,
                ElementsAre(json{{"time", time},
                                 {"event", "notice"},
                                 {"text", "two\nlines, \"quoted\", and \xef\xbf\xbd"}},
                            json{{"time", time},
                                 {"event", "request"},
                                 {"method", "POST"},
                                 {"route", "/api/v1/eval/jobs"},
                                 {"status", 202},
                                 {"ms", 3}},
                            json{{"time", time},
                                 {"event", "judged"},
                                 {"job", "job_1"},
                                 {"kind", "iterate"},
                                 {"attempt", 2},
                                 {"ms", 1234}},
                            json{{"time", time}, {"event", "draining"}, {"role", "worker"}}));
}

} // namespace
} // namespace trevix
