#include "text/byte_cut.h"

#include "text/unicode.h"

namespace kelvane::text {

namespace {

constexpr std::size_t kLongestCodePoint = 4; // Bytes of UTF-8.

} // namespace

std::size_t codePointStart(std::string_view text, std::size_t offset) {
    if (offset >= text.size()) return text.size();
    // Asks what begins before, and does not walk back over bytes of the form 10xxxxxx: in what is
    // no UTF-8 these may go on for megabytes.
    for (std::size_t back = 1; back < kLongestCodePoint && back <= offset; ++back) {
        if (decodeFront(text.substr(offset - back)).length > back) return offset - back;
    }
    return offset;
}

std::string_view firstBytes(std::string_view text, std::size_t most) {
    return text.substr(0, codePointStart(text, most));
}

} // namespace kelvane::text
