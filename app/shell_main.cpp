// The module's entry point: makes the platform and runs the application until it quits.

#include "app/companion_model.h"
#include "app/console.h"
#include "app/line_input.h"
#include "app/past_host_terminal.h"
#include "app/process_settings.h"
#include "app/shell_module.h"
#include "catalog/catalog_loader.h"
#include "detect/capture.h"
#include "platform/platform.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

using namespace kelvane;

constexpr std::chrono::milliseconds kRefreshInterval{4'000};

int quitPipe[2] = {-1, -1};

void onQuitSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(quitPipe[1], &byte, 1);
}

/// From now on SIGINT and SIGTERM make `quitPipe[0]` readable instead of ending the process, so
/// that the clipboard can be handed over. SIGPIPE is ignored: a display server that dies is no
/// reason to.
void catchQuitSignals() {
    if (::pipe(quitPipe) != 0) return;
    for (const int end : quitPipe) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action {};
    action.sa_handler = onQuitSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) ::sigaction(signal, &action, nullptr);
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
}

CompanionModel::Ports modelPorts(Platform& platform, Workspace& workspace) {
    return {.workspace = workspace,
            .processes = *platform.processes,
            .files = *platform.files,
            .environment = *platform.environment,
            .http = *platform.http,
            .clock = *platform.clock,
            .dispatcher = *platform.dispatcher,
            .capture = [&platform](const DetectedApp& app) {
                return Capture::capture({.workspace = *platform.workspace,
                                         .keyboard = *platform.keyboard,
                                         .pasteboard = *platform.pasteboard,
                                         .windows = *platform.windows,
                                         .picture = *platform.picture,
                                         .clock = *platform.clock},
                                        app);
            }};
}

int runApplication(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    Platform platform = makePlatform();

    const auto data = braskHome(*platform.files);
    const AppCatalog catalog = loadCatalog({.files = *platform.files,
                                            .resources = *platform.resources,
                                            .braskHome = data,
                                            .standardError = std::cerr},
                                           argValue("--catalog"));

    PastHostTerminal workspace(*platform.workspace, *platform.windows,
                               {.bundleId = platform.environment->get("__CFBundleIdentifier"),
                                .window = windowNumber(platform.environment->get("WINDOWID"))});
    CompanionModel model(modelPorts(platform, workspace), catalog, home(*platform.files));

    const auto quit = [&] {
        platform.quit->raise();
        QCoreApplication::quit();
    };
    Console console(model, *platform.dispatcher, std::cout,
                    {.quit = quit, .reportAddress = [&](const std::string& runId) {
                         return EvalBridge::base(*platform.environment) + "/console?run=" + runId;
                     }});
    model.onQuit = quit;

    LineInput input(
        STDIN_FILENO, [&](std::string_view line) { console.handle(line); },
        [&] { console.inputEnded(); });
    catchQuitSignals();
    QSocketNotifier quitting(quitPipe[0], QSocketNotifier::Read);
    QObject::connect(&quitting, &QSocketNotifier::activated, quit);

    QTimer ticks;
    QObject::connect(&ticks, &QTimer::timeout, [&] { model.refresh(); });

    model.refresh();
    console.start();
    ticks.start(kRefreshInterval);
    refreshRemoteCatalog(
        {.files = *platform.files, .http = *platform.http, .dispatcher = *platform.dispatcher},
        kCatalogURL(), data);
    const int status = QCoreApplication::exec();
    // Background jobs use what stands above: wait for them while it is still there.
    platform.quit->raise();
    platform.dispatcher.reset();
    return status;
}

} // namespace

extern "C" int kelvaneRunApplication(int argc, char** argv) {
    kelvane::recordArgs(argc, argv);
    return runApplication(argc, argv);
}
