// The process environment as it is now.

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class Environment {
public:
    virtual ~Environment() = default;

    /// The variable's present value, possibly empty; absent when it is not set. Read afresh on
    /// every call. Any thread, as long as nobody changes the environment meanwhile.
    [[nodiscard]] virtual std::optional<std::string> get(std::string_view name) = 0;
};

} // namespace kelvane
