// The service as a service manager runs it: started by the first request, on sockets that somebody
// else listens on, and gone again when it has nothing to do.

#include "tests/service/bodies.h"
#include "tests/service/http/http_client.h"
#include "tests/service/service_process.h"
#include "tests/service/temporary_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace trevix {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kHandOn = "export LISTEN_PID=$$; exec \"$@\"";

/// A listening socket of the test's own.
class Listener {
public:
    explicit Listener(const std::filesystem::path& name) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        name.string().copy(address.sun_path, sizeof address.sun_path - 1);
        listenAt(AF_UNIX, &address, sizeof address);
    }
    explicit Listener(in_addr_t host) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(host);
        listenAt(AF_INET, &address, sizeof address);
        socklen_t size = sizeof address;
        getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &size);
        m_port = ntohs(address.sin_port);
    }
    ~Listener() { close(m_fd); }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    [[nodiscard]] int fd() const { return m_fd; }
    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    void listenAt(int family, const void* address, socklen_t size) {
        m_fd = socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(m_fd, static_cast<const sockaddr*>(address), size), 0);
        EXPECT_EQ(listen(m_fd, 64), 0);
    }

    int m_fd = -1;
    std::uint16_t m_port = 0;
};

class ActivationTest : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path data() const { return m_folder.path() / "data"; }
    [[nodiscard]] std::filesystem::path socketPath() const { return m_folder.path() / "api.sock"; }

    [[nodiscard]] std::vector<std::string> arguments(std::vector<std::string> more = {}) const {
        std::vector<std::string> all{"--port", "0", "--socket", "none", "--data", data().string()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    /// Waits for a request at one of the sockets and has the service begun by it.
    std::unique_ptr<ServiceProcess> activated(const std::vector<int>& sockets,
                                              const std::vector<std::string>& more) {
        std::vector<pollfd> waiting;
        for (const int each : sockets) waiting.push_back({each, POLLIN, 0});
        EXPECT_GT(poll(waiting.data(), waiting.size(), -1), 0);
        return begun(sockets, more);
    }
    std::unique_ptr<ServiceProcess> begun(const std::vector<int>& sockets,
                                          const std::vector<std::string>& more = {}) {
        return std::make_unique<ServiceProcess>(
            arguments(more), std::vector{"LISTEN_FDS=" + std::to_string(sockets.size())}, sockets,
            kHandOn);
    }

    [[nodiscard]] HeaderLines keyed() const {
        std::ifstream file(data() / "key");
        std::string key;
        std::getline(file, key);
        return {{"Authorization", "Bearer " + key}};
    }

    /// What the store has still to judge, read while no service runs.
    [[nodiscard]] int jobsLeft() const {
        sqlite3* store = nullptr;
        EXPECT_EQ(
            sqlite3_open_v2((data() / "runs.db").c_str(), &store, SQLITE_OPEN_READONLY, nullptr),
            SQLITE_OK);
        sqlite3_stmt* left = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(store, "SELECT count(*) FROM jobs WHERE status = 'pending'",
                                     -1, &left, nullptr),
                  SQLITE_OK)
            << sqlite3_errmsg(store);
        EXPECT_EQ(sqlite3_step(left), SQLITE_ROW);
        const int count = sqlite3_column_int(left, 0);
        sqlite3_finalize(left);
        sqlite3_close(store);
        return count;
    }

    TemporaryFolder m_folder;
};

Reply overSocket(const std::filesystem::path& socket, const std::string& request) {
    Connection connection(socket);
    if (!connection.isOpen() || !connection.send(request)) return {};
    return connection.reply();
}

TEST_F(ActivationTest, BeginsWithTheFirstRequestsAndEndsWhenNothingIsAsked) {
    const Listener local(socketPath());
    const Listener port(INADDR_LOOPBACK);
    // Both are asked before anybody is there to answer.
    auto one = std::async(std::launch::async,
                          [&] { return overSocket(socketPath(), requestText("GET", "/healthz")); });
    auto other = std::async(std::launch::async, [&] { return get(port.port(), "/healthz"); });
    const auto service = activated({local.fd(), port.fd()}, {"--idle-exit", "1"});
    EXPECT_EQ(one.get().status, 200);
    EXPECT_EQ(other.get().status, 200);
    const Ended ended = service->end();
    EXPECT_EQ(ended.exitCode, 0) << ended.errors;
    EXPECT_THAT(ended.output, HasSubstr("http://127.0.0.1:" + std::to_string(port.port())));
    EXPECT_THAT(ended.output, HasSubstr("http+unix://"));
    EXPECT_EQ(ended.errors, "");
    EXPECT_TRUE(std::filesystem::exists(socketPath())) << "the socket is its manager's";
}

