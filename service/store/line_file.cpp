#include "service/store/line_file.h"

#include "service/store/descriptor.h"
#include "service/store/random_id.h"

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trevix {

namespace fs = std::filesystem;

namespace {

std::string cannot(const fs::path& file, const char* what) {
    // Before anything else can change it: naming the file may allocate.
    const int cause = errno;
    return file.string() + " cannot be " + what + ": " + std::generic_category().message(cause);
}

struct Content {
    std::string bytes;
    mode_t mode = 0600;
};

/// Absent, with the reason in `error`, for what is there and cannot be used.
std::optional<Content> contentOf(const fs::path& file, std::string& error) {
    // A pipe put in the file's place must not keep anybody waiting.
    const Descriptor fd(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd.isOpen()) {
        if (errno == ENOENT) return Content{};
        error = cannot(file, "read");
        return std::nullopt;
    }
    struct stat facts {};
    // Asked of what was opened, not of the path, which may lead elsewhere by now.
    if (fstat(fd.get(), &facts) != 0 || !S_ISREG(facts.st_mode)) {
        error = file.string() + " is not a file";
        return std::nullopt;
    }
    if (static_cast<std::uintmax_t>(facts.st_size) > kLargestLineFile) {
        error = file.string() + " is too large";
        return std::nullopt;
    }
    Content content;
    content.mode = facts.st_mode & 07777U;
    // One byte more than is allowed: a file that grows while it is read shows it by filling that.
    content.bytes.resize(kLargestLineFile + 1);
    std::size_t size = 0;
    while (size < content.bytes.size()) {
        const ssize_t n = read(fd.get(), content.bytes.data() + size, content.bytes.size() - size);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            error = cannot(file, "read");
            return std::nullopt;
        }
        if (n == 0) break;
        size += static_cast<std::size_t>(n);
    }
    content.bytes.resize(size);
    return content;
}

// A new file under the old name, because only rename(2) is whole or not at all: writing in place
// would leave half a file to whoever reads meanwhile, and after a crash.
std::optional<std::string> replaced(const fs::path& file, const Content& content) {
    const fs::path draft = randomName(file.string() + ".", 8);
    {
        const Descriptor fd(
            open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!fd.isOpen()) return cannot(file, "written");
        // In this order: the mode before the name, so that the file is never there with another
        // one, and the bytes on the disk before the name, or a loss of power leaves an empty file
        // under it.
        if (!writeAll(fd.get(), content.bytes) || fchmod(fd.get(), content.mode) != 0 ||
            fsync(fd.get()) != 0) {
            std::string error = cannot(file, "written");
            unlink(draft.c_str());
            return error;
        }
    }
    if (rename(draft.c_str(), file.c_str()) != 0) {
        std::string error = cannot(file, "written");
        unlink(draft.c_str());
        return error;
    }
    // The name itself is on the disk only when the folder is. A file system that cannot sync a
    // folder keeps the change all the same, so that failing is no error.
    const Descriptor folder(open(file.parent_path().c_str(), O_RDONLY | O_CLOEXEC));
    if (folder.isOpen()) fsync(folder.get());
    return std::nullopt;
}

/// The file that a link leads to, even where that does not exist yet.
fs::path target(const fs::path& file) {
    std::error_code error;
    fs::path real = fs::weakly_canonical(file, error);
    return error ? file : real;
}

/// Calls `each` with every line and its end, and with where it begins.
void forLines(std::string_view text,
              const std::function<void(std::string_view line, std::string_view whole)>& each) {
    while (!text.empty()) {
        const std::size_t feed = text.find('\n');
        const std::string_view whole =
            text.substr(0, feed == std::string_view::npos ? text.size() : feed + 1);
        std::string_view line = whole;
        if (line.ends_with('\n')) line.remove_suffix(1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        each(line, whole);
        text.remove_prefix(whole.size());
    }
}

/// Changes the file while nobody else does. `change` gets the content, and says whether it made it
/// another one.
std::optional<std::string> edited(const fs::path& named,
                                  const std::function<bool(std::string&)>& change) {
    const fs::path file = target(named);
    const Descriptor folder(open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        if (errno == ENOENT) return std::nullopt; // nothing there to take a line out of
        return cannot(file, "written");
    }
    // The folder is locked, not the file: each change puts another file in its place, and a lock
    // would go on holding the one that is gone. Closing the folder ends the lock, also when the
    // program is killed.
    while (flock(folder.get(), LOCK_EX) != 0) {
        if (errno != EINTR) return cannot(file, "locked");
    }
    std::string error;
    auto content = contentOf(file, error);
    if (!content) return error;
    if (!change(content->bytes)) return std::nullopt;
    if (content->bytes.size() > kLargestLineFile) return file.string() + " would become too large";
    return replaced(file, *content);
}

} // namespace

std::optional<std::vector<std::string>> readLines(const fs::path& file) {
    std::string error;
    const auto content = contentOf(file, error);
    if (!content) return std::nullopt;
    std::vector<std::string> lines;
    forLines(content->bytes,
             [&](std::string_view line, std::string_view) { lines.emplace_back(line); });
    return lines;
}

std::optional<std::string> addLine(const fs::path& file, std::string_view line,
                                   const std::function<bool(std::string_view)>& isSame,
                                   std::string_view head) {
    const fs::path folder = target(file).parent_path();
    std::error_code failed;
    if (!fs::exists(folder, failed)) {
        fs::create_directories(folder, failed);
        if (!failed) fs::permissions(folder, fs::perms::owner_all, failed);
        if (failed) return folder.string() + " cannot be made: " + failed.message();
    }
    return edited(file, [&](std::string& content) {
        bool there = false;
        // New lines end as those that are there, so that an editor of another system goes on
        // showing one kind.
        std::string_view end = "\n";
        forLines(content, [&](std::string_view each, std::string_view whole) {
            there = there || isSame(each);
            if (whole.ends_with("\r\n")) end = "\r\n";
        });
        if (there) return false;
        if (content.empty()) content += head;
        if (!content.empty() && !content.ends_with('\n')) content += end;
        content += line;
        content += end;
        return true;
    });
}

std::optional<std::string> removeLines(const fs::path& file,
                                       const std::function<bool(std::string_view)>& isSame) {
    return edited(file, [&](std::string& content) {
        std::string kept;
        forLines(content, [&](std::string_view line, std::string_view whole) {
            if (!isSame(line)) kept += whole;
        });
        const bool changed = kept.size() != content.size();
        content = std::move(kept);
        return changed;
    });
}

} // namespace trevix
