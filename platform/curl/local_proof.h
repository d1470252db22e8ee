// How a service on this machine shows that it holds a key before it is sent that key.
//
// The client asks "GET /api/v1/proof?nonce=NONCE" without the key; the service answers
// {"proof": "..."}, the HMAC-SHA256 under the key of a text that holds the nonce, so that no old
// answer will do, and the address of the connection's server end, so that a program that sits on
// the address cannot have the question answered by the real service. Pure but for the nonce; any
// thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

/// 32 random bytes in lower hexadecimal. Absent when the system has no randomness.
[[nodiscard]] std::optional<std::string> newNonce();

/// The path and query that ask for the proof.
[[nodiscard]] std::string proofTarget(std::string_view nonce);

/// "127.0.0.1:8797", "[::1]:8797": the server's end of a connection by its numeric parts.
[[nodiscard]] std::string serverAddress(std::string_view ip, int port);

/// The proof, 64 digits in lower hexadecimal.
[[nodiscard]] std::string proofOf(std::string_view key, std::string_view nonce,
                                  std::string_view address);

/// Whether an answer's body is an object with exactly this proof. Takes the same time wherever the
/// first difference is.
[[nodiscard]] bool givesProof(std::string_view body, std::string_view proof);

} // namespace kelvane
