#include "eval/grade_ticket.h"

#include <utility>

namespace kelvane {

std::optional<std::string> GradeTicket::cancel() {
    const std::lock_guard lock(m_mutex);
    m_cancelled = true;
    // Handed out once: whoever has it gives the job up.
    return std::exchange(m_jobId, std::nullopt);
}

bool GradeTicket::cancelled() const {
    const std::lock_guard lock(m_mutex);
    return m_cancelled;
}

bool GradeTicket::accept(const std::string& jobId) {
    const std::lock_guard lock(m_mutex);
    // The other order of the two: cancelled first, so whoever sent the job has to give it up.
    if (m_cancelled) return false;
    m_jobId = jobId;
    return true;
}

void GradeTicket::finish() {
    const std::lock_guard lock(m_mutex);
    m_jobId.reset();
}

} // namespace kelvane
