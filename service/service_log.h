// What a process of the service says while it runs: a sentence for a person, or one JSON object a
// line for programs.
//
// In a line stand times, counts, ids of jobs, and names that this program has given; never work, a
// key, a ticket, or a path as a client sent it. Notices for people are the sentences that the
// program prints anyway. A line that cannot be written is lost, and nothing else. Any thread.

#pragma once

#include "service/job_desk.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace trevix {

class ServiceLog {
public:
    /// Writes one line, its line feed included; called by one thread at a time.
    using Sink = std::function<void(const std::string& line)>;

    ServiceLog(bool json, std::function<std::int64_t()> nowMs, Sink sink)
        : m_json(json),
          m_nowMs(std::move(nowMs)),
          m_sink(std::move(sink)) {}

    /// For people, in either form.
    void notice(const std::string& text);

    // These are told in JSON alone.
    /// A request that was answered; `route` and `method` are of a bounded set.
    void request(std::string_view method, std::string_view route, int status,
                 std::chrono::milliseconds took);
    void judged(const JudgedJob& job);
    /// "started", "draining", "ended".
    void stage(std::string_view event, std::string_view role);

private:
    const bool m_json;
    const std::function<std::int64_t()> m_nowMs;
    const Sink m_sink;
    std::mutex m_mutex;

    void write(const std::string& line);
};

} // namespace trevix
