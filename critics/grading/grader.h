// The judge of a piece of work with everything that this machine has: the critics in a child
// process, and beside it the programs that know this kind of work.
//
// They run beside each other. A child that ends badly takes nothing with it: what it made of the
// parts before stands, the part it ended on is judged once more without the readers that were made
// by others, and the coverage says what was not looked at. Any thread, several works at once.

#pragma once

#include "critics/critic.h"
#include "critics/engines/engine.h"
#include "critics/findings/critique.h"
#include "critics/findings/progress.h"
#include "critics/findings/stop.h"
#include "critics/worker/child_process.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace trevix {

struct GraderOptions {
    /// The program that judges what encode() made of a submission on standard input, and writes
    /// frames; see writeFrames(). Its input is filled in.
    ChildRequest worker;
    std::string workerName = "trevix"; ///< For people.
    /// What the worker is told to leave other people's readers alone.
    std::string ownReadersOption = "--own-readers";
    std::size_t atOnce = 2; ///< Children at work on one submission; see childrenAtOnce().
    /// From its beginning: after that nobody else is asked about the work, and the coverage says
    /// who was not. Three times what the slowest child may take over a part on its own; chosen so
    /// that a job of many parts, each made to be slow, holds the others up for minutes and not for
    /// hours.
    std::chrono::milliseconds enough{60'000};
    std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
};

/// How many children work on one submission on a machine of so many cores; 0 for unknown.
[[nodiscard]] std::size_t childrenAtOnce(unsigned cores);

class Grader {
public:
    /// Both must outlive the grader.
    Grader(ChildRunner& runner, EngineRoom& engines, GraderOptions options);

    /// Blocks. `progress`, if any, is called from several threads, one at a time. Absent when it
    /// was cancelled.
    [[nodiscard]] std::optional<Critique>
    grade(const Submission& submission, StopToken cancel,
          const std::function<void(const GradingProgress&)>& progress) const;

private:
    using Until = std::chrono::steady_clock::time_point;

    [[nodiscard]] std::vector<Critique> askCritics(const Submission& submission, Until enough,
                                                   const StopToken& cancel) const;
    [[nodiscard]] bool isEnough(Until enough) const { return m_options.now() >= enough; }
    [[nodiscard]] NotChecked notAsked(std::string who) const;

    ChildRunner& m_runner;
    EngineRoom& m_engines;
    const GraderOptions m_options;
};

/// The worker's own end of it: judges what stands encoded in `input`, and hands what it made of
/// each part to `write`, as soon as it is made. False for bytes that are no submission.
[[nodiscard]] bool writeFrames(std::string input, const CriticTools& tools,
                               const std::function<void(std::string_view)>& write);

/// An engine room with nobody in it.
class NoEngines : public EngineRoom {
public:
    std::vector<std::string> enginesFor(const Part&, std::string_view) const override { return {}; }
    Critique look(std::string_view, const Part&, std::string_view, StopToken) override {
        return {};
    }
    std::vector<NotChecked> absentFor(const Part&, std::string_view) const override { return {}; }
};

} // namespace trevix
