#include "critics/engines/prose_file.h"

#include "critics/findings/part_kind.h"
#include "critics/language/language_teller.h"
#include "critics/text/prose.h"
#include "text/letters.h"
#include "text/unicode.h"

#include <algorithm>
#include <utility>

namespace trevix {

namespace text = kelvane::text;

namespace {

/// The mark of a fence of code at the beginning of the line: "```" or longer. Empty without one.
std::string_view fenceOf(std::string_view line) {
    const std::size_t first = line.find_first_not_of(' ');
    if (first > 3) return {}; // Nor where the line is blank.
    line.remove_prefix(first);
    if (line[0] != '`' && line[0] != '~') return {};
    const std::size_t size = std::min(line.find_first_not_of(line[0]), line.size());
    return size >= 3 ? line.substr(0, size) : std::string_view();
}

/// Masks fenced and indented code, and what stands between two lines of dashes at the beginning.
/// Our own reading of it: this runs in the service's own process, where no other reader of the work
/// does.
void maskCodeLines(const SourceText& source, std::string& shown) {
    std::string_view fence;
    bool front = false;
    bool indentable = true; // Behind a blank line, or in code.
    for (std::size_t i = 0; i < source.lineCount(); ++i) {
        const std::string_view line = source.line(i);
        const bool dashes = text::trimmed(line) == "---";
        const bool blank = text::trimmed(line).empty();
        bool code = front || !fence.empty();
        if (front) {
            front = !dashes;
        } else if (i == 0 && dashes) {
            front = code = true;
        } else if (const std::string_view mark = fenceOf(line); !mark.empty()) {
            code = true;
            if (fence.empty()) {
                fence = mark;
            } else if (mark[0] == fence[0] && mark.size() >= fence.size()) {
                fence = {};
            }
        } else if (fence.empty() && !blank) {
            code = indentable && (line.starts_with("    ") || line.starts_with('\t'));
            indentable = code;
        }
        if (blank) indentable = true;
        if (code) mask(shown, source.lineStart(i), line.size());
    }
}

} // namespace

std::string proseForOthers(std::string_view text, std::span<const Secret> secrets) {
    const SourceText source(text);
    std::string shown = plainProse(source).masked;
    maskCodeLines(source, shown);
    std::ranges::replace(shown, kMasked, kUnseen);
    for (const Secret& secret : secrets) {
        const std::size_t end = std::min(secret.valueOffset + secret.valueLength, shown.size());
        for (std::size_t i = secret.valueOffset; i < end; ++i) {
            if (shown[i] != '\n' && shown[i] != '\r') shown[i] = kUnseen;
        }
    }
    return shown;
}

bool wasSeen(std::string_view text, std::string_view shown, std::size_t offset,
             std::size_t length) {
    if (offset > text.size() || text.size() != shown.size()) return false;
    return text.substr(offset, length) == shown.substr(offset, length);
}

std::optional<WorkFile> englishFile(const Part& part) {
    const std::string shown = proseForOthers(part.text, findSecrets(part.text));
    if (tellLanguage(shown).language != NaturalLanguage::english) return std::nullopt;
    return WorkFile{"work.txt", forPrograms(shown), {}, "English"};
}

std::optional<WorkFile> markdownFile(const Part& part) {
    const std::string name = text::lowerAscii(part.name);
    if (bareType(part.mimeType) != "text/markdown" && !name.ends_with(".md") &&
        !name.ends_with(".markdown")) {
        return std::nullopt;
    }
    return WorkFile{"work.md", forPrograms(part.text), {}, "Markdown"};
}

std::optional<WorkFile> anyFile(const Part& part) {
    return WorkFile{"work.txt", forPrograms(part.text), {}, "text"};
}

} // namespace trevix
