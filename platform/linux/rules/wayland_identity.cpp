#include "platform/linux/rules/wayland_identity.h"

namespace kelvane {

WindowFacts waylandFacts(std::string_view appId, std::string_view title,
                         std::string_view resourceName, std::int32_t process) {
    WindowFacts facts;
    facts.wmClass = appId;
    facts.instance = resourceName.empty() ? appId : resourceName;
    // What should be the id of a desktop file is one, or says so as a class does.
    facts.kdeDesktopFile = appId;
    facts.process = process;
    facts.title = title;
    return facts;
}

} // namespace kelvane
