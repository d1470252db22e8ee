// How this process was started, and where its user's files are.
//
// The argument list, a snapshot of the environment and what follows from the two. Each lazy value
// is computed once, on first use, and may be asked for from any thread. The pure forms take what
// they depend on and are what tests exercise; the short forms apply them to this process.

#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FileSystem;

/// The application's reverse-DNS identifier.
extern const std::string_view kBundleID;
/// The page where a person gets a service key.
[[nodiscard]] const std::string& kConnectURL();
/// Where a newer catalog is downloaded from.
[[nodiscard]] const std::string& kCatalogURL();

/// What the machine's clock says, in milliseconds since 1970, UTC.
[[nodiscard]] std::int64_t wallClockMs();
/// The same moment as the clock on the user's wall shows it, for `ms` of UTC.
[[nodiscard]] std::int64_t localTimeMs(std::int64_t ms);

/// The full argument list, the program's path first. Empty before `recordArgs`.
[[nodiscard]] const std::vector<std::string>& args();

/// Records the argument list. Called once, by the entry point, before anything else.
void recordArgs(int argc, const char* const* argv);

/// The environment as it was on first use.
[[nodiscard]] const std::map<std::string, std::string>& kEnv();

/// Whether BRASK_APP_NO_PERSIST is set, to whatever value: do not install for good.
[[nodiscard]] bool kNoPersist();

/// Whether BRASK_APP_NO_OPEN is set, to whatever value: do not open the connect page.
[[nodiscard]] bool kNoOpen();

/// Whether BRASK_APP_NO_REFRESH is set, to whatever value: do not fetch the newest catalog.
[[nodiscard]] bool kNoRefresh();

/// Whether the snapshot `env` holds `name`, the empty value included.
[[nodiscard]] bool isSet(const std::map<std::string, std::string>& env, const std::string& name);

/// The element that follows the first one equal to `flag`, taken as it stands, even when it is
/// empty or looks like a switch. Absent when the flag is missing or comes last.
[[nodiscard]] std::optional<std::string> argValue(std::string_view flag);
[[nodiscard]] std::optional<std::string> argValue(const std::vector<std::string>& args,
                                                  std::string_view flag);

/// HOME when it is set and not empty, whether or not such a folder exists; otherwise the account's
/// home folder.
[[nodiscard]] std::filesystem::path home(FileSystem& files);
[[nodiscard]] std::filesystem::path home(const std::map<std::string, std::string>& env,
                                         FileSystem& files);

/// The program's data folder, ".brask" under `home`.
[[nodiscard]] std::filesystem::path braskHome(FileSystem& files);
[[nodiscard]] std::filesystem::path braskHome(const std::filesystem::path& home);

} // namespace kelvane
