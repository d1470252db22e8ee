#include "service/setup/keys_command.h"

#include "service/setup/team_key_text.h"

#include <charconv>
#include <cstddef>
#include <utility>

namespace trevix {

namespace {

std::optional<std::int64_t> numberTo(std::string_view text, std::int64_t most) {
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    if (parsed.ec != std::errc() || parsed.ptr != end || value < 0 || value > most) {
        return std::nullopt;
    }
    return value;
}

constexpr std::string_view kNameRule =
    " needs 1 to 64 letters, digits, or \".\", \"_\", \"-\", \"@\"";

// An absent text means that the value was taken.
std::optional<std::string> take(KeysCommand& command, const std::string& option,
                                const std::string& value) {
    if (option == "--store") {
        if (auto problem = storeProblem(value)) return problem;
        command.store = value;
    } else if (option == "--group") {
        if (!isKeyName(value)) return "--group" + std::string(kNameRule);
        command.group = value;
    } else if (option == "--scope") {
        if (value != "grade" && value != "read") return "--scope is grade or read";
        command.scope = value == "read" ? KeyScope::read : KeyScope::grade;
    } else if (option == "--expires") {
        // A hundred years. Who means never leaves it out.
        const auto days = numberTo(value, 36'500);
        if (!days || *days == 0) return "--expires needs a number of days from 1 to 36500";
        command.expiresDays = *days;
    } else if (option == "--per-minute") {
        const auto number = numberTo(value, 1'000'000);
        if (!number) return "--per-minute needs a number from 0 to 1000000";
        command.perMinute = *number;
    } else if (option == "--per-day") {
        const auto number = numberTo(value, 1'000'000);
        if (!number) return "--per-day needs a number from 0 to 1000000";
        command.perDay = *number;
    } else {
        return "unknown option " + option;
    }
    return std::nullopt;
}

} // namespace

std::variant<KeysCommand, UsageError> parseKeysCommand(const std::vector<std::string>& arguments) {
    KeysCommand command;
    std::vector<std::string> words;
    bool hasOptionsOfAdd = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string option = arguments[i];
        if (option == "--help" || option == "-h") {
            command.action = KeysCommand::Action::help;
            return command;
        }
        if (!option.starts_with("--")) {
            words.push_back(std::move(option));
            continue;
        }
        std::optional<std::string> value;
        if (const auto equals = option.find('='); equals != std::string::npos) {
            value = option.substr(equals + 1);
            option.resize(equals);
        }
        if (!value) {
            if (++i == arguments.size()) return UsageError{option + " needs a value"};
            value = arguments[i];
        }
        if (auto error = take(command, option, *value)) return UsageError{std::move(*error)};
        hasOptionsOfAdd = hasOptionsOfAdd || option != "--store";
    }
    const std::string action = words.empty() ? "" : words.front();
    if (action == "add") {
        command.action = KeysCommand::Action::add;
    } else if (action == "revoke") {
        command.action = KeysCommand::Action::revoke;
    } else if (action == "list") {
        command.action = KeysCommand::Action::list;
    } else {
        return UsageError{"keys needs one of add, list and revoke"};
    }
    const bool hasName = command.action != KeysCommand::Action::list;
    if (words.size() != (hasName ? 2U : 1U)) {
        return UsageError{"keys " + action + (hasName ? " needs one name" : " takes no name")};
    }
    if (hasName) {
        if (!isKeyName(words[1])) return UsageError{"the name" + std::string(kNameRule)};
        command.name = words[1];
    }
    if (hasOptionsOfAdd && command.action != KeysCommand::Action::add) {
        return UsageError{"keys " + action + " takes no option but --store"};
    }
    if (command.store.empty()) return UsageError{"keys needs --store"};
    return command;
}

std::string_view keysUsageText() {
    return R"(Usage: trevix-local keys add NAME --store postgresql://... [OPTION]...
       trevix-local keys list --store postgresql://...
       trevix-local keys revoke NAME --store postgresql://...

The keys of the people and machines of a team. A new key is printed once and kept nowhere; the
database has a digest of it.

  --group GROUP   who have the same see each other's runs (default: nobody else does)
  --scope SCOPE   grade hands work in and reads, read only reads (default grade)
  --expires DAYS  good for so many days (default: until it is revoked)
  --per-minute N  requests to each program of the service; 0 for any number (default 600)
  --per-day N     works handed in within 24 hours; 0 for any number (default 0)
)";
}

} // namespace trevix
