// What a machine of a team tells the programs that watch over it, on a port of its own.
//
//   GET /metrics    see service_metrics.h
//   GET /healthz    {"status": "ok"}: the process answers
//   GET /readyz     {"status": "ok"}, or 503: it takes no work, or the database does not answer
//
// Without a key, which is why it is served on the loopback alone, and why a proxy has no reason to
// hand it on. Names of other hosts are refused, so that no web page reads it through a browser.
// What is asked must outlive it. Any thread.

#pragma once

#include "service/http/http_server.h"
#include "service/job_desk.h"
#include "service/service_metrics.h"
#include "service/store/shared_store.h"

namespace trevix {

class MetricsDoor final : public HttpHandler {
public:
    MetricsDoor(const ServiceMetrics& metrics, SharedStore& store, JobDesk& desk)
        : m_metrics(metrics),
          m_store(store),
          m_desk(desk) {}

    [[nodiscard]] std::optional<HttpAnswer> refuse(const HttpHead& head) override;
    [[nodiscard]] HttpAnswer answer(const HttpHead& head, const std::string& body) override;
    [[nodiscard]] HttpAnswer problem(int status, std::string_view text) override;

private:
    [[nodiscard]] HttpAnswer metrics();
    [[nodiscard]] HttpAnswer readiness();

    const ServiceMetrics& m_metrics;
    SharedStore& m_store;
    JobDesk& m_desk;
};

} // namespace trevix
