#include "app/composition/launch.h"

#include "app/panel/panel_item.h"
#include "app/process_settings.h"
#include "app/shell/qt/layer_surface.h"
#include "platform/posix/posix_platform.h"

#include <QAccessible>
#include <QAccessibleObject>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QString>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace kelvane {

namespace {

/// What Qt prints, as this program's own words; what it cannot go on after ends the program without
/// the trace of a crash.
void reportQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
    // A display that went away is nothing to speak of, and the end: Qt would go on to call exit,
    // which takes static objects away under the threads that still run.
    if (message.startsWith(QLatin1String("The X11 connection broke"))) ::_exit(1);
    // Without a display Qt says first that it could not connect, then that a new installation may
    // help, which it does not.
    static std::atomic<bool> noDisplay = false;
    if (message.startsWith(QLatin1String("could not connect to display"))) noDisplay = true;
    if (noDisplay && message.startsWith(QLatin1String("Could not load the Qt platform plugin"))) {
        return;
    }
    if (type == QtFatalMsg && noDisplay) {
        constexpr std::string_view kWhatHelps =
            "kelvane: start it in a desktop session: the panel needs a display\n";
        [[maybe_unused]] const auto told =
            ::write(STDERR_FILENO, kWhatHelps.data(), kWhatHelps.size());
        ::_exit(1);
    }
    // Nor is a session without a runtime folder.
    const bool idle = message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR"));
    if (type == QtDebugMsg || type == QtInfoMsg || idle) return;
    const std::string line = "kelvane: " + message.toStdString() + "\n";
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, line.data(), line.size());
    if (type == QtFatalMsg) ::_exit(1);
}

/// The program under the name that people know. Qt would tell them its identifier.
class NamedApplication : public QAccessibleApplication {
public:
    QString text(QAccessible::Text which) const override {
        if (which == QAccessible::Name) return QGuiApplication::applicationDisplayName();
        return QAccessibleApplication::text(which);
    }
};

QAccessibleInterface* namedApplication(const QString&, QObject* object) {
    return object == QCoreApplication::instance() ? new NamedApplication : nullptr;
}

void nameApplication() {
    const auto id = QString::fromUtf8(kBundleID.data(), static_cast<qsizetype>(kBundleID.size()));
    // The name is also the class of the windows: that is how the program knows itself.
    QCoreApplication::setApplicationName(id);
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Kelvane Companion"));
    QGuiApplication::setDesktopFileName(id);
    QAccessible::installFactory(namedApplication);
    // The program lives in the menu bar: it goes on when its last window closes.
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

} // namespace

Launch launchOfThisProcess() {
    if (auto path = argValue("--render")) return {Shape::Picture, std::move(path)};
    const bool demo = std::ranges::find(args(), "--demo") != args().end();
    return {demo ? Shape::Demo : Shape::MenuBar, std::nullopt};
}

void prepareQt(const Launch& launch) {
    qInstallMessageHandler(reportQtMessage);
    // A picture needs no display, so a machine without one can draw it too.
    if (launch.shape == Shape::Picture) qputenv("QT_QPA_PLATFORM", "offscreen");
    useSoftwareRendering();
    prepareLayerSurfaces();
    nameApplication();
}

void leaveNoCore() {
    rlimit limit{};
    if (getrlimit(RLIMIT_CORE, &limit) != 0) return;
    // Programs of the user's that this one starts may raise it again.
    limit.rlim_cur = 0;
    setrlimit(RLIMIT_CORE, &limit);
}

void settleHome() {
    const auto files = makePosixFileSystem();
    qputenv("HOME", QByteArray::fromStdString(home(*files).string()));
}

std::unique_ptr<SingleInstance> claimMenuBar(const Launch& launch) {
    if (launch.shape != Shape::MenuBar) return nullptr;
    std::error_code ignored;
    const auto temporary = std::filesystem::temp_directory_path(ignored);
    return std::make_unique<SingleInstance>(
        instanceFolder(kEnv(), std::string(kBundleID), ::geteuid(), temporary),
        desktopName(kEnv()));
}

std::optional<int> handOver(SingleInstance* instance) {
    if (instance == nullptr || instance->role() != SingleInstance::Role::Later) return std::nullopt;
    const auto token = kEnv().find("XDG_ACTIVATION_TOKEN");
    if (instance->askToOpen(token == kEnv().end() ? "" : token->second)) return 0;
    std::cerr << "kelvane: another instance runs but does not answer\n";
    return 1;
}

} // namespace kelvane
