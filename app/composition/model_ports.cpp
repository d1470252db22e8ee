#include "app/composition/model_ports.h"

#include "app/plain_http_question.h"
#include "app/process_settings.h"
#include "detect/capture.h"
#include "platform/desktop.h"

#include <utility>

namespace kelvane {

CompanionModel::Ports modelPorts(DesktopPorts& platform, Workspace& workspace,
                                 Environment& environment, PlainHttpQuestion& plainHttp,
                                 history::HistoryStore& history, std::filesystem::path dataHome,
                                 SettingsStore& settings) {
    return {.workspace = workspace,
            .processes = *platform.processes,
            .files = *platform.files,
            .environment = environment,
            .http = *platform.http,
            .clock = *platform.clock,
            .dispatcher = *platform.dispatcher,
            .capture =
                [&platform](const DetectedApp& app) {
                    return Capture::capture({.workspace = *platform.workspace,
                                             .keyboard = *platform.keyboard,
                                             .pasteboard = *platform.pasteboard,
                                             .windows = *platform.windows,
                                             .picture = *platform.picture,
                                             .clock = *platform.clock},
                                            app);
                },
            .mayGoUnencrypted =
                [&plainHttp](const std::string& address) { return plainHttp.mayGoTo(address); },
            .limits = platform.limits.get(),
            .ownFocus = platform.ownFocus.get(),
            .history = &history,
            .desktop = desktopName(kEnv()),
            .dataHome = std::move(dataHome),
            .settings = &settings};
}

} // namespace kelvane
