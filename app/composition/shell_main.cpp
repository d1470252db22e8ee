// The module's entry point: makes the platform and the toolkit's application, and hands both to the
// delegate.

#include "app/cli/shell_module.h"
#include "app/composition/model_ports.h"
#include "app/own_workspace.h"
#include "app/panel/panel_item.h"
#include "app/process_settings.h"
#include "app/shell/app_delegate.h"
#include "app/shell/qt/panel_trace.h"
#include "app/shell/qt/qt_application.h"
#include "app/shell/qt/qt_demo_window.h"
#include "app/shell/qt/qt_panel_renderer.h"
#include "app/shell/qt/qt_popover.h"
#include "app/shell/qt/qt_status_item.h"
#include "app/shell/qt/quiet_time.h"
#include "app/shell/qt/single_instance.h"
#include "catalog/catalog_loader.h"
#include "harness/installation.h"
#include "harness/tool_wiring.h"
#include "harness/uninstall.h"
#include "platform/desktop.h"
#include "platform/posix/idle_memory.h"

#include <QApplication>
#include <QString>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <unistd.h>
#include <utility>

namespace {

using namespace kelvane;

/// What the toolkit prints, as this program's own words; what it cannot go on after ends the
/// program without the trace of a crash.
void reportToolkitMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    // A session without a runtime folder, and a display that went away, are nothing to speak of.
    const bool idle = message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")) ||
                      message.startsWith(QLatin1String("The X11 connection broke"));
    if (type == QtDebugMsg || type == QtInfoMsg || idle) return;
    const std::string line = "kelvane: " + message.toStdString() + "\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    if (type == QtFatalMsg) ::_exit(1);
}

