#include "app/process_settings.h"

#include "eval/service_address.h"
#include "platform/ports/file_system.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

extern char** environ;

namespace kelvane {

const std::string_view kBundleID = KELVANE_BUNDLE_ID;

namespace {

std::vector<std::string>& recordedArgs() {
    static std::vector<std::string> recorded;
    return recorded;
}

// Appended, not added up: gcc 12 takes a sum of texts this short for one that leaves its bounds.
std::string onService(std::string_view path) {
    std::string url(kServiceBase);
    return url.append(path);
}

} // namespace

const std::string& kConnectURL() {
    static const std::string url = onService("/connect?from=macos-app");
    return url;
}

const std::string& kCatalogURL() {
    static const std::string url = onService("/brask/app-catalog.json");
    return url;
}

const std::vector<std::string>& args() {
    return recordedArgs();
}

void recordArgs(int argc, const char* const* argv) {
    recordedArgs().assign(argv, argv + argc);
}

const std::map<std::string, std::string>& kEnv() {
    static const auto snapshot = [] {
        std::map<std::string, std::string> variables;
        for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
            const std::string_view text(*entry);
            const auto equals = text.find('=');
            if (equals == std::string_view::npos) continue;
            variables.emplace(text.substr(0, equals), text.substr(equals + 1));
        }
        return variables;
    }();
    return snapshot;
}

bool kNoPersist() {
    static const bool set = isSet(kEnv(), "BRASK_APP_NO_PERSIST");
    return set;
}

bool kNoOpen() {
    static const bool set = isSet(kEnv(), "BRASK_APP_NO_OPEN");
    return set;
}

bool kNoRefresh() {
    static const bool set = isSet(kEnv(), "BRASK_APP_NO_REFRESH");
    return set;
}

bool isSet(const std::map<std::string, std::string>& env, const std::string& name) {
    return env.contains(name);
}

std::optional<std::string> argValue(std::string_view flag) {
    return argValue(args(), flag);
}

std::optional<std::string> argValue(const std::vector<std::string>& args, std::string_view flag) {
    const auto found = std::find(args.begin(), args.end(), flag);
    if (found == args.end() || std::next(found) == args.end()) return std::nullopt;
    return *std::next(found);
}

std::filesystem::path home(FileSystem& files) {
    return home(kEnv(), files);
}

std::filesystem::path home(const std::map<std::string, std::string>& env, FileSystem& files) {
    const auto found = env.find("HOME");
    if (found != env.end() && !found->second.empty()) return found->second;
    return files.homeDirectoryForCurrentUser();
}

std::filesystem::path braskHome(FileSystem& files) {
    return braskHome(home(files));
}

std::filesystem::path braskHome(const std::filesystem::path& home) {
    return home / ".brask";
}

std::int64_t wallClockMs() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t localTimeMs(std::int64_t ms) {
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts{};
    if (localtime_r(&seconds, &parts) == nullptr) return ms;
    return ms + static_cast<std::int64_t>(parts.tm_gmtoff) * 1000;
}

} // namespace kelvane
