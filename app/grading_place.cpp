#include "app/grading_place.h"

#include "app/known_sentences.h"
#include "eval/chosen_environment.h"
#include "eval/eval_bridge.h"
#include "harness/installation.h"
#include "platform/ports/file_system.h"
#include "platform/ports/kept_programs.h"
#include "platform/ports/process_runner.h"
#include "text/translation.h"
#include "text/web_address.h"
#include "text/xdg_folders.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

namespace fs = std::filesystem;
using Where = ServiceChoice::Where;

constexpr std::string_view kProgram = "trevix-local";
constexpr std::string_view kSockets = "trevix-local.socket trevix-local-port.socket";
/// Looks to pass before a service that ended by itself is started again: one, then twice as many
/// each time up to about a minute of them. One that an earlier instance left to finish its work
/// still holds the folder and is gone soon; one that cannot run is not started on and on.
constexpr int kMostLooksBetweenStarts = 15;

/// The service manager answers in hundredths of a second, or hangs.
std::string manager(const std::string& words) {
    return "timeout 10 systemctl --user " + words + " 2>/dev/null";
}

} // namespace

/// How the service is to be had, and where it and its key are then.
struct GradingPlace::Found {
    Way way = Way::Own;
    fs::path runtime; ///< Empty where the session has no such folder.
    fs::path data;
};

GradingPlace::GradingPlace(Ports ports, Places places)
    : m_ports(ports),
      m_places(std::move(places)) {}

GradingPlace::~GradingPlace() = default;

void GradingPlace::begin() {
    auto read = readServiceChoice(m_ports.files, m_places.braskHome);
    m_choice = std::move(read.choice);
    if (!read.problems.empty()) m_problem = read.problems.front();
    if (m_choice.where != Where::ThisMachine) return;
    if (m_choice.base.empty()) return;
    auto key = readChosenKey(m_ports.files, m_choice.keyFile);
    m_ports.environment.choose(m_choice.base, std::move(key.key));
}

bool GradingPlace::isUnknown() const {
    return m_choice.where == Where::Unasked && !m_ports.environment.get("BRASK_API_BASE") &&
           !EvalBridge::apiKey(m_ports.environment, m_ports.files, m_places.home);
}

void GradingPlace::look() {
    if (m_choice.where != Where::ThisMachine) return;
    if (!m_established) {
        m_established = true; // Once a start, whatever comes of it.
        m_problem.clear();
        if (auto problem = establish()) m_problem = std::move(*problem);
        return;
    }
    keep();
}

std::optional<std::string> GradingPlace::useThisMachine() {
    const ServiceChoice before = std::exchange(
        m_choice,
        {.where = Where::ThisMachine, .base = {}, .keyFile = {}, .program = m_choice.program});
    const std::string problemBefore = std::exchange(m_problem, {});
    m_looksToPass = 0;
    m_pause = 1;
    if (auto problem = establish()) {
        m_choice = before;
        m_problem = problemBefore;
        return problem;
    }
    m_established = true;
    return std::nullopt;
}

void GradingPlace::useAccount() {
    leaveThisMachine();
    write({.where = Where::Account, .base = {}, .keyFile = {}, .program = {}});
}

void GradingPlace::giveUp() {
    leaveThisMachine();
    m_choice = {};
}

void GradingPlace::decideLater() {
    if (m_choice.where != Where::Unasked) return;
    write({.where = Where::Later, .base = {}, .keyFile = {}, .program = {}});
}

/// What a shell's command prints; nothing when it fails.
std::optional<std::string> GradingPlace::ran(const std::string& command) const {
    auto result = m_ports.processes.run({.program = "/bin/sh", .arguments = {"-c", command}});
    if (!result || result->status != 0) return std::nullopt;
    return std::move(result->output);
}

