// Where are the files that were shipped with the program?

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
};

} // namespace kelvane
