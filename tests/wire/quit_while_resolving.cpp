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
    request.timeout = timesOut ? std::chrono::milliseconds(50) : std::chrono::minutes(10);
    auto answer = std::async(std::launch::async, [&] { return session->send(request); });
    char byte = 0;
    if (::read(hangs[0], &byte, 1) != 1) return 2;
    if (timesOut && !answer.get()) std::cout << "absent\n" << std::flush;
    const auto start = Steady::now();
    quit.raise();
    if (!timesOut && answer.get()) return 3;
    session.reset();
    std::cout
        << std::chrono::duration_cast<std::chrono::milliseconds>(Steady::now() - start).count()
        << " ms\n";
    return 0;
}
