#include "service/http/report_gate.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace trevix {
namespace {

using namespace std::chrono_literals;

class ReportGateTest : public testing::Test {
protected:
    ReportGate::Instant m_now{1h};
    ReportGate m_gate{[this] { return m_now; }};
};

TEST_F(ReportGateTest, ATicketOpensItsReportOnce) {
    const std::string ticket = m_gate.ticketFor("run_a");
    EXPECT_TRUE(m_gate.isTicket(ticket, "run_a"));
    EXPECT_EQ(m_gate.redeem(ticket, "run_b"), std::nullopt);
    const auto pass = m_gate.redeem(ticket, "run_a");
    ASSERT_TRUE(pass);
    EXPECT_FALSE(m_gate.isTicket(ticket, "run_a"));
    EXPECT_EQ(m_gate.redeem(ticket, "run_a"), std::nullopt);
    EXPECT_TRUE(m_gate.isPass(*pass, "run_a"));
    EXPECT_FALSE(m_gate.isPass(*pass, "run_b"));
    EXPECT_FALSE(m_gate.isPass(ticket, "run_a"));
    EXPECT_FALSE(m_gate.isTicket(*pass, "run_a"));
}

TEST_F(ReportGateTest, TicketsLastAMinuteAndPassesAnHour) {
    const std::string late = m_gate.ticketFor("run_a");
    const std::string used = m_gate.ticketFor("run_a");
    m_now += 59s;
    const auto pass = m_gate.redeem(used, "run_a");
    ASSERT_TRUE(pass);
    m_now += 1s;
    EXPECT_EQ(m_gate.redeem(late, "run_a"), std::nullopt);
    m_now += 59min;
    EXPECT_TRUE(m_gate.isPass(*pass, "run_a"));
    m_now += 1min;
    EXPECT_FALSE(m_gate.isPass(*pass, "run_a"));
}

TEST_F(ReportGateTest, NothingIsGuessed) {
    (void)m_gate.ticketFor("run_a");
    for (const char* wrong : {"", "ticket_", "ticket_00000000000000000000000000000000"}) {
        EXPECT_FALSE(m_gate.isTicket(wrong, "run_a")) << wrong;
        EXPECT_FALSE(m_gate.isPass(wrong, "run_a")) << wrong;
    }
    std::set<std::string> drawn;
    for (int i = 0; i < 100; ++i) drawn.insert(m_gate.ticketFor("run_a"));
    EXPECT_EQ(drawn.size(), 100U);
    for (const std::string& each : drawn) {
        EXPECT_EQ(each.size(), std::string("ticket_").size() + 32U) << each;
    }
}

TEST_F(ReportGateTest, TheOldestMakesRoom) {
    std::vector<std::string> tickets;
    for (int i = 0; i < 257; ++i) tickets.push_back(m_gate.ticketFor("run_a"));
    EXPECT_FALSE(m_gate.isTicket(tickets.front(), "run_a"));
    EXPECT_TRUE(m_gate.isTicket(tickets[1], "run_a"));
    EXPECT_TRUE(m_gate.isTicket(tickets.back(), "run_a"));
}

} // namespace
} // namespace trevix
