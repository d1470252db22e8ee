#include "platform/fake/fake_bundle_resources.h"

namespace kelvane {

std::optional<std::filesystem::path> FakeBundleResources::url(std::string_view name,
                                                              std::string_view extension) {
    std::string file(name);
    if (!extension.empty()) file.append(".").append(extension);
    const auto found = resources.find(file);
    if (found == resources.end()) return std::nullopt;
    return found->second;
}

} // namespace kelvane
