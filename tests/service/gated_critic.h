// A critic whose verdicts the test can foresee and whose moments it decides.
//
// Each line "severity rule: evidence" of a text part is one finding; "throw" makes it fail. While
// closed, the critic waits at its door, and a test can see how many works have come in.

#pragma once

#include "critics/findings/critique.h"
#include "critics/findings/progress.h"
#include "critics/findings/stop.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace trevix {

class GatedCritic {
public:
    explicit GatedCritic(bool open = true) : m_open(open) {}
    ~GatedCritic() { open(); }

    std::optional<Critique>
    operator()(const Submission& submission, const StopToken& cancel,
               const std::function<void(const GradingProgress&)>& progress) {
        if (progress) progress({0, 1, {"gate"}});
        const StopCallback wake(cancel, [this] {
            const std::lock_guard lock(m_mutex);
            m_changed.notify_all();
        });
        {
            std::unique_lock lock(m_mutex);
            m_judged.push_back(submission);
            m_changed.notify_all();
            m_changed.wait(lock, [&] { return m_open || m_passes > 0 || cancel.isAsked(); });
            if (cancel.isAsked()) return std::nullopt;
            if (!m_open) --m_passes;
        }
        Critique critique;
        critique.findings = findingsIn(submission);
        critique.coverage.known = true;
        critique.coverage.checked({"gate", "1", "what it was told"});
        return critique;
    }

    void open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    void close() {
        const std::lock_guard lock(m_mutex);
        m_open = false;
    }
    void letOnePass() {
        const std::lock_guard lock(m_mutex);
        ++m_passes;
        m_changed.notify_all();
    }
    /// Blocks until so many works have come to the door.
    void awaitArrivals(std::size_t count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_judged.size() >= count; });
    }
    /// In the order of judging.
    [[nodiscard]] std::vector<Submission> judged() {
        const std::lock_guard lock(m_mutex);
        return m_judged;
    }

    static std::vector<Finding> findingsIn(const Submission& submission) {
        std::vector<Finding> findings;
        for (const Part& part : submission.parts) {
            std::istringstream lines(part.text);
            std::string line;
            for (int number = 1; std::getline(lines, line); ++number) {
                if (line == "throw") throw std::runtime_error("the critic stumbled");
                const auto colon = line.find(": ");
                const auto space = line.find(' ');
                if (colon == std::string::npos || space > colon) continue;
                const std::string word = line.substr(0, space);
                Finding finding;
                if (word == "critical")
                    finding.severity = Severity::critical;
                else if (word == "high")
                    finding.severity = Severity::high;
                else if (word == "medium")
                    finding.severity = Severity::medium;
                else if (word != "low")
                    continue;
                finding.rule = line.substr(space + 1, colon - space - 1);
                finding.criterion = "criterion of " + finding.rule;
                finding.place = "line " + std::to_string(number);
                finding.evidence = line.substr(colon + 2);
                finding.detail = "Line " + std::to_string(number) + ": " + finding.evidence;
                findings.push_back(finding);
            }
        }
        return findings;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Submission> m_judged;
    bool m_open;
    int m_passes = 0;
};

} // namespace trevix
