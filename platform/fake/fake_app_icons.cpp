#include "platform/fake/fake_app_icons.h"

namespace kelvane {

std::optional<AppIcon> FakeAppIcons::icon(std::string_view bundleId) {
    const auto found = icons.find(bundleId);
    if (found == icons.end()) return std::nullopt;
    return found->second;
}

} // namespace kelvane
