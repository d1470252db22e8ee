// HTTP and HTTPS through libcurl.
//
// All exchanges of a session share one thread, and the connections that they leave behind. What the
// port leaves open is decided like this:
//
// * HTTP/1.1 only. A GET or DELETE goes over a connection that an earlier exchange kept, where
//   there is one; a POST over a new one, since a server that is just closing the old one would
//   fail it. Nothing is sent twice by itself, whatever happens to its connection. Connections that
//   nobody used for half a minute are closed.
// * At most 10 redirects are followed; an eleventh makes the exchange fail. See `afterRedirect`.
// * An HTTP error is an answer like any other, 401 included: nobody is asked for a password.
// * Proxies are those of the environment (http_proxy, https_proxy, all_proxy, no_proxy), or those
//   that the session is given; this machine itself is never reached through one, nor is anybody
//   asked about it. A redirect elsewhere goes the way of the address that it came from.
//   Certificates are trusted as the system says.
// * Compressed answers are unpacked. The head of an answer may have 256 KiB.
// * Quitting ends everything within 200 ms, also while a name is looked up: the thread of the
//   system's resolver is left to itself then.

#pragma once

#include "platform/ports/http_session.h"

#include <chrono>
#include <memory>
#include <string>
#include <sys/types.h>
#include <unistd.h>

namespace kelvane {

class ProxySettings;
class QuitSignal;

struct CurlSettings {
    std::string authorities = {}; ///< A file of certificates to trust; empty: those of the system.
    uid_t user = ::geteuid();     ///< Whose Unix sockets are trusted, beside root's.
    /// How long an unused connection is kept: several times as long as the longest wait between two
    /// requests of a grade, which is six seconds.
    std::chrono::milliseconds keepsUnused{30'000};
    /// Where the environment names no proxy; null: as the environment says. Asked for every
    /// exchange with another machine, on the caller's thread; must outlive the session.
    ProxySettings* proxies = nullptr;
};

/// Starts its thread with the first exchange. When `quit` is raised every exchange that is under
/// way ends at once, and later ones are absent without being tried. `quit` must outlive the
/// session, and no call of `send` may be running when the session ends.
[[nodiscard]] std::unique_ptr<HttpSession> makeCurlHttpSession(QuitSignal& quit,
                                                               CurlSettings settings = {});

} // namespace kelvane
