// Where work is graded: on this machine or by a service account, as the person chose, and what that
// needs.
//
// "On this machine" needs nothing else of them. Where the user's systemd knows the units of the
// local service, its socket is enabled there, now and for every later login; on macOS a launch
// agent of ours runs it; elsewhere this program starts the service and it ends with this program.
// Several instances of this program share one service: who finds it served leaves it be, and takes
// over when it is gone. The choice is kept in the file of `eval/service_choice.h`, with the places
// that follow from it, for every program that hands no environment on.
//
// Main thread only. Blocks while the service manager is asked: up to ten seconds each time, some
// hundredths as a rule.

#pragma once

#include "eval/service_choice.h"
#include "platform/ports/login_item.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class ChosenEnvironment;
class Environment;
class FileSystem;
class KeptProgram;
class KeptPrograms;
class ProcessRunner;

class GradingPlace {
public:
    /// All of it must outlive this.
    struct Ports {
        FileSystem& files;
        ProcessRunner& processes;
        KeptPrograms& programs;
        ChosenEnvironment& environment;
    };
    struct Places {
        std::filesystem::path home;
        std::filesystem::path braskHome;
        std::filesystem::path bundle; ///< The one this program runs from; empty outside one.
        LoginItem loginItem = LoginItem::LaunchAgent; ///< What this system goes by.
        std::string bundleId;
    };

    GradingPlace(Ports ports, Places places);
    ~GradingPlace(); ///< Ends the service if this program runs it.
    GradingPlace(const GradingPlace&) = delete;
    GradingPlace& operator=(const GradingPlace&) = delete;

    /// At launch: takes up what was chosen. Reads files alone.
    void begin();

    /// Whether nobody has said yet where to grade: neither the environment nor a key in the key
    /// file nor an earlier answer.
    [[nodiscard]] bool isUnknown() const;

    /// Sees to it that the chosen service is there. Called now and then; the first time after
    /// begin() it also mends what the choice's file says.
    void look();

    // The three answers. `useThisMachine` says why it cannot be, in sentences for a dialog, and
    // then nothing has changed.
    [[nodiscard]] std::optional<std::string> useThisMachine();
    void useAccount();
    void decideLater();

    /// Takes back what a choice left with the system, for good: the choice is nobody's any more.
    /// The file goes with the data folder.
    void giveUp();

    [[nodiscard]] const ServiceChoice& choice() const { return m_choice; }
    /// Why the service of this machine is not as it should be; empty when it is, or is not chosen.
    [[nodiscard]] const std::string& problem() const { return m_problem; }

private:
    enum class Way { None, Manager, Agent, Own };
    struct Found;

    [[nodiscard]] std::optional<std::string> ran(const std::string& command) const;
    [[nodiscard]] Found find(const std::filesystem::path& program) const;
    [[nodiscard]] std::optional<std::string> establish();
    [[nodiscard]] bool enableSocket() const;
    void leaveThisMachine();
    void keep();
    void pause();
    void write(const ServiceChoice& choice);

    Ports m_ports;
    Places m_places;
    ServiceChoice m_choice;
    std::string m_problem;
    Way m_way = Way::None;
    bool m_established = false;
    std::filesystem::path m_socket;
    std::filesystem::path m_data;
    std::unique_ptr<KeptProgram> m_service;
    int m_looksToPass = 0;
    int m_pause = 1; ///< Looks to pass after the next end.
};

/// The local service's program: beside the bundle, as builds have it; in the folder of programs
/// that belongs to a package's bundle; where it was when it was chosen; on the search path. Empty
/// when it is nowhere.
[[nodiscard]] std::filesystem::path localServiceProgram(FileSystem& files, Environment& environment,
                                                        const std::filesystem::path& bundle,
                                                        const std::filesystem::path& chosen);

/// What the user's service manager says about a variable, of its `show-environment`. Empty when it
/// has none, or one that is written with escapes. Pure.
[[nodiscard]] std::string managerVariable(std::string_view environment, std::string_view name);

/// The launch agent that runs the local service on macOS. Pure.
[[nodiscard]] std::string serviceAgent(const std::string& label,
                                       const std::filesystem::path& program,
                                       const std::filesystem::path& socket);

} // namespace kelvane
