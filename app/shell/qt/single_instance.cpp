#include "app/shell/qt/single_instance.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

/// How long one instance waits for the other to say something. Starting takes well under a second;
/// who was started from a menu notices no more than two.
constexpr std::chrono::seconds kPatience{2};
/// Between two attempts to reach an instance that has the lock and does not listen yet: no longer
/// than a frame or two.
constexpr std::chrono::milliseconds kRetry{20};
/// In bytes. A message is one word and an activation token, which takes about a hundred.
constexpr std::size_t kLongestMessage = 4'096;
/// Starts that wait to be heard: more than anybody makes by pressing a key too long.
constexpr int kMostWaiting = 30;
constexpr std::string_view kOpen = "open ";
constexpr std::string_view kDone = "done\n";

bool isPrivateFolder(const std::filesystem::path& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid() && (status.st_mode & 077U) == 0;
}

bool makePrivateFolder(const std::filesystem::path& folder) {
    std::error_code ignored;
    std::filesystem::create_directories(folder.parent_path(), ignored);
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) return false;
    return isPrivateFolder(folder);
}

std::optional<sockaddr_un> socketAddress(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path) return std::nullopt;
    text.copy(address.sun_path, text.size());
    return address;
}

/// Closed in programs that this one starts, and never waited for in the event loop.
void makePrivateAndPatient(int socket) {
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    ::fcntl(socket, F_SETFL, O_NONBLOCK);
}

/// Without the signal that ends a program whose listener has gone.
ssize_t sendTo(int socket, std::string_view bytes) {
#ifdef MSG_NOSIGNAL
    return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
#else
    const int on = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on);
    return ::send(socket, bytes.data(), bytes.size(), 0);
#endif
}

/// A later start at the first one's end: one line, answered, and gone.
class Peer : public QObject {
public:
    Peer(int socket, std::function<void(std::string)> opened,
         std::function<std::string(const std::string&)> answer, QObject* parent)
        : QObject(parent),
          m_socket(socket),
          m_opened(std::move(opened)),
          m_answer(std::move(answer)),
          m_readable(socket, QSocketNotifier::Read) {
        connect(&m_readable, &QSocketNotifier::activated, this, [this] { read(); });
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;
    ~Peer() override {
        m_readable.setEnabled(false);
        ::close(m_socket);
    }

private:
    void read() {
        std::array<char, kLongestMessage> bytes{};
        const ssize_t size = ::recv(m_socket, bytes.data(), bytes.size() - m_line.size(), 0);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (size > 0) m_line.append(bytes.data(), static_cast<std::size_t>(size));
        const auto end = m_line.find('\n');
        if (size > 0 && end == std::string::npos && m_line.size() < kLongestMessage) return;
        m_readable.setEnabled(false);
        deleteLater();
        if (end == std::string::npos) return;
        std::string line = m_line.substr(0, end);
        if (line.ends_with('\r')) line.pop_back();
        const bool opens = (line + ' ').starts_with(kOpen);
        sendTo(m_socket, opens || !m_answer ? std::string(kDone) : m_answer(line) + '\n');
        if (opens) {
            // It may run a loop of events of its own, in which this object goes.
            const auto opened = m_opened;
            opened(line.size() > kOpen.size() ? line.substr(kOpen.size()) : std::string());
        }
    }

    int m_socket;
    std::function<void(std::string)> m_opened;
    std::function<std::string(const std::string&)> m_answer;
    QSocketNotifier m_readable;
    std::string m_line;
};

/// Whether the first one took the message; absent when nobody listens.
std::optional<bool> ask(const sockaddr_un& address, const std::string& message) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (socket < 0) return false;
    ::fcntl(socket, F_SETFD, FD_CLOEXEC);
    std::optional<bool> answered;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        const timeval patience{.tv_sec = std::chrono::seconds(kPatience).count(), .tv_usec = 0};
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sendTo(socket, message);
        std::string answer;
        std::array<char, 16> bytes{};
        ssize_t size = 0;
        while (answer.size() < kDone.size() &&
               (size = ::recv(socket, bytes.data(), bytes.size(), 0)) > 0) {
            answer.append(bytes.data(), static_cast<std::size_t>(size));
        }
        answered = answer.starts_with(kDone);
    }
    ::close(socket);
    return answered;
}

} // namespace

SingleInstance::SingleInstance(std::filesystem::path folder, const std::string& desktop)
    : m_folder(std::move(folder)),
      m_desktop(desktop) {
    if (!makePrivateFolder(m_folder)) return;
    m_lock =
        ::open(lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (m_lock < 0) return;
    if (::flock(m_lock, LOCK_EX | LOCK_NB) == 0) {
        m_role = Role::First;
    } else if (errno == EWOULDBLOCK) {
        m_role = Role::Later;
    }
}

SingleInstance::~SingleInstance() {
    if (m_listening) {
        const auto socket = static_cast<int>(m_listening->socket());
        m_listening.reset(); // and with it those who are being served
        ::close(socket);
        ::unlink(socketFile().c_str());
    }
    // The lock's file stays: were it removed, two starts could hold locks on two files of its name.
    if (m_lock >= 0) ::close(m_lock);
}

std::filesystem::path SingleInstance::lockFile() const {
    return m_folder / (m_desktop + ".lock");
}

std::filesystem::path SingleInstance::socketFile() const {
    return instanceSocket(m_folder, m_desktop);
}

void SingleInstance::listen(std::function<void(std::string)> opened,
                            std::function<std::string(const std::string&)> answer) {
    if (m_role != Role::First || m_listening) return;
    const auto address = socketAddress(socketFile());
    const int socket = address ? ::socket(AF_UNIX, SOCK_STREAM, 0) : -1;
    if (socket < 0) return;
    makePrivateAndPatient(socket);
    // What lies there is left of an instance that crashed: the lock is ours.
    ::unlink(address->sun_path);
    // Nobody but this user can come so far; the folder is his alone.
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0 ||
        ::chmod(address->sun_path, S_IRUSR | S_IWUSR) != 0 || ::listen(socket, kMostWaiting) != 0) {
        ::close(socket);
        return;
    }
    m_listening = std::make_unique<QSocketNotifier>(socket, QSocketNotifier::Read);
    QObject::connect(
        m_listening.get(), &QSocketNotifier::activated,
        [this, opened = std::move(opened), answer = std::move(answer)] { serve(opened, answer); });
}

void SingleInstance::serve(const std::function<void(std::string)>& opened,
                           const std::function<std::string(const std::string&)>& answer) {
    while (true) {
        const int socket = ::accept(static_cast<int>(m_listening->socket()), nullptr, nullptr);
        if (socket < 0) return;
        makePrivateAndPatient(socket);
        // It goes with the listening one, at the latest.
        auto* peer = new Peer(socket, opened, answer, m_listening.get());
        // Whoever connects and says nothing does not stay.
        QTimer::singleShot(kPatience, peer, &QObject::deleteLater);
    }
}

bool SingleInstance::askToOpen(const std::string& activationToken) {
    if (m_role != Role::Later) return false;
    std::string message = std::string(kOpen) + activationToken;
    // A token that would be a message of its own is no token.
    std::erase_if(message, [](char c) { return c == '\n' || c == '\r' || c == '\0'; });
    message += '\n';
    const auto address = socketAddress(socketFile());
    if (!address) return false;
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    // The first one may have the lock and not listen yet.
    for (; std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(kRetry)) {
        if (const auto answered = ask(*address, message)) return *answered;
    }
    return false;
}

} // namespace kelvane
