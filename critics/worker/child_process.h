// A program that is run over a piece of work, held to limits, and ended when it exceeds them.
//
// The program gets files of the caller's in a folder of its own, which is its working directory and
// goes with it, text on standard input, and an environment with nothing in it but what the request
// says, PATH, HOME (that folder), and LC_ALL=C.UTF-8. It gets no network and, where the system
// allows, sees none of the user's files. Whatever it starts ends with it.

#pragma once

#include "critics/findings/stop.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace trevix {

struct ChildLimits {
    std::chrono::milliseconds wall{20'000}; ///< From start to end.
    std::chrono::seconds cpu{20};           ///< Of one process of it.
    /// Address space of one process of it, in bytes; zero is no limit, for runtimes that reserve
    /// far more than they use.
    std::uint64_t addressSpace = std::uint64_t{512} << 20U;
    std::uint64_t memory = std::uint64_t{512} << 20U;  ///< Of data, of one process of it.
    std::uint64_t fileSize = std::uint64_t{16} << 20U; ///< Of one file that it writes.
    std::uint64_t output = std::uint64_t{16} << 20U;   ///< Bytes on standard output.

    bool operator==(const ChildLimits&) const = default;
};

struct ChildRequest {
    std::string program;                ///< Absolute path.
    std::vector<std::string> arguments; ///< Without the program itself; never through a shell.
    std::string input;                  ///< What stands on standard input.
    /// Names and contents. A name may hold folders, never ".." and no leading slash.
    std::vector<std::pair<std::string, std::string>> files;
    std::vector<std::pair<std::string, std::string>> environment; ///< Beside the three above.
    std::vector<std::string> readable; ///< Paths outside the system's own that it may read.
    ChildLimits limits;

    bool operator==(const ChildRequest&) const = default;
};

struct ChildResult {
    enum class End {
        exited,     ///< By itself; `status` is its exit status.
        killed,     ///< By a signal, its own limits on memory and CPU included; `status` is that.
        outOfTime,  ///< Ended by us at its wall-clock limit.
        tooMuch,    ///< Ended by us for what it printed; `output` holds as much as the limit.
        cancelled,  ///< Ended by us as asked.
        notStarted, ///< `errors` says why.
    };
    End end = End::notStarted;
    int status = 0;
    std::string output; ///< Standard output, raw.
    std::string errors; ///< The beginning of standard error, at most 4096 bytes, raw.

    bool operator==(const ChildResult&) const = default;
};

/// Runs children. Any thread, several at once.
class ChildRunner {
public:
    virtual ~ChildRunner() = default;

    /// Runs it to its end and blocks meanwhile. `onOutput`, if any, sees standard output as it
    /// comes, in pieces, on the calling thread.
    [[nodiscard]] virtual ChildResult
    run(const ChildRequest& request, StopToken cancel,
        const std::function<void(std::string_view)>& onOutput) = 0;

    /// Says that this request may come soon, with another input. A runner may begin its program
    /// meanwhile, which then waits for its input; what `run` answers is the same. Does not block,
    /// and tells nothing when it cannot be done.
    virtual void expect(const ChildRequest& request) { static_cast<void>(request); }

    [[nodiscard]] ChildResult run(const ChildRequest& request, StopToken cancel = {}) {
        return run(request, std::move(cancel), {});
    }
};

} // namespace trevix
