#include "platform/curl/local_proof.h"

#include "text/json_shape.h"

#include <nlohmann/json.hpp>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>
#include <span>

namespace kelvane {

namespace {

constexpr std::size_t kNonceBytes = 32;

std::string hexadecimal(std::span<const unsigned char> bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
    }
    return text;
}

} // namespace

std::optional<std::string> newNonce() {
    std::array<unsigned char, kNonceBytes> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) return std::nullopt;
    return hexadecimal(bytes);
}

std::string proofTarget(std::string_view nonce) {
    return std::string("/api/v1/proof?nonce=").append(nonce);
}

std::string serverAddress(std::string_view ip, int port) {
    // An address of IPv6 stands in brackets, as in an address of the web.
    const bool isBracketed = ip.find(':') != std::string_view::npos;
    return (isBracketed ? "[" + std::string(ip) + "]" : std::string(ip)) + ":" +
           std::to_string(port);
}

std::string proofOf(std::string_view key, std::string_view nonce, std::string_view address) {
    // The same text as the service makes; see service/setup/key_proof.cpp.
    const std::string message =
        std::string("trevix-local proof\n").append(nonce).append("\n").append(address).append("\n");
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned size = 0;
    HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
         reinterpret_cast<const unsigned char*>(message.data()), message.size(), bytes.data(),
         &size);
    return hexadecimal(std::span(bytes).first(size));
}

bool givesProof(std::string_view body, std::string_view proof) {
    const auto shape = text::jsonShape(body);
    if (shape.hasNul || shape.depth > text::kDeepestJson || proof.empty()) return false;
    const auto answer = nlohmann::json::parse(body, nullptr, /*allow_exceptions=*/false);
    if (!answer.is_object()) return false;
    const auto given = answer.find("proof");
    if (given == answer.end() || !given->is_string()) return false;
    const auto& text = given->get_ref<const std::string&>();
    // In a time that does not tell how much of it is right.
    return text.size() == proof.size() &&
           CRYPTO_memcmp(text.data(), proof.data(), text.size()) == 0;
}

} // namespace kelvane
