#include "platform/fake/fake_environment.h"

namespace kelvane {

std::optional<std::string> FakeEnvironment::get(std::string_view name) {
    const auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
}

} // namespace kelvane
