#include "platform/linux/unseen_sources.h"

#include "platform/linux/bus/bus_link.h"

#include <utility>

namespace kelvane {

DesktopOffer UnseenSources::addTo(DesktopOffer offer) const {
    offer.gnomeExtension = extension && extension->windows().has_value();
    offer.accessibility = accessible && accessible->isThere();
    return offer;
}

UnseenSources openUnseenSources(Environment& environment, InstalledEntries installed, Clock& clock,
                                OwnFocus& ownFocus) {
    UnseenSources sources;
    sources.sessionBus = sessionBusAddress(environment.get("DBUS_SESSION_BUS_ADDRESS").value_or(""),
                                           environment.get("XDG_RUNTIME_DIR").value_or(""));
    sources.extension = openGnomeExtension(sources.sessionBus);
    sources.accessible =
        openAccessibleDesktop({.session = sources.sessionBus,
                               .accessibility = environment.get("AT_SPI_BUS_ADDRESS").value_or("")},
                              std::move(installed), clock, ownFocus);
    return sources;
}

} // namespace kelvane
