#include "detect/harness_config.h"

#include "detect/known_agents.h"
#include "platform/ports/file_system.h"
#include "text/unicode.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace kelvane::HarnessConfig {

namespace {

std::string textOf(FileSystem& files, const std::filesystem::path& path) {
    auto bytes = files.read(path);
    if (!bytes || !text::isValidUtf8(*bytes)) return {};
    return *std::move(bytes);
}

bool containsAll(std::string_view text, std::span<const std::string_view> markers) {
    return std::all_of(markers.begin(), markers.end(), [text](std::string_view marker) {
        return text.find(marker) != std::string_view::npos;
    });
}

bool isPresent(FileSystem& files, const std::filesystem::path& home, const WiringRecord& tool) {
    return std::any_of(tool.homeEntries.begin(), tool.homeEntries.end(),
                       [&](std::string_view entry) { return files.exists(home / entry); });
}

/// Every file is read, also behind one that decides: one look costs the same whatever it finds.
bool isWired(FileSystem& files, const std::filesystem::path& home, const WiringRecord& tool) {
    bool found = false;
    for (const WiredFile& file : tool.files) {
        const std::string text = textOf(files, home / file.path);
        found = containsAll(text, file.markers) || found;
    }
    return found;
}

template <typename Test>
std::set<std::string> keysOf(Test test) {
    std::set<std::string> keys;
    for (const KnownAgent* tool : wireableTools()) {
        if (test(*tool->wiring)) keys.emplace(tool->wiring->key);
    }
    return keys;
}

} // namespace

std::set<std::string> present(FileSystem& files, const std::filesystem::path& home) {
    return keysOf([&](const WiringRecord& tool) { return isPresent(files, home, tool); });
}

std::set<std::string> wired(FileSystem& files, const std::filesystem::path& home) {
    return keysOf([&](const WiringRecord& tool) { return isWired(files, home, tool); });
}

} // namespace kelvane::HarnessConfig
