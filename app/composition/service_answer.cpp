// One question to a service, asked the way the application asks.

#include "app/cli/shell_module.h"
#include "platform/desktop.h"

#include <chrono>

extern "C" int kelvaneAskStatus(const char* url, int patience) {
    using namespace kelvane;
    const ExchangePorts ports = makeExchangePorts();
    const auto answer = ports.http->send({.method = "GET",
                                          .url = url,
                                          .headers = {},
                                          .body = {},
                                          .timeout = std::chrono::milliseconds(patience)});
    return answer ? answer->status : 0;
}
