// The proof that this service knows the key, for a client that has not sent it yet.
//
// Any program of the machine can take a port, so a client that is about to send its key to one asks
// first: it draws a nonce, and who answers proves to know the key without telling it. The proof is
// bound to the address that the client reached, so that a program on another port cannot hand the
// question on and the answer back. Pure; any thread.

#pragma once

#include <string>
#include <string_view>

namespace trevix {

/// Whether a client may send this as its nonce: 64 lower-case hexadecimal digits.
[[nodiscard]] bool isNonce(std::string_view nonce);

/// HMAC-SHA256, with the whole key as its key, of "trevix-local proof", the nonce and `address`,
/// each with a line feed, in 64 lower-case hexadecimal digits. `address` is the number and port of
/// the server's end of the connection: "127.0.0.1:8797".
[[nodiscard]] std::string keyProof(std::string_view key, std::string_view nonce,
                                   std::string_view address);

} // namespace trevix
