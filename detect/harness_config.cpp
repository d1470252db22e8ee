#include "detect/harness_config.h"

#include "platform/ports/file_system.h"
#include "text/unicode.h"

#include <string_view>

namespace kelvane::HarnessConfig {

namespace {

std::string textOf(FileSystem& files, const std::filesystem::path& path) {
    auto bytes = files.read(path);
    if (!bytes || !text::isValidUtf8(*bytes)) return {};
    return *std::move(bytes);
}

bool contains(std::string_view text, std::string_view marker) {
    return text.find(marker) != std::string_view::npos;
}

} // namespace

std::set<std::string> present(FileSystem& files, const std::filesystem::path& home) {
    std::set<std::string> keys;
    if (files.exists(home / ".claude") || files.exists(home / ".claude.json")) {
        keys.insert("claude");
    }
    if (files.exists(home / ".codex")) keys.insert("codex");
    if (files.exists(home / ".openclaw")) keys.insert("openclaw");
    if (files.exists(home / ".cursor")) keys.insert("cursor");
    return keys;
}

std::set<std::string> wired(FileSystem& files, const std::filesystem::path& home) {
    std::set<std::string> keys;
    const std::string settings = textOf(files, home / ".claude" / "settings.json");
    const std::string servers = textOf(files, home / ".mcp.json");
    const bool byHook = contains(settings, "validate.py") && contains(settings, "--harness claude");
    if (byHook || contains(servers, "trevix")) keys.insert("claude");
    if (contains(textOf(files, home / ".codex" / "config.toml"), "[mcp_servers.trevix]")) {
        keys.insert("codex");
    }
    if (contains(textOf(files, home / ".openclaw" / "openclaw.json"), "trevix")) {
        keys.insert("openclaw");
    }
    if (contains(textOf(files, home / ".cursor" / "mcp.json"), "trevix")) keys.insert("cursor");
    return keys;
}

} // namespace kelvane::HarnessConfig
