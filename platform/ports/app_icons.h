// The icons of installed applications.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace kelvane {

/// An icon of the desktop's theme, by its name there.
struct ThemeIcon {
    std::string name;
    bool operator==(const ThemeIcon&) const = default;
};

/// An image file of whatever format and size.
struct IconFile {
    std::filesystem::path path;
    bool operator==(const IconFile&) const = default;
};

/// A picture in PNG.
struct IconPng {
    std::string bytes;
    bool operator==(const IconPng&) const = default;
};

using AppIcon = std::variant<ThemeIcon, IconFile, IconPng>;

class AppIcons {
public:
    virtual ~AppIcons() = default;

    /// The icon of the installed application with this bundle identifier, as large as the system
    /// has it up to 256 pixels; absent when no such application is installed or it has none. A
    /// theme may turn out not to have what its name promises. Any thread.
    [[nodiscard]] virtual std::optional<AppIcon> icon(std::string_view bundleId) = 0;
};

} // namespace kelvane
