#include "app/grade_preview.h"

#include "app/settings/privacy_rules.h"
#include "text/base64.h"
#include "text/shown_text.h"
#include "text/unicode.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

/// Characters: a line of so many is laid out in no time, and most lines are shorter.
constexpr std::size_t kLongestLine = 400;

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (true) {
        const auto end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        do {
            const auto piece = text::firstCharacters(line, kLongestLine);
            lines.push_back(text::shownLine(piece));
            line.remove_prefix(piece.size());
        } while (!line.empty());
        if (end == text.size()) return lines;
        text.remove_prefix(end + 1);
    }
}

std::string counted(std::size_t count, const std::string& one, const std::string& many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace

GradePreview gradePreview(const CaptureResult& capture, const DetectedApp& from,
                          const std::string& serviceBase, const std::optional<std::string>& hint) {
    GradePreview preview;
    preview.app = from.app ? from.app->name : from.rawName;
    preview.appId = from.rawBundleId;
    preview.to = placeName(serviceBase);
    preview.leaves = !isThisMachine(serviceBase);
    std::string text;
    std::string names;
    for (const ArtifactPart& part : capture.parts) {
        if (part.text) text += (text.empty() ? "" : "\n") + *part.text;
        if (part.dataB64) {
            if (auto bytes = text::fromBase64(*part.dataB64)) {
                preview.size = counted((bytes->size() + 1023) / 1024, "kB", "kB");
                preview.picture = std::make_shared<const std::string>(std::move(*bytes));
            }
        }
        names += (names.empty() ? "“" : ", “") + part.logicalName + "”";
    }
    if (!preview.picture) {
        const std::size_t characters = text::characterCount(text);
        preview.size = counted(characters, "character", "characters");
        preview.lines = std::make_shared<const std::vector<std::string>>(linesOf(text));
        if (characters >= Capture::kMaxCharacters) {
            preview.leftOut.push_back("What comes after the first " +
                                      std::to_string(Capture::kMaxCharacters) +
                                      " characters is left out: more is not judged at once.");
        }
    }
    preview.beside = "Sent with it: the application's name, what kind of work it is (" +
                     capture.modality + ") and " + names + " as its name.";
    if (capture.note) preview.leftOut.push_back(*capture.note);
    if (hint) preview.leftOut.push_back(*hint);
    if (preview.picture) {
        preview.leftOut.emplace_back("Nothing of other windows is in the picture.");
    } else {
        preview.leftOut.emplace_back("Nothing of the document but this text is sent.");
    }
    return preview;
}

} // namespace kelvane
