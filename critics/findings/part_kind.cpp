#include "critics/findings/part_kind.h"

#include "text/unicode.h"

namespace trevix {

std::string bareType(std::string_view mimeType) {
    std::string type = kelvane::text::lowerAscii(mimeType.substr(0, mimeType.find(';')));
    while (!type.empty() && type.back() == ' ') type.pop_back();
    return type;
}

WorkKind kindOf(const Part& part, std::string_view modality) {
    const std::string type = bareType(part.mimeType);
    if (!part.isText || (part.text.empty() && !part.bytes.empty())) {
        return type == "image/png" ? WorkKind::picture : WorkKind::any;
    }
    // The type says what this part is; the modality speaks only for parts that are plain text.
    if (type == "text/tab-separated-values" || type == "text/csv") return WorkKind::sheet;
    if (type == "text/x-code") return WorkKind::code;
    if (type == "text/markdown") return WorkKind::document;
    if (modality == "spreadsheet") return WorkKind::sheet;
    if (modality == "code") return WorkKind::code;
    if (modality == "document") return WorkKind::document;
    return WorkKind::text;
}

} // namespace trevix
