// Run another program and wait for it.

#pragma once

#include <cstdint>
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

    bool operator==(const ProcessRequest&) const = default;
};

struct ProcessResult {
    /// The exit status, or 128 + the signal's number when a signal ended it.
    std::int32_t status = 0;
    std::string output; ///< All of standard output as raw bytes; empty with `Inherit`.

    bool operator==(const ProcessResult&) const = default;
};

class ProcessRunner {
public:
    virtual ~ProcessRunner() = default;

    /// Runs the program to its end and returns its result; absent when it could not be started.
    /// Blocks the caller. Any thread, several at once. Descriptors of this program are not passed
    /// on beyond the three standard ones.
    [[nodiscard]] virtual std::optional<ProcessResult> run(const ProcessRequest& request) = 0;
};

} // namespace kelvane
