// The strict check of one catalog file, for those who write one.
//
// Loading passes over a file that does not decode, without a word, because a program has to start
// with some catalog. This says what is wrong with a file, and never looks at another one.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FileSystem;

struct CatalogCheck {
    std::size_t apps = 0; ///< 0 also when the file does not decode.
    /// What is wrong, one thing each, in words for the author; empty when nothing is.
    std::vector<std::string> complaints;
};

/// Decodes the file and holds it to every rule about its entries and about how it is written. One
/// that does not decode has that as its only complaint, in the decoder's words. Pure; any thread.
[[nodiscard]] CatalogCheck checkCatalog(std::string_view bytes);

/// The same for what stands at `path`, which may be a pipe. A file that cannot be read is a
/// complaint.
[[nodiscard]] CatalogCheck checkCatalogFile(FileSystem& files, const std::string& path);

} // namespace kelvane
