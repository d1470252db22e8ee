// Files and folders in memory.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/file_system.h"

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

/// Files in memory. A folder exists when it was made, when something lies in it, and when something
/// that lay in it was removed; the root always does. There are no permissions beyond the two sets
/// below, and no links but those that `links` names.
class FakeFileSystem : public FileSystem {
public:
    explicit FakeFileSystem(Journal& journal) : m_journal(journal) {}

    std::map<std::filesystem::path, std::string> files;
    std::set<std::filesystem::path> folders;
    std::set<std::filesystem::path> unreadable; ///< Files that exist, but reading them fails.
    std::set<std::filesystem::path> unwritable; ///< Writing, making and removing them fails.
    /// Folders that lead elsewhere. Only `resolve` follows them.
    std::map<std::filesystem::path, std::filesystem::path> links;
    /// Who may use a file; one that is not listed is this user's alone.
    std::map<std::filesystem::path, FileGuard> guards;
    std::filesystem::path temporary = "/tmp/";
    std::filesystem::path accountHome = "/home/account";

    std::optional<std::string> read(const std::filesystem::path& path) override;
    bool exists(const std::filesystem::path& path) override;
    std::optional<FileGuard> guard(const std::filesystem::path& path) override;
    bool createDirectories(const std::filesystem::path& path) override;
    bool writeAtomically(const std::filesystem::path& path, std::string_view bytes) override;
    bool writePrivately(const std::filesystem::path& path, std::string_view bytes) override;
    bool remove(const std::filesystem::path& path) override;
    std::optional<std::vector<std::string>> list(const std::filesystem::path& folder) override;
    bool removeTree(const std::filesystem::path& path) override;
    bool copyTree(const std::filesystem::path& from, const std::filesystem::path& to) override;
    bool exchange(const std::filesystem::path& from, const std::filesystem::path& to) override;
    std::filesystem::path resolve(const std::filesystem::path& path) override;
    std::filesystem::path temporaryDirectory() override { return temporary; }
    std::filesystem::path homeDirectoryForCurrentUser() override { return accountHome; }

private:
    [[nodiscard]] bool isFolder(const std::filesystem::path& path) const;
    [[nodiscard]] bool isFile(const std::filesystem::path& path) const;

    Journal& m_journal;
};

} // namespace kelvane
