#include "service/setup/key_file.h"

#include "service/store/descriptor.h"
#include "service/store/own_file.h"
#include "service/store/random_id.h"
#include "text/unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trevix {

namespace {

// Bytes. A drawn key has far fewer; one of the user's own may be longer.
constexpr std::size_t kLongest = 512;
// What keys begin with that this service made: a client that holds one has the service prove over
// TCP that it knows it (see key_proof.h).
constexpr std::string_view kPrefix = "trevix_local_";

KeyError systemError(const std::filesystem::path& file, const char* what) {
    return {file.string() + ": " + what + ": " + std::strerror(errno)};
}

// Absent when the file is not there.
std::optional<std::variant<Key, KeyError>> readKey(const std::filesystem::path& file) {
    // Not through a link, and without waiting should somebody have put a pipe there.
    const Descriptor fd(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!fd.isOpen()) {
        if (errno == ENOENT) return std::nullopt;
        return systemError(file, "cannot be read");
    }
    struct stat facts {};
    if (fstat(fd.get(), &facts) != 0) return systemError(file, "cannot be read");
    if (auto problem = fileProblem(file, facts)) {
        // Whoever could read it may have kept it, so a new mode alone does not help.
        return KeyError{*problem + ((facts.st_mode & 077U) != 0
                                        ? "; the key may be known: delete it for a new one"
                                        : "")};
    }

    Key key;
    // Room for blanks around it; a file that is longer holds no usable key anyway.
    std::string content(kLongest + 64, '\0');
    std::size_t size = 0;
    while (size < content.size()) {
        const ssize_t n = read(fd.get(), content.data() + size, content.size() - size);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return systemError(file, "cannot be read");
        if (n == 0) break;
        size += static_cast<std::size_t>(n);
    }
    content.resize(size);
    // An editor ends the file with a line break.
    key.text = std::string(kelvane::text::trimmedWhitespaceAndNewlines(content));
    if (!isUsableKey(key.text)) {
        return KeyError{file.string() + " holds no usable key; delete it and a new one is made"};
    }
    return key;
}

// Complete or not there at all, whenever the program ends. Keeps a file that is there already.
std::optional<KeyError> makeKeyFile(const std::filesystem::path& file) {
    const std::filesystem::path draft = randomName(file.string() + ".", 8);
    {
        const Descriptor fd(
            open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!fd.isOpen()) return systemError(file, "cannot be made");
        // 160 random bits.
        if (!writeAll(fd.get(), randomName(kPrefix, 20) + "\n") || fsync(fd.get()) != 0) {
            const KeyError error = systemError(file, "cannot be written");
            unlink(draft.c_str());
            return error;
        }
    }
    // link(2) fails where the name is taken, unlike rename(2): of two services that start at once
    // both end up with the key of the one that came first.
    const bool linked = link(draft.c_str(), file.c_str()) == 0;
    const int cause = errno;
    // Some file systems have no links; there, nobody else is expected to make the file meanwhile.
    const bool made = linked || (cause != EEXIST && rename(draft.c_str(), file.c_str()) == 0);
    std::optional<KeyError> error =
        made || cause == EEXIST ? std::nullopt : std::optional(systemError(file, "cannot be made"));
    unlink(draft.c_str());
    const Descriptor folder(open(file.parent_path().c_str(), O_RDONLY | O_CLOEXEC));
    if (folder.isOpen()) fsync(folder.get());
    return error;
}

} // namespace

std::variant<Key, KeyError> loadOrMakeKey(const std::filesystem::path& file) {
    if (auto key = readKey(file)) return *key;
    if (auto error = makeKeyFile(file)) return *error;
    if (auto key = readKey(file)) return *key;
    return KeyError{file.string() + " disappeared while it was made"};
}

bool isUsableKey(std::string_view key) {
    return key.size() >= 8 && key.size() <= kLongest &&
           std::all_of(key.begin(), key.end(),
                       [](char c) { return c > ' ' && c < 0x7f && c != '%'; });
}

bool authorizes(std::string_view authorizationHeader, std::string_view key) {
    constexpr std::string_view kScheme = "bearer ";
    if (authorizationHeader.size() < kScheme.size() || key.empty()) return false;
    // The scheme's name is compared without case, RFC 9110, 11.1.
    if (kelvane::text::lowerAscii(authorizationHeader.substr(0, kScheme.size())) != kScheme) {
        return false;
    }
    const std::string_view sent = authorizationHeader.substr(kScheme.size());
    // Goes over what was sent, so that its length is all that the time tells.
    unsigned difference = sent.size() == key.size() ? 0U : 1U;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        difference |= static_cast<unsigned char>(sent[i]) ^
                      static_cast<unsigned>(static_cast<unsigned char>(key[i % key.size()]));
    }
    return difference == 0;
}

} // namespace trevix
