// Servers that the user runs, asked over HTTP: a port.
//
// One question, one answer. A server is as hostile as its answer may be: time and size are bounded
// by the request, no redirection is followed, no proxy is used, nothing is remembered from one
// question to the next.

#pragma once

#include "critics/findings/stop.h"
#include "critics/servers/server_address.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

struct ServerRequest {
    ServerAddress address;
    std::string path; ///< Behind the address's own: "/chat/completions".
    std::string body; ///< Posted; empty asks with GET.
    std::string contentType;
    std::string key;                               ///< Sent as a bearer token; empty: none.
    std::chrono::milliseconds time{60'000};        ///< From start to end.
    std::size_t mostBytes = std::size_t{1} << 20U; ///< Of the answer.

    bool operator==(const ServerRequest&) const = default;
};

struct ServerAnswer {
    enum class End {
        answered,   ///< Whole, with `status` and `body`.
        notReached, ///< Nobody listens there, or it is no address of this machine.
        broken,     ///< Something listens that does not speak HTTP, or ends in the middle.
        outOfTime,
        tooMuch, ///< More than the limit.
        cancelled,
    };
    End end = End::notReached;
    int status = 0; ///< Of HTTP.
    std::string body;
    std::chrono::milliseconds took{0};

    bool operator==(const ServerAnswer&) const = default;
};

/// Any thread, several at once.
class OwnServers {
public:
    virtual ~OwnServers() = default;

    /// Blocks. `cancel` ends it at once. Connecting takes at most two seconds of its time.
    [[nodiscard]] virtual ServerAnswer ask(const ServerRequest& request, StopToken cancel) = 0;
};

/// Servers whose answers a test names.
class FakeServers : public OwnServers {
public:
    /// What a request is answered with; without it nobody listens. A longer body than the request
    /// allows is cut and too much; what took longer than it allows is out of time.
    std::function<ServerAnswer(const ServerRequest&)> answer;

    [[nodiscard]] ServerAnswer ask(const ServerRequest& request, StopToken cancel) override;

    /// The requests so far, in their order.
    [[nodiscard]] std::vector<ServerRequest> requests() const;
    /// The same as lines: "POST http://127.0.0.1:1/v1/chat/completions, 17 bytes".
    [[nodiscard]] std::vector<std::string> journal() const;

private:
    mutable std::mutex m_mutex;
    std::vector<ServerRequest> m_requests; ///< Guarded by `m_mutex`.
};

} // namespace trevix
