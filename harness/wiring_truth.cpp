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

/// The installer itself gives each program that it asks 12 s at most; most answer within one.
constexpr std::chrono::seconds kPatience{60};

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

ProcessRequest wiringQuestion(const std::filesystem::path& braskHome) {
    const std::string installer = shellWord((braskHome / "brask_install.py").string());
    // No profile is read, for it may never end; tools that only a profile makes known are looked
    // for where package managers put them.
    const std::string script =
        "PATH=\"$PATH:$HOME/.local/bin:/opt/homebrew/bin:/usr/local/bin\"\nexec python3 -I " +
        installer + " status --json";
    return {.program = "/bin/sh",
            .arguments = {"-c", script},
            .output = ProcessOutput::Capture,
            .timeLimit = kPatience,
            .endsAtQuit = true};
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
