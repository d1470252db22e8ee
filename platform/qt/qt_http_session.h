// HTTP and HTTPS through Qt.
//
// Qt Network, on a thread of its own. What the port leaves open is decided like this:
//
// * HTTP/1.1 only, and a connection for each request: an old one that the server is just closing
//   cannot fail a new request. A POST is never sent twice, whatever happens to its connection,
//   since the server may have acted on the first.
// * At most 10 redirects are followed; an eleventh makes the exchange fail. 303 goes on as a GET,
//   and so does a POST after 301 or 302, without its body and the headers about it; 307 and 308
//   repeat the request as it was. An address on another scheme, host or port is another origin.
// * An HTTP error is an answer like any other, 401 included: nobody is asked for a password.
// * Proxies are the system's; this machine itself is never reached through one.
// * Compressed answers are unpacked. An answer of more than 256 MiB is refused.
// * An answer that is shorter than it announced is absent. One that comes in chunks, or compressed,
//   announces no length that could be compared: when its connection ends early it may pass for
//   whole. Its readers read JSON, of which no beginning is JSON itself.
// * Headers that a server could misread as several (a line break in a value) refuse the request.

#pragma once

#include "platform/ports/http_session.h"

#include <memory>

namespace kelvane {

class QuitSignal;

/// Precondition: Qt's application object exists. When `quit` is raised every exchange that
/// is under way ends at once, and later ones are absent without being tried. `quit` must outlive
/// the session, and no call of `send` may be running when the session ends.
[[nodiscard]] std::unique_ptr<HttpSession> makeQtHttpSession(QuitSignal& quit);

} // namespace kelvane
