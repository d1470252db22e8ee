#include "critics/servers/own_servers.h"

#include <utility>

namespace trevix {

ServerAnswer FakeServers::ask(const ServerRequest& request, StopToken cancel) {
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
    }
    ServerAnswer made = answer ? answer(request) : ServerAnswer{};
    if (cancel.isAsked()) return {ServerAnswer::End::cancelled, 0, "", made.took};
    if (made.took > request.time) return {ServerAnswer::End::outOfTime, 0, "", request.time};
    if (made.body.size() > request.mostBytes) {
        return {ServerAnswer::End::tooMuch, made.status, made.body.substr(0, request.mostBytes),
                made.took};
    }
    return made;
}

std::vector<ServerRequest> FakeServers::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<std::string> FakeServers::journal() const {
    std::vector<std::string> lines;
    for (const ServerRequest& request : requests()) {
        lines.push_back(
            (request.body.empty() ? "GET " : "POST ") + request.address.base + request.path +
            (request.body.empty() ? "" : ", " + std::to_string(request.body.size()) + " bytes"));
    }
    return lines;
}

} // namespace trevix
