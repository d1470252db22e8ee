// The bundle that this program runs from, and the files that were shipped in it.

#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace kelvane {

class BundleResources {
public:
    virtual ~BundleResources() = default;

    /// The path of the shipped file `name`.`extension`, or nothing when there is no such file: the
    /// program runs outside its bundle, or the bundle lacks it. Any thread.
    [[nodiscard]] virtual std::optional<std::filesystem::path> url(std::string_view name,
                                                                   std::string_view extension) = 0;

    /// The folder that `url` looks into; nothing outside a bundle and when the bundle has none.
    [[nodiscard]] virtual std::optional<std::filesystem::path> resourceFolder() = 0;

    /// The bundle itself, the folder that is copied to install the program elsewhere; nothing when
    /// the program runs outside one. Any thread.
    [[nodiscard]] virtual std::optional<std::filesystem::path> bundle() = 0;
};

} // namespace kelvane
