// A handler whose answers are counted and logged.
//
// Every answer is told once, with its status and how long it took; of the request its method and
// its route, neither of which a client can choose words for. `inner`, `metrics` and `log` must
// outlive it. Any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/service_log.h"
#include "service/service_metrics.h"

namespace trevix {

class WatchedHandler final : public HttpHandler {
public:
    WatchedHandler(HttpHandler& inner, ServiceMetrics& metrics, ServiceLog& log)
        : m_inner(inner),
          m_metrics(metrics),
          m_log(log) {}

    [[nodiscard]] std::optional<HttpAnswer> refuse(const HttpHead& head) override;
    [[nodiscard]] HttpAnswer answer(const HttpHead& head, const std::string& body) override;
    [[nodiscard]] HttpAnswer problem(int status, std::string_view text) override;

private:
    HttpHandler& m_inner;
    ServiceMetrics& m_metrics;
    ServiceLog& m_log;
};

} // namespace trevix
