// Other programs, run and waited for, now or later.

#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelvane {

enum class ProcessOutput {
    Inherit, ///< Standard input, output and error are this program's own.
    Capture, ///< Standard output is collected, standard error discarded, standard input empty.
};

struct ProcessRequest {
    std::string program;                ///< Absolute path; the search path is not consulted.
    std::vector<std::string> arguments; ///< Without the program itself.
    ProcessOutput output = ProcessOutput::Capture;
    /// How long it may run once somebody waits for it; 0 is for ever. With a limit the program is
    /// the first of a session of its own, and when its time is over all of that session's first
    /// group is ended with it.
    std::chrono::milliseconds timeLimit{0};
    /// Whether it is ended when this program quits, as if its time were over then: for questions
    /// whose answer nobody would hear. Everything else is waited for.
    bool endsAtQuit = false;

    bool operator==(const ProcessRequest&) const = default;
};

struct ProcessResult {
    /// The exit status, or 128 + the signal's number when a signal ended it.
    std::int32_t status = 0;
    std::string output;    ///< All of standard output as raw bytes; empty with `Inherit`.
    bool timedOut = false; ///< Ended because its time was over, or at the quit; so the status.

    bool operator==(const ProcessResult&) const = default;
};

/// A program that is running beside this one. Its end waits for the program's.
class RunningProcess {
public:
    virtual ~RunningProcess() = default;

    /// Blocks until the program has ended and returns its result. Called once, from any thread.
    [[nodiscard]] virtual ProcessResult finish() = 0;
};

class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;

    /// Starts the program and returns without waiting for it; null when it could not be started.
    /// Any thread, several at once. Descriptors of this program are not passed on beyond the three
    /// standard ones. With `Capture`, a program that has written much waits until it is finished.
    [[nodiscard]] virtual std::unique_ptr<RunningProcess> start(const ProcessRequest& request) = 0;

    /// Runs the program to its end and returns its result; absent when it could not be started.
    /// Blocks the caller. Otherwise as above.
    [[nodiscard]] std::optional<ProcessResult> run(const ProcessRequest& request);
};

} // namespace kelvane
