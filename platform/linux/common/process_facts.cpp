#include "platform/linux/common/process_facts.h"

#include "text/unicode.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace kelvane {

namespace {

constexpr std::size_t kLongestEnvironment = 1 << 16; ///< Bytes that are looked at.

/// The beginning of a small file of the kernel's or a sandbox's; empty when it cannot be read.
std::string beginningOf(const std::string& path, std::size_t most = 4096) {
    std::string bytes(most, '\0');
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0) return {};
    ssize_t got = 0;
    do {
        got = ::read(file, bytes.data(), bytes.size());
    } while (got < 0 && errno == EINTR);
    ::close(file);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

} // namespace

void addProcessFacts(WindowFacts& facts) {
    if (facts.process == 0) return;
    const auto folder = "/proc/" + std::to_string(facts.process);
    std::error_code ignored;
    facts.executable = appImageFrom(beginningOf(folder + "/environ", kLongestEnvironment));
    if (facts.executable.empty()) {
        facts.executable =
            text::utf8FromOutside(std::filesystem::read_symlink(folder + "/exe", ignored).string());
    }
    facts.flatpakId = flatpakIdFrom(beginningOf(folder + "/root/.flatpak-info"));
    if (facts.flatpakId.empty())
        facts.snapInstance = snapInstanceFrom(beginningOf(folder + "/cgroup"));
}

bool isStopped(pid_t process) {
    if (process <= 0) return false;
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(file, line);
    // "pid (name) state ...", where the name may hold anything, also parentheses.
    const auto name = line.rfind(") ");
    return name != std::string::npos && name + 2 < line.size() &&
           (line[name + 2] == 'T' || line[name + 2] == 't');
}

} // namespace kelvane
