// Where programs and the engines' own files are on this machine: a port, and its adapter.

#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix {

/// Any thread, several at once.
class ProgramFinder {
public:
    virtual ~ProgramFinder() = default;

    /// The absolute path of the program of that name; absent when it is not here.
    [[nodiscard]] virtual std::optional<std::string> program(std::string_view name) const = 0;
    /// The absolute path of a file below the engines' own folders; absent when none has it.
    [[nodiscard]] virtual std::optional<std::string> module(std::string_view name) const = 0;
};

/// Looks into folders, in their order. No PATH: what runs over somebody's work is not chosen by the
/// surroundings that the service happened to be started in.
class FolderFinder : public ProgramFinder {
public:
    FolderFinder(std::vector<std::filesystem::path> programs,
                 std::vector<std::filesystem::path> modules)
        : m_programs(std::move(programs)),
          m_modules(std::move(modules)) {}

    [[nodiscard]] std::optional<std::string> program(std::string_view name) const override;
    [[nodiscard]] std::optional<std::string> module(std::string_view name) const override;

private:
    std::vector<std::filesystem::path> m_programs;
    std::vector<std::filesystem::path> m_modules;
};

/// The folders in which packages put programs on Debian and with Homebrew.
[[nodiscard]] std::vector<std::filesystem::path> usualProgramFolders();

/// The folders in which builds and packages put the engines' own files, in relation to the folder
/// of this program: lib/kelvane/engines of an installation, build/engines of a checkout; and last
/// the folder into which an administrator puts them beside a system's package.
[[nodiscard]] std::vector<std::filesystem::path>
usualModuleFolders(const std::filesystem::path& programFolder);

/// A finder that knows what a test says.
class FakeProgramFinder : public ProgramFinder {
public:
    std::map<std::string, std::string, std::less<>> programs; ///< Path by name.
    std::map<std::string, std::string, std::less<>> modules;  ///< Likewise.

    [[nodiscard]] std::optional<std::string> program(std::string_view name) const override {
        return in(programs, name);
    }
    [[nodiscard]] std::optional<std::string> module(std::string_view name) const override {
        return in(modules, name);
    }

private:
    [[nodiscard]] static std::optional<std::string>
    in(const std::map<std::string, std::string, std::less<>>& paths, std::string_view name) {
        const auto found = paths.find(name);
        return found == paths.end() ? std::nullopt : std::optional(found->second);
    }
};

} // namespace trevix
