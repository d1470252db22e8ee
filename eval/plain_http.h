// Addresses of a service that are not encrypted, and what the user said about them.
//
// Key and work that go over plain http can be read by everybody on the way. On this machine itself
// there is no way; anywhere else the user is asked first, once for each address, and what he said
// is kept in a file of the product's own: ".brask/plain-http" under the home folder, lines of
// "allow ADDRESS" and "refuse ADDRESS" of which the last one about an address counts. Lines that
// begin with "#", and any other, mean nothing and stay.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FileSystem;

namespace plain_http {

/// What a base URL that is plain http to another machine is asked about as, "http://host:port".
/// Absent for every other address.
[[nodiscard]] std::optional<std::string> addressToAskAbout(std::string_view base);

/// Whether the user allowed the address; absent when he was not asked. Pure.
[[nodiscard]] std::optional<bool> answerIn(std::string_view content, std::string_view address);

[[nodiscard]] std::filesystem::path fileIn(const std::filesystem::path& braskHome);

[[nodiscard]] std::optional<bool>
remembered(FileSystem& files, const std::filesystem::path& braskHome, std::string_view address);

/// Adds the answer to the file, which is made when missing. False when it could not be written, and
/// when what stands there cannot be read: that stays as it is.
bool remember(FileSystem& files, const std::filesystem::path& braskHome, std::string_view address,
              bool isAllowed);

} // namespace plain_http

} // namespace kelvane
