// What works here, and what to do about what does not: for the person, and for a bug report.
//
// Facts in, lines out. No fact holds a key or the user's work, and the home folder is written "~".
// Pure; any thread.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

enum class Health {
    Good,
    Advice, ///< It works; something would work better.
    Bad,    ///< Something does not work.
};

struct DoctorLine {
    std::string area; ///< "display", "service", ...
    Health health = Health::Good;
    std::string what; ///< One sentence.
    std::string todo; ///< What the person can do; empty when there is nothing to do.

    bool operator==(const DoctorLine&) const = default;
};

struct DoctorFacts {
    struct Tool {
        std::string name;
        bool isPresent = false; ///< Its configuration is there.
        bool isWired = false;
    };
    /// Who judges work, as the local service tells.
    struct Engine {
        std::string name;
        bool isPresent = false;
        std::string remedy; ///< How to get it.
    };
    enum class KeyFrom { Nowhere, Environment, KeyFile, Choice };
    /// Who says how to go out; nobody is asked about this machine.
    enum class ProxyFrom { Nobody, Environment, Desktop };

    std::string version;
    std::string system;  ///< Kernel and distribution, in one line.
    std::string desktop; ///< What the session calls itself.
    std::string display; ///< "x11 :0", "wayland wayland-0"; empty without one.
    std::string silent;  ///< A display that is there and does not answer; empty: it does.
    bool hasSessionBus = false;
    std::optional<bool> hasTray;          ///< A StatusNotifier host; nothing: could not be asked.
    std::optional<bool> hasAccessibility; ///< The accessibility bus; likewise.
    /// Who shows messages, as it calls itself; empty: nobody; nothing: could not be asked.
    std::optional<std::string> notifier;
    bool wantsNotices = true;   ///< The settings have verdicts told by messages.
    bool isRunning = false;     ///< An instance answers.
    bool isInstalled = false;   ///< The validator kit stands in the data folder.
    bool startsAtLogin = false; ///< By an entry of this user's own.
    /// A package's entry is there, which starts it for those who have started it themselves before.
    bool hasPackagesEntry = false;
    /// Of the copy in the home folder, which is the one that starts then; empty without one.
    std::string copyVersion;
    bool hasPython = false;

    std::string place; ///< As in the choice's file; empty: not asked.
    std::vector<std::string> choiceProblems;
    std::string base;       ///< Without a user's name.
    bool isBaseSet = false; ///< By BRASK_API_BASE.
    bool isAddress = true;  ///< Whether it is an address at all.
    std::optional<bool> answers;
    ProxyFrom proxyFrom = ProxyFrom::Nobody;
    std::string proxy; ///< As the desktop says, without a user's name; empty: directly.
    KeyFrom key = KeyFrom::Nowhere;
    bool isKeyFileOpen = false;  ///< Others may read or write ~/.brask/key.
    bool isKeyOfAnother = false; ///< BRASK_API_KEY is not the chosen service's key.

    std::vector<Tool> tools;
    std::string localService;                   ///< Where trevix-local is; empty: nowhere.
    std::optional<std::vector<Engine>> engines; ///< Nothing: it did not say in time.
};

/// All lines, in a fixed order: the program, the display, the tray, ... One for each coding tool
/// and each engine that could be had.
[[nodiscard]] std::vector<DoctorLine> doctorLines(const DoctorFacts& facts);

/// Lines for people, each with its end; what is to be done stands under what it is about.
[[nodiscard]] std::string doctorText(const std::vector<DoctorLine>& lines);

/// One line of JSON without its end: {"healthy": bool, "lines": [{"area", "health", "what",
/// "todo"}]}.
[[nodiscard]] std::string doctorJson(const std::vector<DoctorLine>& lines);

/// Whether none of the lines is bad.
[[nodiscard]] bool isHealthy(const std::vector<DoctorLine>& lines);

/// A text with the home folder written "~". Pure.
[[nodiscard]] std::string withoutHome(std::string text, const std::string& home);

/// The texts in what `dbus-send --print-reply` prints of an answer, made harmless for showing.
[[nodiscard]] std::vector<std::string> textsInReply(const std::string& reply);

/// The name and the version of a notification service in what `dbus-send --print-reply` prints of
/// its GetServerInformation, made harmless for showing; empty when it is something else.
[[nodiscard]] std::string notifierIn(const std::string& reply);

/// The engines in what `trevix-local --engines --json` prints; nothing when it is something else.
[[nodiscard]] std::optional<std::vector<DoctorFacts::Engine>> enginesOf(const std::string& json);

} // namespace kelvane