void nameApplication() {
    const auto id = QString::fromUtf8(kBundleID.data(), static_cast<qsizetype>(kBundleID.size()));
    // The name is also the class of the windows: that is how the program knows itself.
    QCoreApplication::setApplicationName(id);
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Kelvane Companion"));
    QGuiApplication::setDesktopFileName(id);
    // The program lives in the menu bar: it goes on when its last window closes.
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

class QtWindows : public Windows {
public:
    QtWindows(DesktopPorts& platform, std::function<void()> bringForward,
              std::function<void()> popoverWentAway)
        : m_platform(platform),
          m_bringForward(std::move(bringForward)),
          m_popoverWentAway(std::move(popoverWentAway)) {}

    std::unique_ptr<StatusItem> statusItem() override { return makeQtStatusItem(); }

    std::unique_ptr<Popover> popover(CompanionModel& model) override {
        return std::make_unique<QtPopover>(
            QtPopover::Ports{.model = model,
                             .images = images(),
                             .clock = *m_platform.clock,
                             .presses = *m_platform.presses,
                             .bringForward = m_bringForward,
                             .wentAway = m_popoverWentAway},
            m_platform.environment->get(kPanelTraceVariable).value_or(""));
    }

    std::unique_ptr<DemoWindow> demoWindow(CompanionModel& model, std::string_view title,
                                           Size content) override {
        return makeQtDemoWindow(model, images(), title, content);
    }

    [[nodiscard]] PanelImages images() const { return {*m_platform.icons, *m_platform.resources}; }

private:
    DesktopPorts& m_platform;
    std::function<void()> m_bringForward;
    std::function<void()> m_popoverWentAway;
};

enum class Shape { Picture, Demo, MenuBar };

Shape shape(const std::optional<std::string>& renderPath) {
    if (renderPath) return Shape::Picture;
    return std::ranges::find(args(), "--demo") != args().end() ? Shape::Demo : Shape::MenuBar;
}

/// The status to end with when another instance does this one's work.
std::optional<int> handOver(SingleInstance& instance) {
    if (instance.role() != SingleInstance::Role::Later) return std::nullopt;
    const auto token = kEnv().find("XDG_ACTIVATION_TOKEN");
    if (instance.askToOpen(token == kEnv().end() ? "" : token->second)) return 0;
    std::cerr << "kelvane: another instance runs but does not answer\n";
    return 1;
}

int runApplication(int argc, char** argv) {
    const auto renderPath = argValue("--render");
    const Shape launched = shape(renderPath);
    qInstallMessageHandler(reportToolkitMessage);
    // A picture needs no display, so a machine without one can draw it too.
    if (launched == Shape::Picture) qputenv("QT_QPA_PLATFORM", "offscreen");
    useSoftwareRendering();
    nameApplication();

    // Before the toolkit is started: a second start should be over at once.
    std::optional<SingleInstance> instance;
    if (launched == Shape::MenuBar) {
        std::error_code ignored;
        instance.emplace(instanceFolder(kEnv(), std::string(kBundleID), ::geteuid(),
                                        std::filesystem::temp_directory_path(ignored)),
                         desktopName(kEnv()));
        if (const auto status = handOver(*instance)) return *status;
    }

    QApplication toolkit(argc, argv);
    makeAccessoryApplication();
    DesktopPorts platform = makeDesktopPorts();
    OwnWorkspace workspace(*platform.workspace, kBundleID);
    const auto folder = home(*platform.files);
    const auto data = braskHome(*platform.files);
    // Shell scripts are to mean the same folder when the environment names none: what they remove
    // lies below it.
    qputenv("HOME", QByteArray::fromStdString(folder.string()));

    const Installation installation{.home = folder,
                                    .braskHome = data,
                                    .bundleId = std::string(kBundleID),
                                    .loginItem = platform.loginItem,
                                    .configHome = configHome(*platform.environment, folder),
                                    .dataHome = dataHome(*platform.environment, folder)};

    const auto bringForward = [&workspace] {
        activateApplication();
        workspace.activateItself();
    };
    const auto application =
        makeQtApplication([&platform] { platform.quit->raise(); }, bringForward);
    // What starting, or showing the panel, has used is not kept for the hours until the next time.
    QuietTime quietTime(releaseIdleMemory);
    QtWindows windows(platform, bringForward, [&quietTime] { quietTime.begin(); });
    QtTrayImages trayImages;
    const auto renderer = makeQtPanelRenderer(windows.images());
    const auto ticker = makeQtTicker();

    AppDelegate::Actions actions;
    actions.loadCatalog = [&](const std::optional<std::string>& explicitPath) {
        return loadCatalog({.files = *platform.files,
                            .resources = *platform.resources,
                            .braskHome = data,
                            .standardError = std::cerr},
                           explicitPath);
    };
    actions.makeModel = [&](const AppCatalog& catalog) {
        return std::make_unique<CompanionModel>(modelPorts(platform, workspace), catalog, folder);
    };
    actions.isInstalled = [&] { return ToolWiring::isInstalled(*platform.files, data); };
    actions.runInstall = [&](bool firstRun) {
        ToolWiring::runInstall(
            {.files = *platform.files,
             .processes = *platform.processes,
             .bundle = *platform.resources,
             .dialogs = *platform.dialogs,
             .urls = *platform.urls},
            installation,
            {.connectURL = kConnectURL(), .noPersist = kNoPersist(), .noOpen = kNoOpen()},
            firstRun);
    };
    actions.runUninstall = [&] {
        Uninstall::runUninstall({.dialogs = *platform.dialogs,
                                 .processes = *platform.processes,
                                 .terminate = [&] { application->terminate(); }},
                                installation);
    };
    actions.refreshRemoteCatalog = [&] {
        refreshRemoteCatalog(
            {.files = *platform.files, .http = *platform.http, .dispatcher = *platform.dispatcher},
            kCatalogURL(), data);
    };
    actions.connectUrl = kConnectURL();
    actions.serviceBase = [&] { return EvalBridge::base(*platform.environment); };

    std::optional<AppDelegate> delegate;
    delegate.emplace(AppDelegate::Ports{.application = *application,
                                        .windows = windows,
                                        .trayImages = trayImages,
                                        .renderer = *renderer,
                                        .ticker = *ticker,
                                        .resources = *platform.resources,
                                        .urls = *platform.urls,
                                        .out = std::cout,
                                        .err = std::cerr},
                     std::move(actions), LaunchOptions{.args = args(), .renderPath = renderPath});

    const QuitOnSignal quitOnSignal([&] { application->terminate(); });
    if (instance) {
        instance->listen([&](const std::string& activationToken) {
            // The toolkit takes the token from here when it next asks for the focus.
            if (!activationToken.empty()) {
                qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(activationToken));
            }
            delegate->openPopover();
        });
    }
    application->later([&] {
        delegate->applicationDidFinishLaunching();
        quietTime.begin();
    });
    const int status = QApplication::exec();

    // Background jobs use what stands above: wait for them while it is still there. The windows go
    // after them, for a job's end may still be told to the model.
    platform.quit->raise();
    instance.reset();
    platform.dispatcher.reset();
    delegate.reset();
    return status;
}

} // namespace

extern "C" int kelvaneRunApplication(int argc, char** argv) {
    kelvane::recordArgs(argc, argv);
    return runApplication(argc, argv);
}
