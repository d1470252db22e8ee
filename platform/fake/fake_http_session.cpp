#include "platform/fake/fake_http_session.h"

namespace kelvane {

std::optional<HttpResponse> FakeHttpSession::send(const HttpRequest& request) {
    m_journal.add(request.method + " " + request.url);
    requests.push_back(request);
    const bool isWeb = request.url.starts_with("http://") || request.url.starts_with("https://") ||
                       request.url.starts_with("http+unix://");
    if (!isWeb) return std::nullopt;
    return answer ? answer(request) : std::nullopt;
}

} // namespace kelvane
