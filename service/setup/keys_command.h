// What `trevix-local keys ...` was asked to do.
//
// Pure; any thread.

#pragma once

#include "service/setup/command_line.h"
#include "service/store/team_key.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

struct KeysCommand {
    enum class Action { add, list, revoke, help };

    Action action = Action::list;
    std::string store;                               ///< Address of the database.
    std::string name;                                ///< Of the key to add or revoke.
    std::optional<std::string> group = std::nullopt; ///< The name where none is given.
    KeyScope scope = KeyScope::grade;
    std::int64_t expiresDays = 0; ///< 0: never.
    std::int64_t perMinute = 600; ///< 0: any number.
    std::int64_t perDay = 0;      ///< 0: any number.

    bool operator==(const KeysCommand&) const = default;
};

/// `arguments` behind "keys".
[[nodiscard]] std::variant<KeysCommand, UsageError>
parseKeysCommand(const std::vector<std::string>& arguments);

[[nodiscard]] std::string_view keysUsageText();

} // namespace trevix
