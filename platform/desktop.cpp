#include "platform/desktop.h"

#include "platform/cli.h"
#include "platform/curl/curl_http_session.h"
#include "platform/ports/proxy_rules.h"
#include "platform/posix/posix_platform.h"
#include "platform/qt/qt_dispatcher.h"

#include <utility>

namespace kelvane {

namespace {

/// What the environment says counts alone, as for every program that is started from it.
std::unique_ptr<HttpSession> session(QuitSignal& quit, Environment& environment,
                                     ProxySettings& proxies) {
    return makeCurlHttpSession(quit, {.proxies = namesProxies(environment) ? nullptr : &proxies});
}

} // namespace

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
    ports.proxies = makeProxySettings(*ports.environment, *ports.clock, *ports.quit);
    ports.http = session(*ports.quit, *ports.environment, *ports.proxies);
    ports.dispatcher = makeQtDispatcher();
    return ports;
}

ExchangePorts makeExchangePorts() {
    CliPorts plain = makeCliPorts();
    ExchangePorts ports;
    ports.quit = std::move(plain.quit);
    ports.environment = std::move(plain.environment);
    ports.clock = std::move(plain.clock);
    ports.proxies = makeProxySettings(*ports.environment, *ports.clock, *ports.quit);
    ports.http = session(*ports.quit, *ports.environment, *ports.proxies);
    return ports;
}

} // namespace kelvane
