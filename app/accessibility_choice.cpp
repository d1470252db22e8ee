#include "app/accessibility_choice.h"

#include "platform/ports/file_system.h"
#include "text/unicode.h"

#include <algorithm>
#include <string>

namespace kelvane::accessibility_choice {

namespace {

constexpr std::string_view kBeginning = "# Whether Kelvane has switched this desktop's "
                                        "accessibility setting on, for the user who said\n"
                                        "# so: \"on\", \"off\" (switched off again) or \"no\" "
                                        "(never). Delete this file to be asked again.\n";

std::string_view word(Answer answer) {
    switch (answer) {
    case Answer::On:
        return "on";
    case Answer::Off:
        return "off";
    case Answer::No:
        break;
    }
    return "no";
}

} // namespace

std::optional<Answer> answerIn(std::string_view content) {
    while (!content.empty()) {
        const auto end = std::min(content.find('\n'), content.size());
        const auto line = text::trimmedWhitespaceAndNewlines(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
        for (const auto answer : {Answer::On, Answer::Off, Answer::No}) {
            if (line == word(answer)) return answer;
        }
    }
    return std::nullopt;
}

std::filesystem::path fileIn(const std::filesystem::path& braskHome) {
    return braskHome / "accessibility";
}

std::optional<Answer> remembered(FileSystem& files, const std::filesystem::path& braskHome) {
    const auto content = files.read(fileIn(braskHome));
    return content ? answerIn(*content) : std::nullopt;
}

bool remember(FileSystem& files, const std::filesystem::path& braskHome, Answer answer) {
    files.createDirectories(braskHome);
    return files.writeAtomically(fileIn(braskHome),
                                 std::string(kBeginning).append(word(answer)).append("\n"));
}

} // namespace kelvane::accessibility_choice
