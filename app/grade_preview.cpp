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

} // namespace

GradePreview gradePreview(const CaptureResult& capture, const DetectedApp& from,
                          const std::string& serviceBase, const std::optional<std::string>& hint) {
    GradePreview preview;
    preview.app = from.app ? from.app->name : from.rawName;
    preview.appId = from.rawBundleId;
    preview.to = placeName(serviceBase);
    preview.leaves = !isThisMachine(serviceBase);
    preview.kind = capture.modality;
    std::string text;
    for (const ArtifactPart& part : capture.parts) {
        if (part.text) text += (text.empty() ? "" : "\n") + *part.text;
        if (part.dataB64) {
            if (auto bytes = text::fromBase64(*part.dataB64)) {
                preview.amount = bytes->size();
                preview.picture = std::make_shared<const std::string>(std::move(*bytes));
            }
        }
        preview.names.push_back(part.logicalName);
    }
    if (!preview.picture) {
        preview.amount = text::characterCount(text);
        preview.isCut = preview.amount >= Capture::kMaxCharacters;
        preview.lines = std::make_shared<const std::vector<std::string>>(linesOf(text));
    }
    if (capture.note) preview.notes.push_back(*capture.note);
    if (hint) preview.notes.push_back(*hint);
    return preview;
}

} // namespace kelvane
