// Whatever the bytes are: decoding, repairing, cutting, counting, case, trimming, showing,
// addresses and base64 agree with one another.

#include "text/base64.h"
#include "text/shown_text.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

using namespace kelvane::text;

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

void cutting(std::string_view whole) {
    const std::size_t count = characterCount(whole);
    require(count <= whole.size() && (count == 0) == whole.empty());
    require(firstCharacters(whole, count) == whole);
    require(firstCharacters(whole, count + 1) == whole);
    require(firstCharacters(whole, 0).empty());

    // Taken one by one, the characters are the text again, and as many as were counted. (A cut is
    // a boundary from both sides, so what is left can be cut anew.)
    std::size_t taken = 0;
    std::size_t bytes = 0;
    while (bytes < whole.size()) {
        const auto next = firstCharacters(whole.substr(bytes), 1);
        require(!next.empty());
        // Malformed bytes stand alone.
        require(isValidUtf8(next) || next.size() == 1);
        bytes += next.size();
        ++taken;
        if (taken <= 64) require(firstCharacters(whole, taken).size() == bytes);
    }
    require(taken == count);
}

void casing(std::string_view whole) {
    const std::string lower = lowercased(whole);
    const std::string upper = uppercased(whole);
    require(isValidUtf8(lower) == isValidUtf8(whole));
    require(isValidUtf8(upper) == isValidUtf8(whole));
    require(lowercased(lower) == lower);
    require(uppercased(upper) == upper);
    const LowercaseBytes bytes(whole);
    require(std::ranges::equal(bytes, lower));

    const auto half = firstCharacters(whole, characterCount(whole) / 2);
    require(lowercased(half) + lowercased(whole.substr(half.size())) == lower);
    require(uppercased(half) + uppercased(whole.substr(half.size())) == upper);
}

void trimming(std::string_view whole) {
    for (const auto trim : {trimmedWhitespaceAndNewlines, trimmedBlanks}) {
        const auto inner = trim(whole);
        require(inner.data() >= whole.data() &&
                inner.data() + inner.size() <= whole.data() + whole.size());
        require(trim(inner) == inner);
        require(trim(" \t" + std::string(inner) + "\t ") == inner);
    }
}

void base64s(std::string_view whole) {
    require(fromBase64(base64(whole)) == whole);
    if (const auto bytes = fromBase64(whole)) {
        std::string letters(whole);
        std::erase_if(letters, [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); });
        require(base64(*bytes) == letters);
    }
}

void decoding(std::string_view whole) {
    bool sound = true;
    for (auto rest = whole; !rest.empty();) {
        const Decoded front = decodeFront(rest);
        require(front.length >= 1 && front.length <= rest.size());
        require(isValidUtf8(rest.substr(0, front.length)) == (front.codePoint != kNoCodePoint));
        sound = sound && front.codePoint != kNoCodePoint;
        rest.remove_prefix(front.length);
    }
    require(sound == isValidUtf8(whole));

    const std::string repaired = repairedUtf8(whole);
    require(isValidUtf8(repaired) && (repaired == whole) == sound);
    require(isValidUtf8(utf8FromOutside(whole)));
    require(toLatin1(fromLatin1(whole)) == whole);
}

void showing(std::string_view whole) {
    const std::string line = shownLine(whole);
    require(line.find('\n') == std::string::npos);
    // A line break of two bytes becomes two blanks: what was cut may have to be cut again.
    if (whole.size() > kLongestShownText / 2) return;
    require(shownLine(line) == line && line == shownLine(shownParagraph(whole)));
}

void addresses(std::string_view whole) {
    require(!isWebAddress(whole) || isValidUtf8(whole));
    const std::string scheme = lowerAscii(whole.substr(0, whole.find(':')));
    const bool web = scheme == "http" || scheme == "https";
    require(!(isAddress(whole) && web) || isWebAddress(whole));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    decoding(whole);
    cutting(whole);
    casing(whole);
    trimming(whole);
    showing(whole);
    addresses(whole);
    base64s(whole);
    return 0;
}
