#include "platform/linux/wayland/wayland_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wayland-client.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

/// Whoever asks for what we offer and then does not read gets no more after this.
constexpr auto kReaderSilence = 10s;

/// Answers until everything that was there at the start is known: the globals, what those that were
/// bound have got, and what that is like.
constexpr int kRounds = 3;

int connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) return -1;
    path.copy(address.sun_path, path.size());
    // Not waiting: a full queue of a compositor that stands still is no answer.
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0) return -1;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        return socket;
    }
    ::close(socket);
    return -1;
}

/// One moment that others wait for. Shared, so that whoever gives up waiting harms nobody.
class Moment {
public:
    void come() {
        const std::lock_guard lock(m_mutex);
        m_come = true;
        m_changed.notify_all();
    }
    bool waitFor(std::chrono::milliseconds patience) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, patience, [this] { return m_come; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_come = false;
};

class Link : public WaylandConnection {
public:
    Link(wl_display* display, std::vector<std::shared_ptr<WaylandPart>> parts)
        : m_display(display),
          m_parts(std::move(parts)),
          m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
        m_thread = std::thread([this] { live(); });
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link() override {
        m_ending = true;
        wake();
        m_thread.join();
        ::close(m_wake);
    }

    bool waitForStart(std::chrono::milliseconds patience) { return m_started->waitFor(patience); }

    bool alive() const override { return m_alive; }
    bool started() const override { return m_started->waitFor(0ms); }

    bool answers() override {
        std::shared_ptr<Moment> question;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_alive) return false;
            if (m_question && !m_question->waitFor(0ms)) return false;
            question = m_question = std::make_shared<Moment>();
        }
        post([this, question] { sync(question); });
        return question->waitFor(kCompositorSilence) && m_alive;
    }

    void post(std::function<void()> job) override {
        {
            const std::lock_guard lock(m_mutex);
            if (!m_alive) return;
            m_jobs.push_back(std::move(job));
        }
        wake();
    }

    bool run(std::function<void()> job) override {
        if (!m_alive) return false;
        auto done = std::make_shared<Moment>();
        auto ran = std::make_shared<std::atomic<bool>>(false);
        post([job = std::move(job), done, ran] {
            job();
            *ran = true;
            done->come();
        });
        return done->waitFor(kCompositorSilence) && *ran;
    }

    void feed(int pipe, std::shared_ptr<const std::string> bytes) override {
        ::fcntl(pipe, F_SETFL, ::fcntl(pipe, F_GETFL) | O_NONBLOCK);
        m_readers.push_back({pipe, std::move(bytes), 0, steady_clock::now() + kReaderSilence});
    }

