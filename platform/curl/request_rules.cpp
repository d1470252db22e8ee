#include "platform/curl/request_rules.h"

#include "platform/curl/destination.h"
#include "text/unicode.h"
#include "text/web_address.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace kelvane {

namespace {

// RFC 9110, 5.6.2.
bool isToken(std::string_view name) {
    constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
    return !name.empty() && std::all_of(name.begin(), name.end(), [&](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
               kMarks.find(c) != std::string_view::npos;
    });
}

bool isOneLine(std::string_view value) {
    constexpr std::string_view kBreaks("\r\n\0", 3);
    return value.find_first_of(kBreaks) == std::string_view::npos;
}

bool isRedirect(int status) {
    // 300 and 304 to 306 leave the choice to somebody, or are no redirects.
    constexpr std::array kRedirects{301, 302, 303, 307, 308};
    return std::find(kRedirects.begin(), kRedirects.end(), status) != kRedirects.end();
}

bool carriesKey(const HttpRequest& request) {
    return request.keyToProve ||
           std::any_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
               return text::lowerAscii(header.first) == "authorization";
           });
}

bool isUpgrade(const text::WebOrigin& from, const text::WebOrigin& to) {
    return from.host == to.host && from.scheme == "http" && to.scheme == "https";
}

bool mayGoOn(const HttpRequest& request, const text::WebOrigin& from, const text::WebOrigin& to) {
    // The same server, or the same host by TLS: what was asked of it may be asked again. Elsewhere
    // goes only what carries no key, and nothing goes from TLS to plain text.
    if (from == to || isUpgrade(from, to)) return true;
    const bool leavesTls = from.scheme == "https" && to.scheme == "http";
    return request.followsToOtherHosts && !carriesKey(request) && !leavesTls;
}

} // namespace

bool isSendable(const HttpRequest& request) {
    return (request.method == "GET" || request.method == "POST" || request.method == "DELETE") &&
           destinationOf(request.url) &&
           std::all_of(request.headers.begin(), request.headers.end(), [](const auto& header) {
               return isToken(header.first) && isOneLine(header.second);
           });
}

std::optional<HttpRequest> afterRedirect(const HttpRequest& request, int status,
                                         const std::string& target) {
    if (!isRedirect(status)) return std::nullopt;
    HttpRequest next = request;
    bool repeats = status == 307 || status == 308;
    if (auto behind = behindSameSocket(request.url, target)) {
        next.url = *std::move(behind);
    } else {
        const auto from = text::webOrigin(request.url);
        const auto to = text::webOrigin(target);
        if (!from || !to || !mayGoOn(request, *from, *to)) return std::nullopt;
        // A POST that is only sent to the encrypted address was not acted on by then.
        repeats = repeats || (status != 303 && isUpgrade(*from, *to));
        next.url = target;
    }
    // RFC 9110, 15.4: what browsers have always done after 301 and 302, and what 303 asks for.
    if (!repeats && (status == 303 || request.method == "POST")) {
        next.method = "GET";
        next.body.reset();
        std::erase_if(next.headers, [](const auto& header) {
            return text::lowerAscii(header.first).starts_with("content-");
        });
    }
    return next;
}

} // namespace kelvane
