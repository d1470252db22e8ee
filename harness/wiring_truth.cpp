#include "harness/wiring_truth.h"

#include "detect/known_agents.h"
#include "harness/installation.h"
#include "platform/ports/file_system.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <functional>
#include <optional>

namespace kelvane {

namespace {

using nlohmann::json;

std::optional<WiringState> stateOf(std::string_view word) {
    if (word == "wired") return WiringState::Wired;
    if (word == "untrusted") return WiringState::Untrusted;
    if (word == "repair") return WiringState::Repair;
    if (word == "edited") return WiringState::Edited;
    if (word == "foreign" || word == "absent") return WiringState::NotOurs;
    if (word == "unreadable") return WiringState::Unread;
    return std::nullopt;
}

std::string textAt(const json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

} // namespace

std::size_t wiringMark(FileSystem& files, const std::filesystem::path& home) {
    std::size_t mark = 0;
    const auto add = [&](const std::filesystem::path& path) {
        const auto bytes = files.read(path);
        // 31: an odd factor, so that the order of the files counts.
        mark = mark * 31 + (bytes ? std::hash<std::string>{}(*bytes) + 1 : 0);
    };
    for (const KnownAgent* tool : wireableTools()) {
        for (const WiredFile& file : tool->wiring->files) add(home / file.path);
        for (const std::string_view path : tool->wiring->furtherFiles) add(home / path);
    }
    add(home / ".brask" / "installed.json");
    return mark;
}

std::filesystem::path wiringAnswer(const std::filesystem::path& braskHome) {
    return braskHome / "wiring.json";
}

ProcessRequest wiringQuestion(const std::filesystem::path& braskHome) {
    const std::string installer = shellWord((braskHome / "brask_install.py").string());
    const std::string answer = shellWord(wiringAnswer(braskHome).string());
    // No profile is read, for it may never end; tools that only a profile makes known are looked
    // for where package managers put them. The answer takes its place as a whole.
    const std::string script = R"sh(umask 077
PATH="$PATH:$HOME/.local/bin:/opt/homebrew/bin:/usr/local/bin"
(answer=)sh" + answer + R"sh(
 next="$answer.$$"
 if python3 -I )sh" + installer +
                               R"sh( status --json >"$next"; then mv -f "$next" "$answer"
 else rm -f "$next"; fi) </dev/null >/dev/null 2>&1 &)sh";
    return {.program = "/bin/sh",
            .arguments = {"-c", script},
            .output = ProcessOutput::Capture,
            .timeLimit = std::chrono::seconds(5)};
}

WiringTruths wiringTruths(std::string_view told) {
    WiringTruths truths;
    const json value = json::parse(told, nullptr, false);
    if (!value.is_object() || !value.contains("tools") || !value["tools"].is_array()) return {};
    for (const json& row : value["tools"]) {
        if (!row.is_object()) continue;
        const auto state = stateOf(textAt(row, "state"));
        const std::string key = textAt(row, "tool");
        for (const KnownAgent* tool : wireableTools()) {
            if (!state || tool->wiring->key != key) continue;
            truths[std::string(tool->id)] = {.state = *state,
                                             .versionIsKnown = !textAt(row, "version").empty()};
        }
    }
    return truths;
}

} // namespace kelvane
