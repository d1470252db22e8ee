#include "service/http/answers.h"

#include "service/wire.h"

#include <utility>

namespace trevix {

namespace {

HttpAnswer guardedBut(HttpAnswer answer, const char* referrer) {
    // All of these for every answer, errors too: a browser that is led here by another page must
    // keep nothing, guess no type, frame nothing, and tell no address to the next site.
    answer.headers.emplace_back("Cache-Control", "no-store");
    answer.headers.emplace_back("X-Content-Type-Options", "nosniff");
    answer.headers.emplace_back("Referrer-Policy", referrer);
    answer.headers.emplace_back("X-Frame-Options", "DENY");
    answer.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
    return answer;
}

HttpAnswer withPage(int status, Page page, const char* referrer) {
    HttpAnswer answer =
        guardedBut({status, "text/html; charset=utf-8", std::move(page.html), {}}, referrer);
    answer.headers.emplace_back("Content-Security-Policy", page.contentSecurityPolicy);
    return answer;
}

} // namespace

HttpAnswer guarded(HttpAnswer answer) {
    return guardedBut(std::move(answer), "no-referrer");
}

HttpAnswer jsonAnswer(int status, std::string body) {
    return guarded({status, "application/json", std::move(body), {}});
}

HttpAnswer errorAnswer(int status, std::string_view text) {
    return jsonAnswer(status, errorJson(text));
}

HttpAnswer pageAnswer(int status, Page page) {
    return withPage(status, std::move(page), "no-referrer");
}

HttpAnswer formPageAnswer(int status, Page page) {
    // The forms of the page post back to it, and a browser that tells no referrer sends "Origin:
    // null" with them, which would be refused.
    return withPage(status, std::move(page), "same-origin");
}

HttpAnswer wrongMethod(std::string_view text, std::string allowed) {
    // RFC 9110, 15.5.6: this status has to say what is allowed.
    HttpAnswer answer = errorAnswer(405, text);
    answer.headers.emplace_back("Allow", std::move(allowed));
    return answer;
}

} // namespace trevix
