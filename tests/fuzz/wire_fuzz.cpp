// Whatever the bytes are that a request to the local service holds: they are read, or refused with
// a sentence; what was read is within the stated bounds. So with the files in which a person's last
// word stands.

#include "service/http/request_target.h"
#include "service/store/user_files.h"
#include "service/wire.h"
#include "text/unicode.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

using namespace trevix;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

void requireSound(const Submission& submission, std::string_view body) {
    using kelvane::text::characterCount;
    require(characterCount(submission.intent) <= 4000);
    std::size_t bytes = 0;
    for (const auto& summary : summarize(submission.parts)) {
        require(!kelvane::text::isValidUtf8(body) || kelvane::text::isValidUtf8(summary.name));
        bytes += static_cast<std::size_t>(summary.bytes);
    }
    require(bytes <= body.size()); // decoded, nothing grows
}

template <typename Request>
void requests(const std::variant<Request, WireError>& read, std::string_view body) {
    if (const auto* error = std::get_if<WireError>(&read)) {
        require(!error->text.empty() && !errorJson(error->text).empty());
    } else {
        requireSound(std::get<Request>(read).submission, body);
    }
}

void words(std::string_view bytes) {
    const auto dismissal = parseDismissal(bytes);
    if (const auto* read = std::get_if<Dismissal>(&dismissal)) {
        require(!dismissalsJson({*read}).empty());
    }
    const auto word = parseWord(bytes);
    if (const auto* read = std::get_if<std::string>(&word)) {
        if (isWord(*read)) require(read->find_first_of("#\n\t ") == std::string::npos);
    }
    if (const auto line = dismissalInLine(bytes)) {
        const std::string written = lineOfDismissal(*line);
        require(written.find('\n') == std::string::npos || bytes.find('\n') != bytes.npos);
        const auto again = dismissalInLine(written);
        // What is nothing but control characters is left out, and a rule must be something.
        require(!again || lineOfDismissal(*again) == written);
    }
}

void targets(std::string_view bytes) {
    const auto target = requestTarget(bytes);
    if (!target) return;
    require(target->path.starts_with('/') && target->path.size() <= bytes.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    requests(parseSubmit(bytes), bytes);
    requests(parseIterate(bytes), bytes);
    words(bytes);
    targets(bytes);
    return 0;
}
