#include "app/shell/qt/single_instance.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace kelvane {

namespace {

/// How long one instance waits for the other to say something. Starting takes well under a second;
/// who was started from a menu notices no more than two.
constexpr std::chrono::milliseconds kPatience{2'000};
/// Between two attempts to reach an instance that has the lock and does not listen yet: no longer
/// than a frame or two.
constexpr std::chrono::milliseconds kRetry{20};
/// In bytes. A message is one word and an activation token, which takes about a hundred.
constexpr qint64 kLongestMessage = 4'096;
constexpr std::string_view kOpen = "open ";

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

std::string valueOf(const EnvironmentSnapshot& environment, const std::string& name) {
    const auto found = environment.find(name);
    return found == environment.end() ? std::string() : found->second;
}

/// The name of a display ends in ".<screen>" when it names a screen of it.
std::string withoutScreen(const std::string& display) {
    const auto colon = display.rfind(':');
    const auto dot = display.rfind('.');
    return dot != std::string::npos && colon != std::string::npos && dot > colon
               ? display.substr(0, dot)
               : display;
}

/// Short, unique enough for the displays of one user, and without a slash.
std::string fileName(const std::string& kind, const std::string& value) {
    std::string name = kind;
    for (const char c : value.substr(value.size() - std::min<std::size_t>(value.size(), 24))) {
        const bool plain =
            (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
        name += plain ? c : '_';
    }
    return name;
}

} // namespace

std::string desktopName(const EnvironmentSnapshot& environment) {
    if (const auto wayland = valueOf(environment, "WAYLAND_DISPLAY"); !wayland.empty()) {
        return fileName("wayland-", wayland);
    }
    if (const auto display = valueOf(environment, "DISPLAY"); !display.empty()) {
        return fileName("x11-", withoutScreen(display));
    }
    return "console";
}

std::filesystem::path instanceFolder(const EnvironmentSnapshot& environment,
                                     const std::string& name, unsigned user,
                                     const std::filesystem::path& temporary) {
    const std::filesystem::path runtime = valueOf(environment, "XDG_RUNTIME_DIR");
    if (runtime.is_absolute()) return runtime / name;
    return temporary / (name + "-" + std::to_string(user));
}

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
    m_server.reset();
    // The lock's file stays: were it removed, two starts could hold locks on two files of its name.
    if (m_lock >= 0) ::close(m_lock);
}

std::filesystem::path SingleInstance::lockFile() const {
    return m_folder / (m_desktop + ".lock");
}

std::filesystem::path SingleInstance::socketFile() const {
    return m_folder / (m_desktop + ".socket");
}

void SingleInstance::listen(std::function<void(std::string)> opened) {
    if (m_role != Role::First) return;
    const QString name = QString::fromStdString(socketFile().string());
    // What lies there is left of an instance that crashed: the lock is ours.
    QLocalServer::removeServer(name);
    m_server = std::make_unique<QLocalServer>();
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(m_server.get(), &QLocalServer::newConnection,
                     [this, opened = std::move(opened)] { serve(opened); });
    if (!m_server->listen(name)) {
        m_server.reset();
        return;
    }
    std::error_code ignored;
    std::filesystem::permissions(
        socketFile(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
        ignored);
}

void SingleInstance::serve(const std::function<void(std::string)>& opened) {
    while (QLocalSocket* const peer = m_server->nextPendingConnection()) {
        peer->setReadBufferSize(kLongestMessage);
        QObject::connect(peer, &QLocalSocket::disconnected, peer, &QObject::deleteLater);
        // Whoever connects and says nothing does not stay.
        QTimer::singleShot(kPatience, peer, [peer] { peer->abort(); });
        const auto read = [peer, opened] {
            if (!peer->canReadLine()) {
                if (peer->bytesAvailable() >= kLongestMessage) peer->abort();
                return;
            }
            const std::string line = peer->readLine(kLongestMessage).trimmed().toStdString();
            peer->write("done\n");
            peer->disconnectFromServer();
            if ((line + ' ').starts_with(kOpen)) {
                opened(line.size() > kOpen.size() ? line.substr(kOpen.size()) : std::string());
            }
        };
        QObject::connect(peer, &QLocalSocket::readyRead, peer, read);
        if (peer->bytesAvailable() > 0) read();
    }
}

bool SingleInstance::askToOpen(const std::string& activationToken) {
    if (m_role != Role::Later) return false;
    std::string message = std::string(kOpen) + activationToken;
    // A token that would be a message of its own is no token.
    std::erase_if(message, [](char c) { return c == '\n' || c == '\r' || c == '\0'; });
    message += '\n';
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    const QString name = QString::fromStdString(socketFile().string());
    // The first one may have the lock and not listen yet.
    for (; std::chrono::steady_clock::now() < deadline; std::this_thread::sleep_for(kRetry)) {
        QLocalSocket socket;
        socket.connectToServer(name);
        if (!socket.waitForConnected(static_cast<int>(kRetry.count()))) continue;
        socket.write(message.data(), static_cast<qint64>(message.size()));
        if (socket.waitForReadyRead(static_cast<int>(kPatience.count()))) {
            return socket.readLine().startsWith("done");
        }
    }
    return false;
}

} // namespace kelvane
