#include "app/terminal_front_end.h"

#include "app/companion_model.h"
#include "app/console.h"
#include "app/line_input.h"
#include "app/model_ports.h"
#include "app/past_host_terminal.h"
#include "app/process_settings.h"
#include "app/qt_shell/qt_application.h"
#include "catalog/catalog_loader.h"
#include "platform/platform.h"

#include <QCoreApplication>
#include <QTimer>

#include <chrono>
#include <iostream>
#include <unistd.h>

namespace kelvane {

namespace {

constexpr std::chrono::milliseconds kRefreshInterval{4'000};

} // namespace

int runTerminalFrontEnd(int argc, char** argv) {
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
    const QuitOnSignal quitting(quit);

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

} // namespace kelvane
