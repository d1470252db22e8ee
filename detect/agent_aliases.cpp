#include "detect/agent_aliases.h"

#include "catalog/recognition.h"
#include "text/unicode.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace kelvane::AgentAliases {

namespace {

struct Alias {
    std::string_view name;
    std::string_view bundleId;
};

constexpr std::string_view kCursor = "com.todesktop.230313mzl4w4u92";
constexpr std::string_view kLmStudio = "ai.elementlabs.lmstudio";
constexpr std::string_view kAntigravity = "com.google.antigravity";
constexpr std::string_view kClaudeDesktop = "com.anthropic.claudefordesktop";
constexpr std::string_view kChatGpt = "com.openai.chat";
constexpr std::string_view kGemini = "com.google.GeminiMacOS";

/// Desktop files, and the classes of windows without one. What stands for more than one agent
/// somewhere, or is only a page in a browser, is not here.
constexpr Alias kApplications[] = {
    {"cursor", kCursor},
    {"wmclass:cursor", kCursor},
    {"lm-studio", kLmStudio},
    {"LM-Studio", kLmStudio},
    {"lmstudio", kLmStudio},
    {"wmclass:lm studio", kLmStudio},
    {"wmclass:lm-studio", kLmStudio},
    {"antigravity", kAntigravity},
    {"wmclass:antigravity", kAntigravity},
    {"claude-desktop", kClaudeDesktop},
    {"com.anthropic.Claude", kClaudeDesktop},
    {"wmclass:claude", kClaudeDesktop},
    {"wmclass:claude-desktop", kClaudeDesktop},
    {"chatgpt", kChatGpt},
    {"chatgpt-desktop", kChatGpt},
    {"chatgpt-desktop_chatgpt-desktop", kChatGpt},
    {"wmclass:chatgpt", kChatGpt},
    {"wmclass:chatgpt-desktop", kChatGpt},
    {"gemini", kGemini},
    {"gemini-desktop", kGemini},
    {"wmclass:gemini", kGemini},
    {"wmclass:gemini-desktop", kGemini},
};

/// Processes that are the application and nothing else: there is a command line tool, too, that
/// is called "gemini".
constexpr Alias kProcesses[] = {
    {"cursor", kCursor},
    {"lm-studio", kLmStudio},
    {"antigravity", kAntigravity},
    {"claude-desktop", kClaudeDesktop},
};

template <std::size_t Count>
std::optional<std::string> find(const Alias (&table)[Count], std::string_view name) {
    const auto* const found = std::ranges::find(table, name, &Alias::name);
    if (found == std::end(table)) return std::nullopt;
    return std::string(found->bundleId);
}

} // namespace

std::optional<std::string> bundleIdFor(std::string_view bundleId) {
    if (auto known = find(kApplications, bundleId)) return known;
    // A desktop file made for an AppImage has the name of the program, which is its windows' class.
    const auto name = nameOfAppImage(bundleId);
    if (!name) return std::nullopt;
    auto word = text::lowerAscii(*name);
    std::ranges::replace(word, '_', ' ');
    return find(kApplications, "wmclass:" + word);
}

std::optional<std::string> bundleIdForProcess(std::string_view process) {
    return find(kProcesses, process);
}

std::optional<std::string> processFor(std::string_view process) {
    // It calls itself "openclaw-gateway" and so on, of which the system keeps 15 letters.
    if (process.starts_with("openclaw-")) return "openclaw";
    return std::nullopt;
}

} // namespace kelvane::AgentAliases
