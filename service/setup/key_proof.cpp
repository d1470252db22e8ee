#include "service/setup/key_proof.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <nettle/hmac.h>

namespace trevix {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

} // namespace

bool isNonce(std::string_view nonce) {
    // 32 bytes: as many as the digest has.
    return nonce.size() == 64 && nonce.find_first_not_of(kDigits) == std::string_view::npos;
}

std::string keyProof(std::string_view key, std::string_view nonce, std::string_view address) {
    // Says what it is for, so that no proof of this kind is good for anything else that the key may
    // be used for; and the address, so that a proof asked for at one port is none for another.
    std::string message = "trevix-local proof\n";
    message.append(nonce).append("\n").append(address).append("\n");
    const auto bytes = [](std::string_view text) {
        return reinterpret_cast<const std::uint8_t*>(text.data());
    };
    // RFC 2104 with SHA-256.
    hmac_sha256_ctx context{};
    hmac_sha256_set_key(&context, key.size(), bytes(key));
    hmac_sha256_update(&context, message.size(), bytes(message));
    std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest{};
    hmac_sha256_digest(&context, digest.size(), digest.data());
    std::string proof;
    for (const std::uint8_t byte : digest) {
        proof += kDigits[byte >> 4U];
        proof += kDigits[byte & 15U];
    }
    return proof;
}

} // namespace trevix
