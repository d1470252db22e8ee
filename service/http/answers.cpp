#include "service/http/answers.h"

#include "service/wire.h"

#include <utility>

namespace trevix {

namespace {

HttpAnswer guardedBut(HttpAnswer answer, const char* referrer) {
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
    return withPage(status, std::move(page), "same-origin");
}

HttpAnswer wrongMethod(std::string_view text, std::string allowed) {
    HttpAnswer answer = errorAnswer(405, text);
    answer.headers.emplace_back("Allow", std::move(allowed));
    return answer;
}

} // namespace trevix
