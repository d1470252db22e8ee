// The desktop's proxies, as its portal resolves them (org.freedesktop.portal.ProxyResolver): what
// GNOME's and Plasma's settings say, a script among them, whatever hosts they leave out.
//
// Nobody is started to answer. An answer serves for a minute, and a portal that does not answer
// within a second is left alone for half a minute.

#pragma once

#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/proxy_settings.h"
#include "platform/ports/quit_signal.h"

#include <memory>

namespace kelvane {

/// Asks on the session bus that `environment` names now; without one nobody. A question that is
/// under way ends when `quit` is raised. Clock and signal must outlive it.
[[nodiscard]] std::unique_ptr<ProxySettings> makeProxyPortal(Environment& environment, Clock& clock,
                                                             QuitSignal& quit);

} // namespace kelvane
