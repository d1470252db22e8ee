#include "service/http/watched_handler.h"

#include "service/http/http_api.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace trevix {

namespace {

using Clock = std::chrono::steady_clock;

std::chrono::milliseconds since(Clock::time_point begun) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begun);
}

// A client may send any word for a method.
std::string_view methodOf(const HttpHead& head) {
    static constexpr std::array<std::string_view, 4> kKnown{"GET", "HEAD", "POST", "DELETE"};
    const auto* const found = std::ranges::find(kKnown, head.method);
    return found == kKnown.end() ? std::string_view("other") : *found;
}

} // namespace

std::optional<HttpAnswer> WatchedHandler::refuse(const HttpHead& head) {
    auto refusal = m_inner.refuse(head);
    if (refusal) {
        m_metrics.countRequest(refusal->status);
        m_log.request(methodOf(head), routeName(head.path), refusal->status, {});
    }
    return refusal;
}

HttpAnswer WatchedHandler::answer(const HttpHead& head, const std::string& body) {
    const Clock::time_point begun = Clock::now();
    // What it throws is answered, and so counted, by problem().
    HttpAnswer answer = m_inner.answer(head, body);
    m_metrics.countRequest(answer.status);
    m_log.request(methodOf(head), routeName(head.path), answer.status, since(begun));
    return answer;
}

HttpAnswer WatchedHandler::problem(int status, std::string_view text) {
    m_metrics.countRequest(status);
    m_log.request("other", "other", status, {});
    return m_inner.problem(status, text);
}

} // namespace trevix
