// Icons by bundle identifier.

#pragma once

#include "platform/ports/app_icons.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FakeAppIcons : public AppIcons {
public:
    std::map<std::string, AppIcon, std::less<>> icons; ///< By bundle identifier.

    std::optional<AppIcon> icon(std::string_view bundleId) override;
};

} // namespace kelvane
