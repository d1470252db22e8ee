#include "platform/fake/fake_http_session.h"

namespace kelvane {

std::optional<HttpResponse> FakeHttpSession::send(const HttpRequest& request) {
    m_journal.add(request.method + " " + request.url);
    requests.push_back(request);
    if (!request.url.starts_with("http://") && !request.url.starts_with("https://")) {
        return std::nullopt;
    }
    return answer ? answer(request) : std::nullopt;
}

} // namespace kelvane