GradingPlace::Found GradingPlace::find(const fs::path& program) const {
    const auto variable = [&](std::string_view name) {
        return m_ports.environment.get(name).value_or("");
    };
    Found found;
    found.data = text::xdgDataHome(variable("XDG_DATA_HOME"), m_places.home) / kProgram;
    if (const fs::path runtime = variable("XDG_RUNTIME_DIR");
        runtime.is_absolute() && m_ports.files.exists(runtime)) {
        found.runtime = runtime;
    }
    if (m_places.loginItem == LoginItem::LaunchAgent) {
        found.way = Way::Agent;
        return found;
    }
    // Its service runs the program of the package: one that was built by hand keeps its own.
    const auto unit = ran(manager("cat trevix-local.service"));
    if (!unit || found.runtime.empty() ||
        unit->find("ExecStart=" + program.string() + " ") == std::string::npos) {
        return found;
    }
    found.way = Way::Manager;
    // The manager's environment is not always the session's.
    const std::string said = ran(manager("show-environment")).value_or("");
    if (const fs::path runtime = managerVariable(said, "XDG_RUNTIME_DIR"); runtime.is_absolute()) {
        found.runtime = runtime;
    }
    const fs::path home = managerVariable(said, "HOME");
    found.data = text::xdgDataHome(managerVariable(said, "XDG_DATA_HOME"),
                                   home.is_absolute() ? home : m_places.home) /
                 kProgram;
    return found;
}

/// Whether the manager listens for the service from now on.
bool GradingPlace::enableSocket() const {
    const std::string isEnabled = manager("is-enabled --quiet trevix-local.socket");
    if (ran(manager("is-active --quiet trevix-local.socket") + " && " + isEnabled)) return true;
    const bool wasEnabled = ran(isEnabled).has_value();
    if (ran(manager("enable --now trevix-local.socket"))) return true;
    // Without a manager it is enabled all the same, and only not started. Nobody would take that
    // back later: what runs is a service of our own.
    if (!wasEnabled) static_cast<void>(ran(manager("disable trevix-local.socket")));
    return false;
}

std::optional<std::string> GradingPlace::establish() {
    const fs::path service =
        localServiceProgram(m_ports.files, m_ports.environment, m_places.bundle, m_choice.program);
    if (service.empty()) {
        return text::translated("Alert",
                                "The local service, trevix-local, is not installed. Install the "
                                "whole package, or put trevix-local on your search path, and "
                                "choose again.");
    }
    Found found = find(service);
    const auto key = m_ports.processes.run(
        {.program = service.string(), .arguments = {"--print-key", "--data", found.data.string()}});
    const auto chosenKey = readChosenKey(m_ports.files, found.data / "key");
    if (!key || key->status != 0 || !chosenKey.key) {
        return text::filled(
            text::translated("Alert", "The local service has no key: %1. In a terminal this says "
                                      "more: %2"),
            {translatedSentence(chosenKey.problem), service.string() + " --print-key"});
    }
    if (found.way == Way::Manager && !enableSocket()) found.way = Way::Own;
    m_way = found.way;
    m_data = found.data;
    m_socket =
        found.runtime.empty() ? found.data / "api.sock" : found.runtime / kProgram / "api.sock";
    if (m_way == Way::Agent) {
        const std::string label = m_places.bundleId + ".service";
        const fs::path file = m_places.home / "Library/LaunchAgents" / (label + ".plist");
        const std::string text = serviceAgent(label, service, m_socket);
        if (m_ports.files.read(file) != text) {
            m_ports.files.createDirectories(file.parent_path());
            if (!m_ports.files.writeAtomically(file, text)) {
                return text::filled(text::translated("Alert", "%1 could not be written."),
                                    {file.string()});
            }
            static_cast<void>(ran("launchctl bootout \"gui/$(id -u)/" + label + "\" 2>/dev/null; " +
                                  "launchctl bootstrap \"gui/$(id -u)\" " +
                                  shellWord(file.string())));
        }
    }
    const ServiceChoice chosen{.where = Where::ThisMachine,
                               .base = text::socketAddress(m_socket.string()),
                               .keyFile = found.data / "key",
                               .program = service};
    m_choice.program = service;
    keep();
    write(chosen);
    m_ports.environment.choose(chosen.base, chosenKey.key);
    return std::nullopt;
}

