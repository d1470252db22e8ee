#include "platform/linux/unseen_sources.h"

#include "platform/linux/bus/bus_link.h"
#include "platform/linux/linux_session.h"

#include <utility>

namespace kelvane {

DesktopOffer UnseenSources::addTo(DesktopOffer offer) const {
    offer.gnomeExtension = extension && extension->windows().has_value();
    offer.accessibility = accessible && accessible->isThere();
    return offer;
}

bool isWaylandSession(Environment& environment) {
    const auto session = linuxSession(environment);
    if (session.kind != LinuxSession::Kind::None) {
        return session.kind == LinuxSession::Kind::XWayland;
    }
    return !environment.get("WAYLAND_DISPLAY").value_or("").empty() ||
           environment.get("XDG_SESSION_TYPE").value_or("") == "wayland";
}

UnseenSources openUnseenSources(Environment& environment, InstalledEntries installed, Clock& clock,
                                OwnFocus& ownFocus) {
    UnseenSources sources;
    sources.sessionBus = sessionBusAddress(environment.get("DBUS_SESSION_BUS_ADDRESS").value_or(""),
                                           environment.get("XDG_RUNTIME_DIR").value_or(""));
    if (!isWaylandSession(environment)) return sources;
    sources.extension = openGnomeExtension(sources.sessionBus);
    sources.accessible =
        openAccessibleDesktop({.session = sources.sessionBus,
                               .accessibility = environment.get("AT_SPI_BUS_ADDRESS").value_or("")},
                              std::move(installed), clock, ownFocus);
    return sources;
}

} // namespace kelvane
