// A program that quits while a name is looked up: it asks, waits until the lookup hangs, raises the
// signal, and ends as any program does. Prints the milliseconds from there to the end of the
// session.
//
// Run under hanging_resolver. With the argument "time-out" it waits for its request to time out
// first, and says by "absent" that it did.

#include "platform/curl/curl_http_session.h"
#include "platform/ports/quit_signal.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <unistd.h>

int main(int argc, char** argv) {
    using namespace kelvane;
    using Steady = std::chrono::steady_clock;
    std::array<int, 2> hangs{};
    if (::pipe(hangs.data()) != 0) return 2;
    ::setenv("HANGING_RESOLVER_FD", std::to_string(hangs[1]).c_str(), 1);

    const bool timesOut = argc > 1 && std::string_view(argv[1]) == "time-out";
    QuitSignal quit;
    auto session = makeCurlHttpSession(quit);
    HttpRequest request;
    request.method = "GET";
    request.url = "http://service.test/";
    std::future<std::optional<HttpResponse>> answer;
    pollfd lookup{hangs[0], POLLIN, 0};
    if (timesOut) {
        // On a busy machine that time may be over before the lookup begins: then again, with more.
        request.timeout = std::chrono::milliseconds(25);
        do {
            request.timeout *= 2;
            if (session->send(request)) return 3;
        } while (::poll(&lookup, 1, 0) != 1);
        std::cout << "absent\n" << std::flush;
    } else {
        request.timeout = std::chrono::minutes(10);
        answer = std::async(std::launch::async, [&] { return session->send(request); });
        if (::poll(&lookup, 1, -1) != 1) return 2;
    }
    const auto start = Steady::now();
    quit.raise();
    if (answer.valid() && answer.get()) return 3;
    session.reset();
    std::cout
        << std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now() - start).count()
        << " ms\n";
    return 0;
}
