#include "service/kept_work.h"

#include "critics/findings/shown_secret.h"
#include "critics/text/secret_shapes.h"
#include "text/unicode.h"

namespace trevix {

namespace {

constexpr std::string_view kBlot = "•";
constexpr std::string_view kPngMark("\x89PNG\r\n\x1a\n", 8);

std::string blotted(std::string_view secret) {
    // As many marks as characters, and line ends as they were: the places of findings after it are
    // told by line and column, and stay right.
    std::string shown(shownOfSecret(secret));
    secret.remove_prefix(shown.size());
    while (!secret.empty()) {
        const std::size_t length = kelvane::text::decodeFront(secret).length;
        const bool lineEnd = secret.front() == '\n' || secret.front() == '\r';
        shown += lineEnd ? secret.substr(0, length) : kBlot;
        secret.remove_prefix(length);
    }
    return shown;
}

} // namespace

std::string withoutSecrets(std::string_view text) {
    std::string kept;
    kept.reserve(text.size());
    std::size_t at = 0;
    for (const Secret& secret : findSecrets(text)) {
        kept += text.substr(at, secret.valueOffset - at);
        kept += blotted(text.substr(secret.valueOffset, secret.valueLength));
        at = secret.valueOffset + secret.valueLength;
    }
    kept += text.substr(at);
    return kept;
}

KeptWork keptWork(const std::vector<Part>& parts) {
    KeptWork kept;
    std::size_t together = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const Part& part = parts[i];
        const bool picture = !part.isText && part.bytes.starts_with(kPngMark);
        // Of a part that is neither text nor such a picture there is an empty text, and nothing is
        // kept: a browser would not show it.
        const std::size_t size = picture ? part.bytes.size() : part.text.size();
        const std::size_t most = picture ? kLargestKeptPicture : kLargestKeptText;
        // Too large for what is left is passed over, and a smaller one after it still kept.
        if (size == 0 || size > most || together + size > kLargestKeptWork) continue;
        together += size;
        kept.push_back({i, !picture, picture ? part.bytes : withoutSecrets(part.text)});
    }
    return kept;
}

} // namespace trevix
