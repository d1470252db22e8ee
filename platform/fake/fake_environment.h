// Environment variables that a test names.

#pragma once

#include "platform/ports/environment.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FakeEnvironment : public Environment {
public:
    std::map<std::string, std::string, std::less<>> variables;

    std::optional<std::string> get(std::string_view name) override;
};

} // namespace kelvane