TEST_F(ActivationTest, JudgesEverythingBeforeItEndsAndKnowsItWhenItIsBack) {
    const Listener local(socketPath());
    std::vector<std::string> jobs;
    {
        // The key comes with the first start.
        auto first = std::async(std::launch::async, [&] {
            return overSocket(socketPath(), requestText("GET", "/healthz"));
        });
        const auto service = activated({local.fd()}, {"--idle-exit", "1"});
        EXPECT_EQ(first.get().status, 200);
        for (int i = 0; i < 12; ++i) {
            const Reply reply = overSocket(
                socketPath(), requestText("POST", "/api/v1/eval/jobs", keyed(),
                                          submitBody("Report " + std::to_string(i) +
                                                     "\n\nTODO: name the the owner.\n")));
            ASSERT_EQ(reply.status, 202) << reply.body;
            jobs.push_back(json::parse(reply.body).at("job_id"));
        }
        EXPECT_EQ(service->end().exitCode, 0);
    }
    EXPECT_EQ(jobsLeft(), 0);
    auto again = std::async(std::launch::async, [&] {
        return overSocket(socketPath(),
                          requestText("GET", "/api/v1/eval/jobs/" + jobs.back(), keyed()));
    });
    const auto service = activated({local.fd()}, {"--idle-exit", "1"});
    const Reply reply = again.get();
    ASSERT_EQ(reply.status, 200) << reply.body;
    EXPECT_EQ(json::parse(reply.body).at("status"), "completed");
    EXPECT_EQ(service->end().exitCode, 0);
}

TEST_F(ActivationTest, WithASocketAloneItTakesAnyPortWhenItsOwnIsTaken) {
    const Listener local(socketPath());
    const Listener taken(INADDR_LOOPBACK);
    ServiceProcess service({"--port", std::to_string(taken.port()), "--data", data().string()},
                           {"LISTEN_FDS=1"}, {local.fd()}, kHandOn);
    const std::uint16_t port = service.awaitPort();
    EXPECT_NE(port, 0) << service.firstLine();
    EXPECT_NE(port, taken.port());
    EXPECT_EQ(get(port, "/healthz").status, 200);
    service.signal(SIGTERM);
    EXPECT_EQ(service.end().exitCode, 0);
}

TEST_F(ActivationTest, WhatIsMeantForAnotherProcessIsLeftAlone) {
    const Listener local(socketPath());
    ServiceProcess service(arguments(), {"LISTEN_FDS=1", "LISTEN_PID=1"}, {local.fd()},
                           "exec \"$@\"");
    EXPECT_NE(service.awaitPort(), 0);
    service.signal(SIGTERM);
    const Ended ended = service.end();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.output, "") << "it listens on no socket";
}

TEST_F(ActivationTest, SocketsThatItMustNotServeAreRefused) {
    const Listener everywhere(INADDR_ANY);
    const Listener port(INADDR_LOOPBACK);
    const Listener secondPort(INADDR_LOOPBACK);
    const int quiet = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const struct {
        std::vector<int> sockets;
        const char* text;
    } cases[] = {
        {{everywhere.fd()}, "descriptor 3 is neither a Unix socket nor a port of 127.0.0.1\n"},
        {{port.fd(), secondPort.fd()}, "descriptor 4 is a second port\n"},
        {{quiet}, "descriptor 3 is no stream socket that listens\n"},
    };
    for (const auto& [sockets, text] : cases) {
        const Ended ended = begun(sockets)->end();
        EXPECT_EQ(ended.exitCode, 1) << text;
        EXPECT_EQ(ended.errors, std::string("trevix-local: the socket handed on as ") + text);
        EXPECT_FALSE(std::filesystem::exists(data())) << text;
    }
    close(quiet);
    const Ended ended = ServiceProcess(arguments(), {"LISTEN_FDS=many"}, {}, kHandOn).end();
    EXPECT_EQ(ended.exitCode, 1);
    EXPECT_EQ(ended.errors, "trevix-local: LISTEN_FDS is no number: many\n");
}

TEST_F(ActivationTest, EndsWithItsParentWhereThatIsWanted) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    ServiceProcess service(arguments({"--with-parent"}), {}, {ends[0]}, "exec \"$@\" <&3 3<&-");
    close(ends[0]);
    EXPECT_NE(service.awaitPort(), 0);
    close(ends[1]);
    const Ended ended = service.end();
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.signal, 0);
    EXPECT_EQ(ended.errors, "");
}

} // namespace
} // namespace trevix