private:
    struct Reader {
        int pipe;
        std::shared_ptr<const std::string> bytes;
        std::size_t written;
        steady_clock::time_point until;
    };
    void wake() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(m_wake, &one, sizeof one);
    }

    void sync(std::shared_ptr<Moment> answered) {
        static constexpr wl_callback_listener kListener{
            [](void* data, wl_callback* callback, std::uint32_t) {
                static_cast<Moment*>(data)->come();
                wl_callback_destroy(callback);
            }};
        auto* const callback = wl_display_sync(m_display);
        wl_callback_add_listener(callback, &kListener, answered.get());
        m_asked = std::move(answered); // The one before has been answered.
    }

    void live() {
        // A reader that goes away early is nobody's end.
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        for (const auto& part : m_parts) part->attach(*this);
        static constexpr wl_registry_listener kListener{
            [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
               std::uint32_t version) {
                for (const auto& part : static_cast<Link*>(data)->m_parts) {
                    part->globalAdded(registry, name, interface, version);
                }
            },
            [](void* data, wl_registry*, std::uint32_t name) {
                for (const auto& part : static_cast<Link*>(data)->m_parts) {
                    part->globalRemoved(name);
                }
            }};
        auto* const registry = wl_display_get_registry(m_display);
        wl_registry_add_listener(registry, &kListener, this);
        askForNextRound();
        while (!m_ending && turn()) {
        }
        end(registry);
    }

    void askForNextRound() {
        static constexpr wl_callback_listener kListener{
            [](void* data, wl_callback* callback, std::uint32_t) {
                wl_callback_destroy(callback);
                static_cast<Link*>(data)->roundIsOver();
            }};
        wl_callback_add_listener(wl_display_sync(m_display), &kListener, this);
    }

    void roundIsOver() {
        if (m_rounds == kRounds) {
            for (const auto& part : m_parts) part->globalsComplete();
        }
        if (--m_rounds > 0) {
            askForNextRound();
        } else {
            for (const auto& part : m_parts) part->started();
            m_started->come();
        }
    }

    /// One wait and what came of it. False when the compositor has gone.
    bool turn() {
        while (wl_display_prepare_read(m_display) != 0) {
            if (wl_display_dispatch_pending(m_display) < 0) return false;
        }
        // What does not fit waits for the compositor to read; nobody else does.
        const bool full = wl_display_flush(m_display) < 0 && errno == EAGAIN;
        std::vector<pollfd> waiting{
            {wl_display_get_fd(m_display), static_cast<short>(full ? POLLIN | POLLOUT : POLLIN), 0},
            {m_wake, POLLIN, 0}};
        for (const auto& reader : m_readers) waiting.push_back({reader.pipe, POLLOUT, 0});
        ::poll(waiting.data(), waiting.size(), m_readers.empty() ? -1 : 1000);
        if ((waiting[0].revents & (POLLIN | POLLERR | POLLHUP)) != 0) {
            if (wl_display_read_events(m_display) < 0) return false;
        } else {
            wl_display_cancel_read(m_display);
        }
        if (wl_display_dispatch_pending(m_display) < 0) return false;
        writeToReaders();
        runJobs();
        return wl_display_get_error(m_display) == 0;
    }

    void writeToReaders() {
        const auto now = steady_clock::now();
        std::erase_if(m_readers, [&](Reader& reader) {
            while (reader.written < reader.bytes->size()) {
                const auto put = ::write(reader.pipe, reader.bytes->data() + reader.written,
                                         reader.bytes->size() - reader.written);
                if (put < 0 && errno == EINTR) continue;
                if (put < 0 && errno == EAGAIN && now < reader.until) return false;
                if (put <= 0) break;
                reader.written += static_cast<std::size_t>(put);
                reader.until = now + kReaderSilence;
            }
            ::close(reader.pipe);
            return true;
        });
    }

    void runJobs() {
        std::uint64_t count = 0;
        [[maybe_unused]] const auto got = ::read(m_wake, &count, sizeof count);
        std::deque<std::function<void()>> jobs;
        {
            const std::lock_guard lock(m_mutex);
            jobs.swap(m_jobs);
        }
        for (const auto& job : jobs) job();
    }

    void end(wl_registry* registry) {
        std::deque<std::function<void()>> dropped;
        {
            const std::lock_guard lock(m_mutex);
            m_alive = false;
            dropped.swap(m_jobs);
            if (m_question) m_question->come();
        }
        for (const auto& part : m_parts) part->detach();
        for (const auto& reader : m_readers) ::close(reader.pipe);
        wl_registry_destroy(registry);
        wl_display_disconnect(m_display);
    }

    wl_display* const m_display;
    const std::vector<std::shared_ptr<WaylandPart>> m_parts;
    const int m_wake;
    std::atomic<bool> m_ending = false;
    std::atomic<bool> m_alive = true; ///< Written under the mutex.
    const std::shared_ptr<Moment> m_started = std::make_shared<Moment>();
    std::mutex m_mutex; ///< Guards the two below.
    std::deque<std::function<void()>> m_jobs;
    std::shared_ptr<Moment> m_question; ///< The latest one.
    // The link's thread only.
    std::shared_ptr<Moment> m_asked; ///< Kept for as long as an answer may come.
    int m_rounds = kRounds;          ///< Until everything that was there at the start is known.
    std::vector<Reader> m_readers;
    std::thread m_thread;
};

} // namespace

WaylandConnection::Opened WaylandConnection::open(const std::string& socket,
                                                  std::vector<std::shared_ptr<WaylandPart>> parts,
                                                  std::chrono::milliseconds patience) {
    const int descriptor = connectTo(socket);
    if (descriptor < 0) return {};
    auto* const display = wl_display_connect_to_fd(descriptor);
    if (display == nullptr) return {};
    auto link = std::make_shared<Link>(display, std::move(parts));
    if (link->waitForStart(patience)) return {std::move(link), false, nullptr};
    const bool silent = link->alive();
    return {nullptr, silent, silent ? std::move(link) : nullptr};
}

} // namespace kelvane
