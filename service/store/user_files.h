// The files in which a person's last word stands: what is no flaw, and the words of their own.
//
// Both are plain text in the desktop's configuration folder, read anew for every question, so that
// an editor, the validator kit and this service work on them side by side.
//
//   dismissed.tsv    time, rule, evidence, place, reason, parted by tabs; the place is empty for
//                    what holds everywhere. "#" begins a remark. See critics/findings/dismissal.h
//   dictionary.txt   a word a line; "#" begins a remark
//
// Any thread. An error is a sentence for people; a file that cannot be read says nothing.

#pragma once

#include "critics/findings/dismissal.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace trevix {

/// Characters; what is said for one's own memory.
constexpr std::size_t kLongestReason = 500;
/// Bytes. No word of a language is as long.
constexpr std::size_t kLongestWord = 200;

class UserFiles {
public:
    /// Empty paths: nobody has said anything, and nothing can be.
    UserFiles(std::filesystem::path dismissed, std::filesystem::path dictionary);

    [[nodiscard]] UserSays says() const;

    /// Whether there is a file for anything.
    [[nodiscard]] bool canBeTold() const { return !m_dismissed.empty() || !m_dictionary.empty(); }

    /// Remembers it. A reason is made one line of at most kLongestReason characters. What is
    /// dismissed already stays as it is.
    [[nodiscard]] std::optional<std::string> dismiss(Dismissal dismissal) const;
    /// Forgets it, whatever its reason. No error when it is not there.
    [[nodiscard]] std::optional<std::string> undo(const Dismissal& dismissal) const;

    /// Words with white space, control characters or "#", and empty and long ones, are refused.
    [[nodiscard]] std::optional<std::string> addWord(std::string_view word) const;
    [[nodiscard]] std::optional<std::string> removeWord(std::string_view word) const;

private:
    std::filesystem::path m_dismissed;
    std::filesystem::path m_dictionary;
};

/// Whether a dictionary can have it as a line.
[[nodiscard]] bool isWord(std::string_view word);

/// A dismissal as a line of its file, and back. Absent for remarks and lines of another form.
[[nodiscard]] std::string lineOfDismissal(const Dismissal& dismissal);
[[nodiscard]] std::optional<Dismissal> dismissalInLine(std::string_view line);

} // namespace trevix
