// The program as an application: what it is made of, in the order in which it is made.
//
// The members below are the table of contents. Each is given what stands above it, and they go in
// the reverse order: no further start is listened to, background work ends while all that it uses
// is there, then the windows and the model go, for the end of a job may still be told to the model,
// and the ports last. Main thread only.

#pragma once

#include "app/accessibility_question.h"
#include "app/composition/launch.h"
#include "app/composition/qt_windows.h"
#include "app/grading_place.h"
#include "app/history/history_store.h"
#include "app/own_workspace.h"
#include "app/panel/panel_appearance.h"
#include "app/panel/panel_language.h"
#include "app/plain_http_question.h"
#include "app/settings/settings_store.h"
#include "app/shell/app_delegate.h"
#include "app/shell/background_end.h"
#include "app/shell/qt/idle_timer.h"
#include "app/shell/qt/qt_application.h"
#include "app/shell/qt/qt_history_window.h"
#include "app/shell/qt/qt_settings_window.h"
#include "app/shell/qt/qt_status_item.h"
#include "app/shell/qt/single_instance.h"
#include "app/shell/shortcut_keeper.h"
#include "app/verdict_notice.h"
#include "eval/chosen_environment.h"
#include "harness/installation.h"
#include "platform/desktop.h"

#include <memory>
#include <string>

namespace kelvane {

class ShellProgram {
public:
    /// Precondition: Qt's application object exists and this is its thread. `instance` is null in
    /// the shapes that may run beside the program.
    ShellProgram(const Launch& launch, std::unique_ptr<SingleInstance> instance);
    ShellProgram(const ShellProgram&) = delete;
    ShellProgram& operator=(const ShellProgram&) = delete;

    /// Runs the event loop. The status to end with.
    [[nodiscard]] int run();

private:
    [[nodiscard]] AppDelegate::Ports delegatePorts();
    [[nodiscard]] HistoryBridge::Ports historyPorts();
    void bringForward(const QWindow* window = nullptr);
    void openSettings(CompanionModel& model);
    void applySettings();
    /// Whether the texts are in another language than before.
    bool useLanguage();
    void startedAgain(const std::string& activationToken);
    [[nodiscard]] std::string answer(const std::string& line);

    DesktopPorts m_ports;
    ChosenEnvironment m_environment; ///< Of the session, with the person's choice in it.
    OwnWorkspace m_workspace;
    const Installation m_installation;
    GradingPlace m_place;
    PlainHttpQuestion m_plainHttp;
    AccessibilityQuestion m_accessibility;
    history::HistoryStore m_history;
    SettingsStore m_settings;
    PanelLanguage m_language;
    std::unique_ptr<Application> m_application;
    std::unique_ptr<ProgramLook> m_look; ///< Null for a picture, which has one of its own.
    // What starting, or showing the panel, has used is not kept for the hours until the next time.
    IdleTimer m_idle;
    ShortcutKeeper m_shortcut;
    Notifier m_notifier;
    history::TurnWatch m_turns;
    QtWindows m_windows;
    QtTrayImages m_trayImages;
    std::unique_ptr<PanelRenderer> m_renderer;
    std::unique_ptr<Ticker> m_ticker;
    QtHistoryWindow m_historyWindow;
    AppDelegate m_delegate;
    std::unique_ptr<QtSettingsWindow> m_settingsWindow; ///< Once it has been opened.
    BackgroundEnd m_backgroundEnd;
    QuitOnSignal m_quitOnSignal;
    std::unique_ptr<SingleInstance> m_instance;
};

} // namespace kelvane
