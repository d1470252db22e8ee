#include "eval/plain_http.h"

#include "platform/ports/file_system.h"
#include "text/unicode.h"
#include "text/web_address.h"

namespace kelvane::plain_http {

namespace {

constexpr std::string_view kBeginning =
    "# Addresses of an evaluation service that are not encrypted, and whether work and key may go\n"
    "# there: lines of \"allow ADDRESS\" or \"refuse ADDRESS\", the last one about an address "
    "counts.\n"
    "# Delete a line to be asked again.\n";

} // namespace

std::optional<std::string> addressToAskAbout(std::string_view base) {
    const auto origin = text::webOrigin(base);
    // Encrypted, or within this machine: there is nothing to ask.
    if (!origin || origin->scheme != "http" || text::isLoopback(origin->host)) return std::nullopt;
    return written(*origin);
}

std::optional<bool> answerIn(std::string_view content, std::string_view address) {
    std::optional<bool> answer;
    while (!content.empty()) {
        const auto end = std::min(content.find('\n'), content.size());
        const auto line = text::trimmedWhitespaceAndNewlines(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
        const auto blank = std::min(line.find_first_of(" \t"), line.size());
        const auto word = line.substr(0, blank);
        if (text::trimmedBlanks(line.substr(blank)) != address) continue;
        // Later lines win, so answering again is adding a line.
        if (word == "allow" || word == "refuse") answer = word == "allow";
    }
    return answer;
}

std::filesystem::path fileIn(const std::filesystem::path& braskHome) {
    return braskHome / "plain-http";
}

std::optional<bool> remembered(FileSystem& files, const std::filesystem::path& braskHome,
                               std::string_view address) {
    const auto content = files.read(fileIn(braskHome));
    return content ? answerIn(*content, address) : std::nullopt;
}

bool remember(FileSystem& files, const std::filesystem::path& braskHome, std::string_view address,
              bool isAllowed) {
    const std::filesystem::path file = fileIn(braskHome);
    const auto before = files.read(file);
    // Neither read nor absent: what stands in it would be lost.
    if (!before && files.exists(file)) return false;
    std::string content = before.value_or(std::string(kBeginning));
    // Whoever edited the file may have left its last line open.
    if (!content.empty() && !content.ends_with('\n')) content += '\n';
    content.append(isAllowed ? "allow " : "refuse ").append(address).append("\n");
    files.createDirectories(braskHome);
    return files.writeAtomically(file, content);
}

} // namespace kelvane::plain_http
