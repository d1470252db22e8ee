#include "service/store/own_file.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace trevix {

namespace {

std::string unreadable(const std::filesystem::path& path) {
    return path.string() + " cannot be looked at: " + std::strerror(errno);
}

} // namespace

std::optional<std::string> fileProblem(const std::filesystem::path& file,
                                       const struct stat& facts) {
    const std::string name = file.string();
    if (S_ISLNK(facts.st_mode)) return name + " is a link; put the file itself there";
    if (!S_ISREG(facts.st_mode)) return name + " is not a file";
    if (facts.st_uid != geteuid()) return name + " belongs to another user";
    if ((facts.st_mode & 022U) != 0) {
        return "other users may change " + name + "; take that from them: chmod 600 '" + name + "'";
    }
    if ((facts.st_mode & 077U) != 0) {
        return "other users may read " + name + "; take that from them: chmod 600 '" + name + "'";
    }
    return std::nullopt;
}

// Not stat(2): a link would have us judge, and then write to, what somebody else chose.
std::optional<std::string> fileProblem(const std::filesystem::path& file) {
    struct stat facts {};
    if (lstat(file.c_str(), &facts) != 0) {
        return errno == ENOENT ? std::nullopt : std::optional(unreadable(file));
    }
    if (auto problem = fileProblem(file, facts)) return problem;
    // A second name may stand in a folder that others can reach, and outlives this one.
    if (facts.st_nlink > 1) {
        return file.string() + " has another name elsewhere (a hard link); remove that";
    }
    return std::nullopt;
}

std::optional<std::string> folderProblem(const std::filesystem::path& folder) {
    struct stat facts {};
    if (lstat(folder.c_str(), &facts) != 0) {
        return errno == ENOENT ? std::nullopt : std::optional(unreadable(folder));
    }
    const std::string name = folder.string();
    // Named by what it leads to, it is judged itself: whoever owns a link can turn it later.
    if (S_ISLNK(facts.st_mode)) return name + " is a link; name the folder that it leads to";
    if (!S_ISDIR(facts.st_mode)) return name + " is not a folder";
    if (facts.st_uid != geteuid()) return name + " belongs to another user";
    if ((facts.st_mode & 022U) != 0) {
        return "other users may write in " + name + "; take that from them: chmod 700 '" + name +
               "'";
    }
    return std::nullopt;
}

} // namespace trevix
