// One grade's claim on the service, by which it can be given up while it runs.
//
// Shared by the thread that grades and the one that gives up. Whoever comes second learns the job
// that the service had accepted, so that it is given up there exactly once. Any thread may call any
// member.

#pragma once

#include <mutex>
#include <optional>
#include <string>

namespace kelvane {

class GradeTicket {
public:
    /// Gives the grade up: it asks the service for nothing more. The job for the caller to give up
    /// there; absent when there is none yet, when it is over, and on every call but the first.
    [[nodiscard]] std::optional<std::string> cancel();

    [[nodiscard]] bool cancelled() const;

    /// The service has accepted this job. False when the grade was given up before: then it is the
    /// caller's to give up there.
    [[nodiscard]] bool accept(const std::string& jobId);

    /// The job is over; there is nothing left to give up.
    void finish();

private:
    mutable std::mutex m_mutex;
    bool m_cancelled = false;
    std::optional<std::string> m_jobId;
};

} // namespace kelvane
