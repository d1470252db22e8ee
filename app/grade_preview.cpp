#include "app/grade_preview.h"

#include "app/settings/privacy_rules.h"
#include "text/base64.h"
#include "text/shown_text.h"
#include "text/translation.h"
#include "text/unicode.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

using text::filled;
using text::translated;

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
                preview.size = filled(translated("Preview", "%1 kB"),
                                      {std::to_string((bytes->size() + 1023) / 1024)});
                preview.picture = std::make_shared<const std::string>(std::move(*bytes));
            }
        }
        names +=
            (names.empty() ? "" : ", ") + filled(translated("Preview", "“%1”"), {part.logicalName});
    }
    if (!preview.picture) {
        const std::size_t characters = text::characterCount(text);
        preview.size = translated("Preview", "%n character", "%n characters", characters);
        preview.lines = std::make_shared<const std::vector<std::string>>(linesOf(text));
        if (characters >= Capture::kMaxCharacters) {
            preview.leftOut.push_back(filled(
                translated("Preview", "What comes after the first %1 characters is left out: more "
                                      "is not judged at once."),
                {std::to_string(Capture::kMaxCharacters)}));
        }
    }
    preview.beside =
        filled(translated("Preview", "Sent with it: the application's name, what kind of "
                                     "work it is (%1) and %2 as its name."),
               {capture.modality, names});
    if (capture.note) preview.leftOut.push_back(*capture.note);
    if (hint) preview.leftOut.push_back(*hint);
    if (preview.picture) {
        preview.leftOut.emplace_back(
            translated("Preview", "Nothing of other windows is in the picture."));
    } else {
        preview.leftOut.emplace_back(
            translated("Preview", "Nothing of the document but this text is sent."));
    }
    return preview;
}

} // namespace kelvane
