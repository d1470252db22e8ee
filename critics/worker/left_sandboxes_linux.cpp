#include "critics/worker/work_folder.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace trevix {

namespace fs = std::filesystem;

namespace {

std::optional<pid_t> processOf(const fs::path& entry) {
    const std::string name = entry.filename().string();
    pid_t process = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
    if (error != std::errc() || end != name.data() + name.size()) return std::nullopt;
    return process;
}

// Empty for what has ended, for the kernel's own, and for what is not ours to read.
std::vector<std::string> wordsOf(const fs::path& entry) {
    std::ifstream file(entry / "cmdline", std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(file, word, '\0');) words.push_back(std::move(word));
    return words;
}

} // namespace

// bubblewrap 0.8 has the process that it clones wait for a word from the one that cloned it, and
// has it ask for its end with its parent only after that. When the service is killed in between,
// the one goes and the other waits for ever.
void endSandboxesBelow(const fs::path& folder) {
    std::error_code error;
    for (fs::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
        const auto process = processOf(at->path());
        if (!process) continue;
        // Held while its words are read, so that nobody else gets its number meanwhile; before
        // Linux 5.3 there is no such means, and it stays.
        const auto held = static_cast<int>(::syscall(SYS_pidfd_open, *process, 0U));
        if (held < 0) continue;
        if (isSandboxBelow(folder, wordsOf(at->path()))) {
            ::syscall(SYS_pidfd_send_signal, held, SIGKILL, nullptr, 0U);
        }
        ::close(held);
    }
}

} // namespace trevix
