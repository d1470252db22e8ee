#include "platform/desktop.h"

#include "platform/cli.h"
#include "platform/curl/curl_http_session.h"
#include "platform/ports/proxy_rules.h"
#include "platform/posix/posix_platform.h"
#include "platform/qt/qt_dispatcher.h"

#include <utility>

namespace kelvane {

DesktopPorts makeDesktopPorts() {
    CliPorts plain = makeCliPorts();
    DesktopPorts ports;
    ports.quit = std::move(plain.quit);
    ports.environment = std::move(plain.environment);
    ports.files = std::move(plain.files);
    ports.resources = std::move(plain.resources);
    ports.processes = std::move(plain.processes);
    ports.programs = makePosixKeptPrograms();
    ports.clock = std::move(plain.clock);
    addSystemPorts(ports);
    // What the environment says counts alone, as for every program that is started from it.
    ports.http = makeCurlHttpSession(
        *ports.quit, {.proxies = namesProxies(*ports.environment) ? nullptr : ports.proxies.get()});
    ports.dispatcher = makeQtDispatcher();
    return ports;
}

} // namespace kelvane
