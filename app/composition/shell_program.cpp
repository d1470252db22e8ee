#include "app/composition/shell_program.h"

#include "app/composition/shell_actions.h"
#include "app/process_settings.h"
#include "app/shell/qt/qt_panel_renderer.h"
#include "platform/posix/idle_memory.h"

#include <QApplication>
#include <QFile>
#include <QIcon>

#include <iostream>
#include <utility>

namespace kelvane {

ShellProgram::ShellProgram(const Launch& launch, std::unique_ptr<SingleInstance> instance)
    : m_ports(makeDesktopPorts()),
      m_workspace(*m_ports.workspace, kBundleID),
      m_installation(installationOf(m_ports)),
      m_plainHttp({.files = *m_ports.files,
                   .dialogs = *m_ports.dialogs,
                   .dispatcher = *m_ports.dispatcher,
                   .quit = *m_ports.quit},
                  m_installation.braskHome),
      m_accessibility(
          {.files = *m_ports.files, .dialogs = *m_ports.dialogs, .setting = *m_ports.accessibility},
          m_installation.braskHome),
      m_application(
          makeQtApplication([this] { m_ports.quit->raise(); }, [this] { bringForward(); })),
      m_palette(launch.shape == Shape::Picture ? nullptr : std::make_unique<ProgramPalette>()),
      m_idle(releaseIdleMemory),
      m_windows(
          m_ports, [this] { bringForward(); }, [this] { m_idle.restart(); }),
      m_renderer(makeQtPanelRenderer(m_windows.images())),
      m_ticker(makeQtTicker()),
      m_delegate(delegatePorts(),
                 shellActions({.ports = m_ports,
                               .workspace = m_workspace,
                               .installation = m_installation,
                               .application = *m_application,
                               .plainHttp = m_plainHttp,
                               .accessibility = m_accessibility}),
                 {.args = args(), .renderPath = launch.renderPath}),
      m_backgroundEnd(*m_ports.quit, m_ports.dispatcher),
      m_quitOnSignal([this] { m_application->terminate(); }),
      m_instance(std::move(instance)) {
    if (const auto icon = m_ports.resources->url("brask", "png")) {
        QApplication::setWindowIcon(QIcon(QFile::decodeName(icon->c_str())));
    }
}

int ShellProgram::run() {
    if (m_instance != nullptr) {
        m_instance->listen([this](const std::string& token) { startedAgain(token); });
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

void ShellProgram::bringForward() {
    activateApplication();
    m_workspace.activateItself();
}

void ShellProgram::startedAgain(const std::string& activationToken) {
    // Qt takes the token from here when it next asks for the focus, and under Wayland alone.
    // Elsewhere the environment stays as it is: other threads read it.
    if (!activationToken.empty() && QGuiApplication::platformName().startsWith(u"wayland")) {
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(activationToken));
    }
    if (!bringAlertForward()) m_delegate.openPopover();
}

} // namespace kelvane
