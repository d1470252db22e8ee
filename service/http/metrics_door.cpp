#include "service/http/metrics_door.h"

#include "service/http/answers.h"
#include "service/http/http_api.h"
#include "text/build_version.h"

#include <optional>

namespace trevix {

std::optional<HttpAnswer> MetricsDoor::refuse(const HttpHead& head) {
    const auto host = head.header("host");
    if (!host) return errorAnswer(400, "the request must name one Host");
    if (!isLoopbackHost(*host)) {
        return errorAnswer(403, "this port answers to 127.0.0.1 and localhost only");
    }
    if (head.path != "/metrics" && head.path != "/healthz" && head.path != "/readyz") {
        return errorAnswer(404, "there is nothing at this address");
    }
    if (head.method != "GET" && head.method != "HEAD") {
        return wrongMethod("only GET is possible here", "GET, HEAD");
    }
    return std::nullopt;
}

HttpAnswer MetricsDoor::answer(const HttpHead& head, const std::string& /*body*/) {
    if (head.path == "/metrics") return metrics();
    if (head.path == "/readyz") return readiness();
    return jsonAnswer(200, R"({"status":"ok"})");
}

HttpAnswer MetricsDoor::problem(int status, std::string_view text) {
    return errorAnswer(status, text);
}

HttpAnswer MetricsDoor::metrics() {
    std::optional<StoreFigures> figures;
    try {
        figures = m_store.figures();
    } catch (const StoreError&) {
        // Told as a figure of its own: what this process counts is wanted then most of all.
    }
    return guarded({200,
                    "text/plain; version=0.0.4; charset=utf-8",
                    m_metrics.text(figures, m_store.counts(), kelvane::text::buildVersion()),
                    {}});
}

HttpAnswer MetricsDoor::readiness() {
    try {
        if (m_desk.isAccepting()) return jsonAnswer(200, R"({"status":"ok"})");
    } catch (const StoreError& error) {
        return errorAnswer(503, error.what());
    }
    return errorAnswer(503, "the service is ending");
}

} // namespace trevix
