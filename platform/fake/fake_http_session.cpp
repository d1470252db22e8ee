#include "platform/fake/fake_http_session.h"

namespace kelvane {

std::optional<HttpResponse> FakeHttpSession::send(const HttpRequest& request) {
    m_journal.add(request.method + " " + request.url);
    requests.push_back(request);
    // Schemes are written in either case.
    std::string scheme = request.url.substr(0, request.url.find("://"));
    for (char& c : scheme) c = 'A' <= c && c <= 'Z' ? static_cast<char>(c + 32) : c;
    if (scheme != "http" && scheme != "https" && scheme != "http+unix") return std::nullopt;
    return answer ? answer(request) : std::nullopt;
}

} // namespace kelvane
