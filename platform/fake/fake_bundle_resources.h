// A bundle made of paths that a test names.

#pragma once

#include "platform/ports/bundle_resources.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FakeBundleResources : public BundleResources {
public:
    std::map<std::string, std::filesystem::path> resources; ///< By "name.extension".
    std::optional<std::filesystem::path> resourcesIn;       ///< The resource folder.
    std::optional<std::filesystem::path> runsFrom;          ///< The bundle.

    std::optional<std::filesystem::path> url(std::string_view name,
                                             std::string_view extension) override;
    std::optional<std::filesystem::path> resourceFolder() override { return resourcesIn; }
    std::optional<std::filesystem::path> bundle() override { return runsFrom; }
};

} // namespace kelvane
