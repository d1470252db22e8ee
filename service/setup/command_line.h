// What the service was asked to do when it was started.
//
// Pure; any thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace trevix {

constexpr std::uint16_t kDefaultPort = 8797;

struct CommandLine {
    /// `worker` is how the service starts itself for one work; it stands in no usage text.
    enum class Action { serve, printKey, engines, help, version, worker };

    Action action = Action::serve;
    std::uint16_t port = kDefaultPort; ///< 0: any free one.
    std::optional<std::string> data;
    std::optional<std::string> key;
    std::optional<std::string> catalog;
    std::optional<std::string> socket;       ///< Path of the Unix socket; "none" for none.
    std::optional<std::string> judge;        ///< Address of a server of models; only with a model.
    std::optional<std::string> model;        ///< Its name; only with a judge.
    bool judgeElsewhere = false;             ///< Whether that server may be on another machine.
    std::optional<std::string> languageTool; ///< Address of such a server.
    std::optional<std::string> store;        ///< Address of the database that a team shares.
    /// What a program of a team does: take work in and tell of it, judge it, or both. Only with a
    /// store.
    enum class Role { both, api, worker };
    Role role = Role::both;
    std::optional<std::string> listen;    ///< An address of this machine; only with a store.
    std::optional<std::string> publicUrl; ///< Where others reach the service; only with a store.
    std::optional<std::uint16_t> metrics; ///< Port for who watches; 0: any free one. With a store.
    bool jsonLog = false;                 ///< Whether it logs for programs.
    bool plain = false; ///< Whether what goes beyond this machine may go unencrypted.
    std::size_t queue = 256;
    int keepDays = 365;   ///< 0: for good.
    int keepWorkDays = 7; ///< The work itself. 0: not at all.
    /// End after so many seconds without a request and without a job; 0: never.
    int idleExit = 0;
    bool withParent = false; ///< End when standard input does.
    bool json = false;       ///< Of the engines: for programs.
    bool ownReaders = false; ///< Of a worker: only readers that were written for this service.

    bool operator==(const CommandLine&) const = default;
};

/// Why the arguments cannot be used, in one sentence.
struct UsageError {
    std::string text;

    bool operator==(const UsageError&) const = default;
};

/// `arguments` without the program's name. An option's value follows it, or stands behind "=".
[[nodiscard]] std::variant<CommandLine, UsageError>
parseCommandLine(const std::vector<std::string>& arguments);

[[nodiscard]] std::string_view usageText();

/// Why this is no address of a shared store; absent when it is one.
[[nodiscard]] std::optional<std::string> storeProblem(std::string_view address);

/// The folder for key and runs: `data` when given, else "trevix-local" under `xdgDataHome` when
/// that is an absolute path, else under ".local/share" of `home`. Absent when `home` is needed and
/// is no absolute path either.
[[nodiscard]] std::optional<std::string> dataFolder(const std::optional<std::string>& data,
                                                    const std::optional<std::string>& xdgDataHome,
                                                    const std::optional<std::string>& home);

} // namespace trevix
