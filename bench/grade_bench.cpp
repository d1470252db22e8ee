// How long from pressing Grade to the last byte on the wire, the mandated waits aside?
//
// A virtual desktop, a real editor with 180,000 selected characters, the real adapters, a service
// on loopback that notes when a whole request has arrived. The clock in between adds up what was
// actually slept; the rest is what this program and the editor's answer cost.

#include "app/companion_model.h"
#include "catalog/app_catalog.h"
#include "detect/capture.h"
#include "platform/desktop.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/source_tree.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace kelvane;
using Time = std::chrono::steady_clock;

/// Sleeps through the real clock and remembers how long that took.
class CountingClock : public Clock {
public:
    explicit CountingClock(Clock& clock) : m_clock(clock) {}
    Instant now() override { return m_clock.now(); }
    SleepEnd sleep(std::chrono::nanoseconds duration) override {
        const auto start = Time::now();
        const auto end = m_clock.sleep(duration);
        slept += (Time::now() - start).count();
        return end;
    }
    std::atomic<std::int64_t> slept{0};

private:
    Clock& m_clock;
};

/// Takes one request per connection, notes when its last byte came, answers with a failure so that
/// the grade ends there.
class Sink {
public:
    Sink() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(m_socket, 8) != 0) {
            std::perror("grade_bench");
            std::exit(1);
        }
        socklen_t length = sizeof address;
        ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~Sink() {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }

    int port = 0;
    std::atomic<Time::rep> arrived{0};
    std::atomic<std::size_t> size{0};

private:
    void serve() {
        for (;;) {
            const int connection = ::accept(m_socket, nullptr, nullptr);
            if (connection < 0) return;
            std::string request;
            std::size_t wanted = std::string::npos;
            std::vector<char> buffer(1 << 20);
            while (request.size() < wanted) {
                const auto count = ::read(connection, buffer.data(), buffer.size());
                if (count <= 0) break;
                request.append(buffer.data(), static_cast<std::size_t>(count));
                const auto head = request.find("\r\n\r\n");
                if (wanted != std::string::npos || head == std::string::npos) continue;
                auto at = request.find("Content-Length: ");
                if (at == std::string::npos) at = request.find("content-length: ");
                wanted = head + 4 + std::strtoul(request.c_str() + at + 16, nullptr, 10);
            }
            arrived = Time::now().time_since_epoch().count();
            size = request.size();
            const std::string answer = "HTTP/1.1 500 Measured\r\nContent-Type: application/json\r\n"
                                       "Content-Length: 2\r\nConnection: close\r\n\r\n{}";
            [[maybe_unused]] const auto sent = ::write(connection, answer.data(), answer.size());
            ::close(connection);
        }
    }

    int m_socket;
    std::thread m_thread;
};

} // namespace

int main(int argc, char** argv) {
    constexpr int kRounds = 15;
    VirtualDesktop desktop;
    Sink sink;
    for (const auto& [name, value] : desktop.environment()) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    ::setenv("BRASK_API_BASE", ("http://127.0.0.1:" + std::to_string(sink.port)).c_str(), 1);
    ::setenv("BRASK_API_KEY", "k", 1);

    const auto document = desktop.home() / "long.txt";
    {
        std::ofstream out(document);
        for (int line = 0; line < 3'000; ++line) {
            out << "The quick brown fox jumps over the lazy dog, sentence n. " << 1000 + line
                << "\n";
        }
    }
    desktop.start({"mousepad", "--disable-server", document.string()});
    const auto window = desktop.waitForWindow(VirtualDesktop::ofClass("Mousepad"));
    if (!window || !desktop.activate(window->window)) {
        std::fputs("grade_bench: the editor does not show\n", stderr);
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));
    desktop.start({"xdotool", "key", "--clearmodifiers", "ctrl+a"});
    std::this_thread::sleep_for(std::chrono::seconds(1));

    const QCoreApplication application(argc, argv);
    DesktopPorts platform = makeDesktopPorts();
    CountingClock clock(*platform.clock);
    const auto bytes = platform.files->read(inSourceTree("resources/app-catalog.json"));
    const Capture::Ports ports{.workspace = *platform.workspace,
                               .keyboard = *platform.keyboard,
                               .pasteboard = *platform.pasteboard,
                               .windows = *platform.windows,
                               .picture = *platform.picture,
                               .clock = clock};
    CompanionModel model(
        {.workspace = *platform.workspace,
         .processes = *platform.processes,
         .files = *platform.files,
         .environment = *platform.environment,
         .http = *platform.http,
         .clock = *platform.clock,
         .dispatcher = *platform.dispatcher,
         .capture = [&](const DetectedApp& app) { return Capture::capture(ports, app); }},
        AppCatalog::load(bytes.value()), desktop.home());
    model.refresh();

    std::vector<double> costs;
    for (int round = 0; round < kRounds; ++round) {
        clock.slept = 0;
        sink.arrived = 0;
        const auto start = Time::now();
        model.grade();
        while (*model.grading) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        if (sink.size < 180'000) {
            std::fprintf(stderr, "grade_bench: no text went out: %s\n",
                         model.note->value_or("no note").c_str());
            return 1;
        }
        const Time::duration total{sink.arrived - start.time_since_epoch().count()};
        costs.push_back(std::chrono::duration<double, std::milli>(
                            total - std::chrono::nanoseconds(clock.slept.load()))
                            .count());
    }
    std::sort(costs.begin(), costs.end());
    std::printf("grade to bytes on the wire, 180,000 characters, waits aside: median %.1f ms, "
                "min %.1f, max %.1f of %d (budget 20)\n",
                costs[costs.size() / 2], costs.front(), costs.back(), kRounds);
    return 0;
}
