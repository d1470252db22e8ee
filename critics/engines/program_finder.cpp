#include "critics/engines/program_finder.h"

#include <system_error>

namespace trevix {

namespace fs = std::filesystem;

namespace {

bool isThere(const fs::path& path, bool toRun) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error || !fs::is_regular_file(status)) return false;
    constexpr fs::perms kAnyExec =
        fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
    return !toRun || (status.permissions() & kAnyExec) != fs::perms::none;
}

std::optional<std::string> firstOf(const std::vector<fs::path>& folders, std::string_view name,
                                   bool toRun) {
    for (const fs::path& folder : folders) {
        const fs::path path = (folder / name).lexically_normal();
        if (path.is_absolute() && isThere(path, toRun)) return path.string();
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> FolderFinder::program(std::string_view name) const {
    return firstOf(m_programs, name, true);
}

std::optional<std::string> FolderFinder::module(std::string_view name) const {
    return firstOf(m_modules, name, false);
}

std::vector<fs::path> usualProgramFolders() {
    return {"/opt/homebrew/bin", "/opt/homebrew/opt/libxml2/bin",
            "/usr/local/bin",    "/usr/local/go/bin",
            "/usr/bin",          "/bin"};
}

std::vector<fs::path> usualModuleFolders(const fs::path& programFolder) {
    return {programFolder / "../lib/kelvane/engines", programFolder / "engines",
            programFolder / "../engines", "/usr/local/lib/kelvane/engines"};
}

} // namespace trevix
