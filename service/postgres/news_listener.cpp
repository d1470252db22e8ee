#include "service/postgres/news_listener.h"

#include "service/postgres/connection.h"

#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace trevix {

namespace {

// Milliseconds between attempts to reach a database that is not there.
constexpr int kPause = 1000;

constexpr std::string_view kOver = "over ";
constexpr std::string_view kCancel = "cancel ";

} // namespace

StoreNews newsIn(std::string_view message) {
    if (message == "came") return {StoreNews::Kind::jobCame, {}};
    if (message.starts_with(kOver)) {
        return {StoreNews::Kind::jobOver, std::string(message.substr(kOver.size()))};
    }
    if (message.starts_with(kCancel)) {
        return {StoreNews::Kind::cancelled, std::string(message.substr(kCancel.size()))};
    }
    return {};
}

NewsListener::NewsListener(std::string address, std::function<void(const StoreNews&)> news)
    : m_address(std::move(address)),
      m_news(std::move(news)) {
    if (pipe(m_end) != 0) {
        throw StoreError("the run store: " + std::generic_category().message(errno));
    }
    // Children must not hold it open.
    for (const int end : m_end) fcntl(end, F_SETFD, FD_CLOEXEC);
    m_thread = std::thread([this] { run(); });
}

NewsListener::~NewsListener() {
    close(m_end[1]);
    m_thread.join();
    close(m_end[0]);
}

bool NewsListener::await(int socket, int milliseconds) const {
    pollfd entries[2] = {{m_end[0], POLLIN, 0}, {socket, POLLIN, 0}};
    while (poll(entries, socket < 0 ? 1 : 2, milliseconds) < 0 && errno == EINTR) {
    }
    return entries[0].revents == 0;
}

void NewsListener::run() {
    do {
        try {
            listen();
            return;
        } catch (const StoreError&) {
            // Whoever asks the store meanwhile is told why; here there is nobody to tell.
        }
    } while (await(-1, kPause));
}

void NewsListener::listen() {
    SqlConnection connection(m_address);
    connection.query(std::string("LISTEN ") + kChannel);
    // Only now: what happened before is not told.
    m_news({});
    while (await(PQsocket(connection.handle()), -1)) {
        if (PQconsumeInput(connection.handle()) == 0) throw StoreError("the connection broke");
        while (const std::unique_ptr<PGnotify, void (*)(void*)> told{
            PQnotifies(connection.handle()), &PQfreemem}) {
            m_news(newsIn(told->extra));
        }
    }
}

} // namespace trevix
