#include "app/composition/shell_program.h"

#include "app/composition/instance_answers.h"
#include "app/composition/shell_actions.h"
#include "app/instance_place.h"
#include "app/process_settings.h"
#include "app/settings/language.h"
#include "app/settings/privacy_rules.h"
#include "app/shell/qt/activation_token.h"
#include "app/shell/qt/qt_panel_renderer.h"
#include "eval/eval_bridge.h"
#include "platform/posix/idle_memory.h"

#include <QApplication>
#include <QFile>
#include <QIcon>
#include <QWindow>

#include <iostream>
#include <utility>

namespace kelvane {

ShellProgram::ShellProgram(const Launch& launch, std::unique_ptr<SingleInstance> instance)
    : m_ports(makeDesktopPorts()),
      m_environment(*m_ports.environment),
      m_workspace(*m_ports.workspace, kBundleID),
      m_installation(installationOf(m_ports)),
      m_place({.files = *m_ports.files,
               .processes = *m_ports.processes,
               .programs = *m_ports.programs,
               .environment = m_environment},
              {.home = m_installation.home,
               .braskHome = m_installation.braskHome,
               .bundle = m_ports.resources->bundle().value_or(std::filesystem::path()),
               .loginItem = m_installation.loginItem,
               .bundleId = m_installation.bundleId}),
      m_plainHttp({.files = *m_ports.files,
                   .dialogs = *m_ports.dialogs,
                   .dispatcher = *m_ports.dispatcher,
                   .quit = *m_ports.quit},
                  m_installation.braskHome),
      m_accessibility(
          {.files = *m_ports.files, .dialogs = *m_ports.dialogs, .setting = *m_ports.accessibility},
          m_installation.braskHome),
      m_history(*m_ports.files, m_installation.braskHome, wallClockMs),
      m_settings(*m_ports.files, m_installation.braskHome),
      m_application(
          makeQtApplication([this] { m_ports.quit->raise(); }, [this] { bringForward(); })),
      m_look(launch.shape == Shape::Picture ? nullptr : std::make_unique<ProgramLook>()),
      m_idle([this] {
          m_delegate.becameIdle();
          releaseIdleMemory();
      }),
      m_shortcut({.shortcut = *m_ports.shortcut,
                  .settings = m_settings,
                  .dispatcher = *m_ports.dispatcher},
                 [this] { static_cast<void>(m_delegate.gradeNow(GradeWish::AsCatalog)); }),
      m_notifier({.notifications = *m_ports.notifications,
                  .settings = m_settings,
                  .clock = *m_ports.clock}),
      m_turns(*m_ports.files, m_installation.braskHome),
      m_windows(
          m_ports, [this](const QWindow& window) { bringForward(&window); },
          [this] {
              m_idle.restart();
              m_delegate.panelWentAway();
          }),
      m_renderer(makeQtPanelRenderer(m_windows.images())),
      m_ticker(makeQtTicker()),
      m_historyWindow(
          historyPorts(), [this](const QWindow& window) { bringForward(&window); },
          [this] { m_idle.restart(); }),
      m_delegate(
          delegatePorts(),
          shellActions({.ports = m_ports,
                        .workspace = m_workspace,
                        .installation = m_installation,
                        .application = *m_application,
                        .plainHttp = m_plainHttp,
                        .environment = m_environment,
                        .place = m_place,
                        .accessibility = m_accessibility,
                        .history = m_history,
                        .showHistory = [this] { m_historyWindow.show(); },
                        .settings = m_settings,
                        .openSettings = [this](CompanionModel& model) { openSettings(model); },
                        .applySettings = [this] { applySettings(); },
                        .notifier = m_notifier,
                        .turns = m_turns}),
          {.args = args(), .renderPath = launch.renderPath, .refreshesCatalog = !kNoRefresh()}),
      m_backgroundEnd(*m_ports.quit, m_ports.dispatcher),
      m_quitOnSignal([this] { m_application->terminate(); }),
      m_instance(std::move(instance)) {
    // Before anything is shown.
    m_settings.look();
    useLanguage();
    if (launch.shape == Shape::MenuBar) m_place.begin();
    if (const auto icon = m_ports.resources->url("brask", "png")) {
        QApplication::setWindowIcon(QIcon(QFile::decodeName(icon->c_str())));
    }
}

int ShellProgram::run() {
    if (m_instance != nullptr) {
        m_instance->listen([this](const std::string& token) { startedAgain(token); },
                           [this](const std::string& line) { return answer(line); });
    }
    m_application->later([this] {
        m_delegate.applicationDidFinishLaunching();
        m_idle.restart();
    });
    return QApplication::exec();
}

AppDelegate::Ports ShellProgram::delegatePorts() {
    return {.application = *m_application,
            .windows = m_windows,
            .trayImages = m_trayImages,
            .renderer = *m_renderer,
            .ticker = *m_ticker,
            .resources = *m_ports.resources,
            .urls = *m_ports.urls,
            .out = std::cout,
            .err = std::cerr};
}

HistoryBridge::Ports ShellProgram::historyPorts() {
    return {.load =
                [this](std::function<void(HistoryBridge::Entries)> then) {
                    m_ports.dispatcher->background([this, then = std::move(then)] {
                        m_ports.dispatcher->main(
                            [then, entries = m_history.list()] { then(entries); });
                    });
                },
            .erase = [this](const std::string& id) { m_history.erase(id); },
            .eraseAll = [this] { m_history.eraseAll(); },
            .openReport =
                [this](const history::VerdictEntry& entry) {
                    // One of the service that is asked now opens as the panel's does; of another
                    // its address is known.
                    const auto now = EvalBridge::base(m_environment);
                    if (entry.report.empty() || entry.report.starts_with(now + "/")) {
                        m_delegate.model()->onOpenReport(entry.runId);
                    } else {
                        m_ports.urls->open(entry.report);
                    }
                },
            .local = localTimeMs};
}

void ShellProgram::bringForward(const QWindow* window) {
    activateApplication();
    // By that window and no other: of several the system would choose an ordinary one, which takes
    // the keyboard from a panel that has just been given it.
    m_workspace.activateItself(window != nullptr
                                   ? std::optional(static_cast<std::int64_t>(window->winId()))
                                   : std::nullopt);
}

bool ShellProgram::useLanguage() {
    return m_language.use(languageOf(m_settings.now().language, PanelLanguage::ofTheDesktop()));
}

void ShellProgram::applySettings() {
    m_shortcut.look();
    if (useLanguage()) m_delegate.languageChanged();
}

void ShellProgram::openSettings(CompanionModel& model) {
    if (m_settingsWindow == nullptr) {
        m_settingsWindow = std::make_unique<QtSettingsWindow>(
            SettingsBridge::Ports{
                .model = model,
                .store = m_settings,
                .place = [this] { return placeName(EvalBridge::base(m_environment)); },
                .askPlace = [this] { m_delegate.askWhereToGrade(); },
                .apply = [this] { applySettings(); },
                .shortcutProblem = [this] { return m_shortcut.problem(); }},
            m_windows.images(), [this](const QWindow& window) { bringForward(&window); });
    }
    m_settingsWindow->open();
}

void ShellProgram::startedAgain(const std::string& activationToken) {
    if (!bringAlertForward()) m_delegate.openPopover();
    bringForwardBy(activationToken);
}

/// What is said to this instance by others of its user. Returns soon: dialogs come afterwards.
std::string ShellProgram::answer(const std::string& line) {
    if (line == kAskStatus) {
        return m_delegate.model() == nullptr
                   ? std::string("{}")
                   : statusLine(*m_delegate.model(), m_place, m_environment, *m_ports.files);
    }
    if (line == kAskHistory) {
        m_application->later([this] {
            if (m_delegate.model() != nullptr) m_delegate.model()->onHistory();
        });
        return "done";
    }
    if (line == kAskService) {
        m_application->later([this] {
            if (!bringAlertForward()) m_delegate.askWhereToGrade();
        });
        return "done";
    }
    if (line == kAskSettings) {
        m_application->later([this] {
            if (!bringAlertForward()) m_delegate.openSettings();
        });
        return "done";
    }
    if (const auto wish = gradeWishOf(line)) {
        return std::string(gradeReply(m_delegate.gradeNow(*wish)));
    }
    return "unknown";
}

} // namespace kelvane
