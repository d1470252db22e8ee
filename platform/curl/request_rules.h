// Which requests can be sent, and what follows a redirect.
//
// Pure; any thread.

#pragma once

#include "platform/ports/http_session.h"

#include <optional>
#include <string>

namespace kelvane {

/// Whether the request can be sent at all: a method we know, an address that leads somewhere, and
/// headers that stay one line each.
[[nodiscard]] bool isSendable(const HttpRequest& request);

/// What to send next when `request` was answered with `status` and sent on to `target`, an absolute
/// address. Absent when that answer is the last word: no redirect, nowhere to go, or not with this
/// request. 303 goes on as a GET, and so does a POST after 301 or 302, without its body and the
/// headers about it; 307 and 308 repeat the request as it was, and so does every redirect from http
/// to the same place under https, which is about how and not about where.
[[nodiscard]] std::optional<HttpRequest> afterRedirect(const HttpRequest& request, int status,
                                                       const std::string& target);

} // namespace kelvane
