#include "service/setup/team_key_text.h"

#include "service/store/random_id.h"
#include "text/unicode.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <nettle/sha2.h>

namespace trevix {

namespace {

// Not the beginning of this machine's own keys: those are proved before they are sent, and a
// service behind a proxy is known by its certificate.
constexpr std::string_view kBeginning = "trevix_team_";
constexpr std::size_t kRandomBytes = 20;
constexpr std::size_t kLongestName = 64;

constexpr std::string_view kDigits = "0123456789abcdef";

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

} // namespace

std::string newTeamKey() {
    return randomName(kBeginning, kRandomBytes);
}

std::string keyDigest(std::string_view key) {
    sha256_ctx context{};
    sha256_init(&context);
    sha256_update(&context, key.size(), reinterpret_cast<const std::uint8_t*>(key.data()));
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    sha256_digest(&context, digest.size(), digest.data());
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

std::optional<std::string_view> bearerIn(std::string_view authorizationHeader) {
    constexpr std::string_view kScheme = "bearer ";
    // The scheme's name is compared without case, RFC 9110, 11.1.
    if (authorizationHeader.size() <= kScheme.size() ||
        kelvane::text::lowerAscii(authorizationHeader.substr(0, kScheme.size())) != kScheme) {
        return std::nullopt;
    }
    return authorizationHeader.substr(kScheme.size());
}

bool isKeyName(std::string_view name) {
    return !name.empty() && name.size() <= kLongestName && isLetterOrDigit(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char c) {
               return isLetterOrDigit(c) || c == '.' || c == '_' || c == '-' || c == '@';
           });
}

} // namespace trevix
