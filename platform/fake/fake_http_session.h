// A service whose answers a test writes.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/http_session.h"

#include <functional>
#include <optional>
#include <vector>

namespace kelvane {

class FakeHttpSession : public HttpSession {
public:
    explicit FakeHttpSession(Journal& journal) : m_journal(journal) {}

    /// Answers each request; nothing is an unreachable server. Unset: everything is unreachable.
    std::function<std::optional<HttpResponse>(const HttpRequest&)> answer;
    std::vector<HttpRequest> requests;

    std::optional<HttpResponse> send(const HttpRequest& request) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
