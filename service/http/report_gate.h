// Who may read a report in a browser.
//
// A browser sends no key, and an address that it is started with is seen by other users of the
// machine: in the list of processes, in a history. So an address alone opens nothing. Who has the
// key asks for a ticket, which opens one report once and soon; it is exchanged for a pass that the
// browser keeps as a cookie. Both are drawn, held in memory, bounded in number and gone with the
// service. The time comes in from outside. Any thread.

#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

class ReportGate {
public:
    using Instant = std::chrono::steady_clock::time_point;

    /// How long a ticket waits for the browser: it may have to be started first.
    static constexpr std::chrono::seconds kTicketLasts{60};
    /// How long a page that is open can be loaded again.
    static constexpr std::chrono::seconds kPassLasts{3600};

    explicit ReportGate(std::function<Instant()> now) : m_now(std::move(now)) {}

    /// A ticket to the report on the run: letters, digits and "_".
    [[nodiscard]] std::string ticketFor(const std::string& runId);

    /// Whether `redeem` would give a pass. Costs the ticket nothing.
    [[nodiscard]] bool isTicket(std::string_view ticket, std::string_view runId);

    /// The pass that the ticket is worth. Absent when it is for another run, was exchanged before,
    /// or is too old; one for another run stays valid.
    [[nodiscard]] std::optional<std::string> redeem(std::string_view ticket,
                                                    std::string_view runId);

    [[nodiscard]] bool isPass(std::string_view pass, std::string_view runId);

private:
    struct Grant {
        std::string secret;
        std::string runId;
        Instant ends;
    };
    using Grants = std::deque<Grant>; // in the order of their ends

    [[nodiscard]] std::string grant(Grants& grants, std::string_view prefix, std::string_view runId,
                                    std::chrono::seconds lasts); // under m_mutex
    [[nodiscard]] Grants::iterator find(Grants& grants, std::string_view secret,
                                        std::string_view runId); // under m_mutex

    const std::function<Instant()> m_now;
    std::mutex m_mutex;
    Grants m_tickets;
    Grants m_passes;
};

} // namespace trevix
