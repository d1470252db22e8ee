#include "text/xdg_folders.h"

namespace kelvane::text {

namespace {

std::filesystem::path folder(const std::filesystem::path& value, std::filesystem::path otherwise) {
    if (value.is_absolute()) return value;
    return otherwise;
}

} // namespace

std::filesystem::path xdgConfigHome(const std::string& value, const std::filesystem::path& home) {
    return folder(value, home / ".config");
}

std::filesystem::path xdgDataHome(const std::string& value, const std::filesystem::path& home) {
    return folder(value, home / ".local/share");
}

} // namespace kelvane::text
