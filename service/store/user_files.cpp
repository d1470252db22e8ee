#include "service/store/user_files.h"

#include "service/store/line_file.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trevix {

namespace {

constexpr std::string_view kHead = "# What is no flaw: time, rule, evidence, place, reason, parted "
                                   "by tabs. A line that is deleted "
                                   "is undone.\n";

constexpr const char* kNoFolder = "there is no configuration folder: HOME is not set";

// Fields hold no tabs and no line breaks: evidence has none, and what people say has them replaced.
std::string oneLine(std::string_view text) {
    std::string line(text);
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
    }
    while (!line.empty() && line.back() == ' ') line.pop_back();
    const std::size_t start = line.find_first_not_of(' ');
    return start == std::string::npos ? std::string() : line.substr(start);
}

// At a code point, not necessarily a character of several.
std::string firstCodePoints(std::string text, std::size_t most) {
    std::size_t seen = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        // A byte of the form 10xxxxxx continues a code point, so it does not begin the next.
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U && seen++ == most) {
            return text.substr(0, i);
        }
    }
    return text;
}

std::string_view wordInLine(std::string_view line) {
    while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
    while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
    return line.starts_with('#') ? std::string_view() : line;
}

} // namespace

bool isWord(std::string_view word) {
    return !word.empty() && word.size() <= kLongestWord &&
           std::none_of(word.begin(), word.end(), [](char c) {
               return static_cast<unsigned char>(c) <= 0x20 || c == 0x7f || c == '#';
           });
}

std::string lineOfDismissal(const Dismissal& dismissal) {
    std::string line;
    for (const std::string* field : {&dismissal.when, &dismissal.rule, &dismissal.evidence,
                                     &dismissal.place, &dismissal.reason}) {
        if (field != &dismissal.when) line += '\t';
        line += oneLine(*field);
    }
    return line;
}

std::optional<Dismissal> dismissalInLine(std::string_view line) {
    if (line.starts_with('#')) return std::nullopt;
    std::array<std::string, 5> fields;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        // The last field takes the rest of the line, whatever tabs a hand has put in it.
        const std::size_t tab = i + 1 < fields.size() ? line.find('\t') : std::string_view::npos;
        // A reason may be left out by who writes the file by hand.
        if (tab == std::string_view::npos && i < 2) return std::nullopt;
        fields[i] = line.substr(0, tab);
        line.remove_prefix(tab == std::string_view::npos ? line.size() : tab + 1);
    }
    if (fields[1].empty()) return std::nullopt;
    return Dismissal{std::move(fields[1]), std::move(fields[2]), std::move(fields[3]),
                     std::move(fields[4]), std::move(fields[0])};
}

UserFiles::UserFiles(std::filesystem::path dismissed, std::filesystem::path dictionary)
    : m_dismissed(std::move(dismissed)),
      m_dictionary(std::move(dictionary)) {}

UserSays UserFiles::says() const {
    UserSays says;
    if (!m_dismissed.empty()) {
        for (const std::string& line :
             readLines(m_dismissed).value_or(std::vector<std::string>())) {
            if (auto one = dismissalInLine(line)) says.dismissals.push_back(std::move(*one));
        }
    }
    if (!m_dictionary.empty()) {
        for (const std::string& line :
             readLines(m_dictionary).value_or(std::vector<std::string>())) {
            const std::string_view word = wordInLine(line);
            if (!word.empty()) says.words.emplace(word);
        }
    }
    return says;
}

std::optional<std::string> UserFiles::dismiss(Dismissal dismissal) const {
    if (m_dismissed.empty()) return kNoFolder;
    dismissal.reason = firstCodePoints(oneLine(dismissal.reason), kLongestReason);
    // Compared as it will be read: control characters are blanks by then, and what is dismissed
    // already would otherwise not be recognised.
    const auto read = dismissalInLine(lineOfDismissal(dismissal));
    if (!read) return "a dismissal needs a rule";
    return addLine(
        m_dismissed, lineOfDismissal(dismissal),
        [&](std::string_view line) {
            const auto there = dismissalInLine(line);
            return there && there->sameAs(*read);
        },
        kHead);
}

std::optional<std::string> UserFiles::undo(const Dismissal& dismissal) const {
    if (m_dismissed.empty()) return kNoFolder;
    const auto read = dismissalInLine(lineOfDismissal(dismissal));
    if (!read) return "a dismissal needs a rule";
    return removeLines(m_dismissed, [&](std::string_view line) {
        const auto there = dismissalInLine(line);
        return there && there->sameAs(*read);
    });
}

std::optional<std::string> UserFiles::addWord(std::string_view word) const {
    if (m_dictionary.empty()) return kNoFolder;
    if (!isWord(word)) return "a word has no blanks, no \"#\" and at most 200 bytes";
    return addLine(m_dictionary, word,
                   [&](std::string_view line) { return wordInLine(line) == word; });
}

std::optional<std::string> UserFiles::removeWord(std::string_view word) const {
    if (m_dictionary.empty()) return kNoFolder;
    if (!isWord(word)) return "a word has no blanks, no \"#\" and at most 200 bytes";
    return removeLines(m_dictionary,
                       [&](std::string_view line) { return wordInLine(line) == word; });
}

} // namespace trevix
