#include "eval/service_choice.h"

#include "platform/ports/file_system.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kelvane {

namespace {

namespace fs = std::filesystem;

/// In bytes: four lines with two paths and room for remarks.
constexpr std::size_t kLongest = std::size_t{64} << 10U;

constexpr std::array<std::pair<ServiceChoice::Where, std::string_view>, 3> kWords{
    {{ServiceChoice::Where::ThisMachine, "this machine"},
     {ServiceChoice::Where::Account, "account"},
     {ServiceChoice::Where::Later, "later"}}};

bool isLocalAddress(std::string_view address) {
    return address.starts_with("http+unix://%2F") || address.starts_with("http://127.0.0.1:");
}

/// An empty text, or why the line cannot be used.
std::string takeLine(ServiceChoice& choice, std::string_view name, const std::string& value) {
    if (name == "service") {
        const auto* const word =
            std::ranges::find(kWords, value, &decltype(kWords)::value_type::second);
        if (word == kWords.end()) return "service is “this machine”, “account” or “later”";
        choice.where = word->first;
    } else if (name == "base") {
        if (!isLocalAddress(value)) return "base is no address of this machine";
        choice.base = value;
    } else if (name == "key_file" || name == "program") {
        if (!fs::path(value).is_absolute()) return std::string(name) + " is no absolute path";
        (name == "program" ? choice.program : choice.keyFile) = value;
    } else {
        return "there is no setting “" + std::string(name) + "”";
    }
    return {};
}

} // namespace

std::string_view serviceWord(ServiceChoice::Where where) {
    const auto* const word = std::ranges::find(kWords, where, &decltype(kWords)::value_type::first);
    return word == kWords.end() ? std::string_view() : word->second;
}

fs::path serviceChoiceFile(const fs::path& braskHome) {
    return braskHome / "service";
}

ServiceChoiceRead parseServiceChoice(std::string_view text, const std::string& where) {
    ServiceChoiceRead read;
    if (text.size() > kLongest || !text::isValidUtf8(text)) {
        read.problems.push_back(where + ": not a file of “name: value” lines");
        return read;
    }
    for (int number = 1; !text.empty(); ++number) {
        const auto end = text.find('\n');
        const std::string_view line = text::trimmedWhitespaceAndNewlines(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.empty() || line.starts_with('#')) continue;
        const auto colon = line.find(':');
        const std::string problem =
            colon == std::string_view::npos
                ? "not a “name: value” line"
                : takeLine(read.choice, line.substr(0, colon),
                           std::string(text::trimmedBlanks(line.substr(colon + 1))));
        if (!problem.empty()) {
            read.problems.push_back(where + ":" + std::to_string(number) + ": " + problem);
        }
    }
    const auto& choice = read.choice;
    if (choice.where == ServiceChoice::Where::ThisMachine &&
        (choice.base.empty() || choice.keyFile.empty())) {
        read.problems.push_back(where + ": this machine needs base and key_file; start Kelvane and "
                                        "choose “Grade on this machine” again");
    }
    return read;
}

std::string serviceChoiceText(const ServiceChoice& choice) {
    const std::string_view word = serviceWord(choice.where);
    if (word.empty()) return {};
    std::string text =
        "# Where your work is graded. Written by Kelvane; choose anew in the menu of "
        "its icon.\nservice: " +
        std::string(word) + "\n";
    if (choice.where != ServiceChoice::Where::ThisMachine) return text;
    text.append("base: ").append(choice.base).append("\n");
    text.append("key_file: ").append(choice.keyFile.string()).append("\n");
    if (!choice.program.empty())
        text.append("program: ").append(choice.program.string()).append("\n");
    return text;
}

ServiceChoiceRead readServiceChoice(FileSystem& files, const fs::path& braskHome) {
    const fs::path file = serviceChoiceFile(braskHome);
    const auto text = files.readAny(file, kLongest);
    if (!text) return {};
    const auto guard = files.guard(file);
    if (!guard || !guard->isOurs || guard->othersWrite) {
        return {.choice = {},
                .problems = {file.string() + ": somebody else could have written it; nothing of it "
                                             "is used (make it yours, chmod 600)"}};
    }
    return parseServiceChoice(*text, file.string());
}

ChosenKey readChosenKey(FileSystem& files, const fs::path& keyFile) {
    const auto text = files.readAny(keyFile, kLongest);
    if (!text) return {.key = std::nullopt, .problem = "there is no key in " + keyFile.string()};
    const auto guard = files.guard(keyFile);
    if (!guard || !guard->isPrivate()) {
        return {.key = std::nullopt,
                .problem = keyFile.string() + ": others may read or write it; the key in it is not "
                                              "used (make it yours, chmod 600)"};
    }
    const auto key = text::trimmedWhitespaceAndNewlines(*text);
    if (key.empty() || !text::isValidUtf8(key)) {
        return {.key = std::nullopt, .problem = "there is no key in " + keyFile.string()};
    }
    return {.key = std::string(key), .problem = {}};
}

} // namespace kelvane
