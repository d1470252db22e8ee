#include "service/http/report_gate.h"

#include "service/store/random_id.h"

#include <utility>

namespace trevix {

namespace {

// Of each kind. Far more than one person opens in an hour; the oldest makes room.
constexpr std::size_t kMostGrants = 256;

// In a time that does not depend on how much of it is right.
bool same(std::string_view one, std::string_view other) {
    if (one.size() != other.size()) return false;
    unsigned difference = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        difference |= static_cast<unsigned char>(one[i]) ^
                      static_cast<unsigned>(static_cast<unsigned char>(other[i]));
    }
    return difference == 0;
}

} // namespace

std::string ReportGate::ticketFor(const std::string& runId) {
    const std::lock_guard lock(m_mutex);
    return grant(m_tickets, "ticket_", runId, kTicketLasts);
}

bool ReportGate::isTicket(std::string_view ticket, std::string_view runId) {
    const std::lock_guard lock(m_mutex);
    return find(m_tickets, ticket, runId) != m_tickets.end();
}

std::optional<std::string> ReportGate::redeem(std::string_view ticket, std::string_view runId) {
    const std::lock_guard lock(m_mutex);
    const auto found = find(m_tickets, ticket, runId);
    // Used up whether or not the answer arrives: an address that leaked is worth nothing after
    // that.
    if (found == m_tickets.end()) return std::nullopt;
    m_tickets.erase(found);
    return grant(m_passes, "pass_", runId, kPassLasts);
}

bool ReportGate::isPass(std::string_view pass, std::string_view runId) {
    const std::lock_guard lock(m_mutex);
    return find(m_passes, pass, runId) != m_passes.end();
}

std::string ReportGate::grant(Grants& grants, std::string_view prefix, std::string_view runId,
                              std::chrono::seconds lasts) {
    if (grants.size() >= kMostGrants) grants.pop_front();
    grants.push_back({randomName(prefix, 16), std::string(runId), m_now() + lasts});
    return grants.back().secret;
}

ReportGate::Grants::iterator ReportGate::find(Grants& grants, std::string_view secret,
                                              std::string_view runId) {
    // All of a kind last equally long, so the list is in the order of ending too.
    const Instant now = m_now();
    while (!grants.empty() && grants.front().ends <= now) grants.pop_front();
    auto found = grants.end();
    // To the end even when found: how long it takes tells nothing of where it stands.
    for (auto each = grants.begin(); each != grants.end(); ++each) {
        if (same(each->secret, secret) && each->runId == runId) found = each;
    }
    return found;
}

} // namespace trevix
