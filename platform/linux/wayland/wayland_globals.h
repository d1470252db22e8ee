// What a compositor offers, and the parts of this program that use it.

#pragma once

#include <cstdint>
#include <string_view>

struct wl_display;
struct wl_registry;

namespace kelvane {

class WaylandConnection;

/// A part that uses some globals. Everything here is called on the link's thread.
class WaylandPart {
public:
    virtual ~WaylandPart() = default;

    /// The link that it belongs to, before anything else. It outlives the part's use of it.
    virtual void attach(WaylandConnection& link) = 0;
    /// A global is there. Bind it or leave it.
    virtual void globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                             std::uint32_t version) = 0;
    virtual void globalRemoved(std::uint32_t name) = 0;
    /// All that is there at the start has been told.
    virtual void globalsComplete() {}
    /// And so has what those say that were bound meanwhile.
    virtual void started() {}
    /// The link ends: let go of every object without a word. Nothing is called afterwards.
    virtual void detach() = 0;
};

} // namespace kelvane
