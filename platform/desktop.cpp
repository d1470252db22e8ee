#include "platform/desktop.h"

#include "platform/cli.h"
#include "platform/curl/curl_http_session.h"
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
    ports.http = makeCurlHttpSession(*ports.quit);
    ports.dispatcher = makeQtDispatcher();
    return ports;
}

} // namespace kelvane
