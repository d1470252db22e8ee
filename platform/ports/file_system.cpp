#include "platform/ports/file_system.h"

namespace kelvane {

std::optional<std::string> FileSystem::readAny(const std::filesystem::path& path,
                                               std::size_t most) {
    auto bytes = read(path);
    if (bytes && bytes->size() > most) return std::nullopt;
    return bytes;
}

bool FileSystem::writePrivately(const std::filesystem::path&, std::string_view) {
    return false;
}

} // namespace kelvane