/// Starts the service where nobody else does and it is not there.
void GradingPlace::keep() {
    if (m_way != Way::Own) return;
    if (m_service != nullptr) {
        if (m_service->isRunning()) {
            m_pause = 1;
            return;
        }
        m_service.reset();
        pause();
    }
    if (m_ports.programs.isServed(m_socket)) {
        m_looksToPass = 0;
        return;
    }
    if (m_looksToPass > 0) {
        --m_looksToPass;
        return;
    }
    // Any port: only reports need one, and the service says which.
    m_service =
        m_ports.programs.start(m_choice.program, {"--with-parent", "--port", "0", "--socket",
                                                  m_socket.string(), "--data", m_data.string()});
    if (m_service == nullptr) pause();
}

void GradingPlace::pause() {
    m_looksToPass = m_pause;
    m_pause = std::min(m_pause * 2, kMostLooksBetweenStarts);
}

void GradingPlace::leaveThisMachine() {
    if (m_choice.where == Where::ThisMachine) {
        const std::string label = m_places.bundleId + ".service";
        if (m_places.loginItem == LoginItem::LaunchAgent) {
            static_cast<void>(ran("launchctl bootout \"gui/$(id -u)/" + label + "\" 2>/dev/null"));
            m_ports.files.remove(m_places.home / "Library/LaunchAgents" / (label + ".plist"));
        } else if (m_way == Way::Manager || !m_established) {
            static_cast<void>(ran(manager("disable --now " + std::string(kSockets)) + "; " +
                                  manager("stop trevix-local.service")));
        }
    }
    m_service.reset();
    m_way = Way::None;
    m_established = false;
    m_problem.clear();
    m_ports.environment.forget();
}

void GradingPlace::write(const ServiceChoice& choice) {
    m_choice = choice;
    const fs::path file = serviceChoiceFile(m_places.braskHome);
    const std::string text = serviceChoiceText(choice);
    if (m_ports.files.read(file) == text) return;
    m_ports.files.createDirectories(m_places.braskHome);
    if (!m_ports.files.writeAtomically(file, text)) {
        m_problem =
            file.string() + " could not be written: the choice holds until this program ends";
    }
}

fs::path localServiceProgram(FileSystem& files, Environment& environment, const fs::path& bundle,
                             const fs::path& chosen) {
    std::vector<fs::path> candidates;
    if (!bundle.empty()) {
        const fs::path beside = bundle.parent_path();
        candidates.push_back(beside / kProgram);
        candidates.push_back((beside / "../../bin" / kProgram).lexically_normal());
    }
    if (!chosen.empty()) candidates.push_back(chosen);
    const std::string path = environment.get("PATH").value_or("/usr/local/bin:/usr/bin");
    for (std::size_t at = 0; at <= path.size();) {
        const auto end = std::min(path.find(':', at), path.size());
        const fs::path folder = path.substr(at, end - at);
        if (folder.is_absolute()) candidates.push_back(folder / kProgram);
        at = end + 1;
    }
    for (const auto& candidate : candidates) {
        if (files.exists(candidate)) return candidate;
    }
    return {};
}

std::string managerVariable(std::string_view environment, std::string_view name) {
    while (!environment.empty()) {
        const auto end = environment.find('\n');
        const std::string_view line = environment.substr(0, end);
        environment =
            end == std::string_view::npos ? std::string_view() : environment.substr(end + 1);
        if (!line.starts_with(name) || line.size() <= name.size() || line[name.size()] != '=')
            continue;
        const std::string_view value = line.substr(name.size() + 1);
        return value.starts_with("$'") ? std::string() : std::string(value);
    }
    return {};
}

std::string serviceAgent(const std::string& label, const fs::path& program,
                         const fs::path& socket) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
  <key>Label</key><string>)" +
           label + R"(</string>
  <key>ProgramArguments</key><array><string>)" +
           program.string() + R"(</string><string>--socket</string><string>)" + socket.string() +
           R"(</string></array>
  <key>RunAtLoad</key><true/>
  <key>KeepAlive</key><true/>
  <key>LimitLoadToSessionType</key><string>Aqua</string>
</dict></plist>)";
}

} // namespace kelvane
