#include "platform/linux/wayland/wayland_windows.h"

#include "platform/linux/wayland/wayland_connection.h"
#include "text/unicode.h"

#include <wayland-client.h>

#include <plasma-window-management-client-protocol.h>
#include <wlr-foreign-toplevel-management-unstable-v1-client-protocol.h>

#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

namespace kelvane {

namespace {

constexpr std::uint32_t kNewestToplevels = 3;
/// With uuids, by which KWin's other interfaces know windows, and the names of X11 programs.
constexpr std::uint32_t kPlasmaWithUuids = 13;
constexpr std::uint32_t kNewestPlasma = 16;
/// Nothing is asked of it: its description need not be here.
constexpr std::string_view kPlasmaShell = "org_kde_plasma_shell";

class Windows;

/// One window of the compositor's.
struct Handle {
    Windows* owner = nullptr;
    zwlr_foreign_toplevel_handle_v1* toplevel = nullptr;
    org_kde_plasma_window* plasma = nullptr;
    bool known = false;    ///< Its first description is complete.
    WaylandWindow now;     ///< As others see it.
    WaylandWindow pending; ///< What has been told and not yet been declared complete.
};

class Windows : public WaylandWindows {
public:
    void attach(WaylandConnection&) override {}

    void globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                     std::uint32_t version) override;
    void globalRemoved(std::uint32_t) override {}
    void detach() override;

    bool hasForeignToplevel() const override {
        const std::lock_guard lock(m_mutex);
        return m_toplevels != nullptr;
    }
    bool hasPlasmaWindows() const override {
        const std::lock_guard lock(m_mutex);
        return m_plasma != nullptr;
    }

    bool hasPlasmaShell() const override {
        const std::lock_guard lock(m_mutex);
        return m_hasPlasmaShell;
    }

    std::vector<WaylandWindow> windows() const override {
        const std::lock_guard lock(m_mutex);
        std::vector<WaylandWindow> list;
        for (const auto& handle : m_handles) {
            if (handle->known) list.push_back(handle->now);
        }
        return list;
    }

    std::uint32_t active() const override {
        const std::lock_guard lock(m_mutex);
        for (const auto& handle : m_handles) {
            if (handle->known && handle->now.active) return handle->now.number;
        }
        return 0;
    }

    bool activate(std::uint32_t number) override {
        for (const auto& handle : m_handles) {
            if (handle->now.number != number) continue;
            if (handle->toplevel != nullptr && m_seat != nullptr) {
                if (handle->now.minimised) {
                    zwlr_foreign_toplevel_handle_v1_unset_minimized(handle->toplevel);
                }
                zwlr_foreign_toplevel_handle_v1_activate(handle->toplevel, m_seat);
                return true;
            }
            if (handle->plasma != nullptr) {
                constexpr std::uint32_t kChanged = ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE |
                                                   ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED;
                org_kde_plasma_window_set_state(handle->plasma, kChanged,
                                                ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE);
                return true;
            }
        }
        return false;
    }

    Handle& add() {
        auto handle = std::make_unique<Handle>();
        handle->owner = this;
        handle->now.number = handle->pending.number = ++m_lastNumber;
        const std::lock_guard lock(m_mutex);
        m_handles.push_back(std::move(handle));
        return *m_handles.back();
    }

    /// What was told so far holds now.
    void publish(Handle& handle) {
        const std::lock_guard lock(m_mutex);
        if (handle.pending.active && !(handle.known && handle.now.active)) {
            handle.pending.raised = ++m_lastRaised;
        }
        handle.now = handle.pending;
        handle.known = true;
    }

    void remove(Handle& handle) {
        destroy(handle);
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_handles, [&](const auto& other) { return other.get() == &handle; });
    }

    /// From the lowest to the highest, by KWin's names.
    void stacked(std::string_view uuids) {
        const std::lock_guard lock(m_mutex);
        while (!uuids.empty()) {
            const auto end = std::min(uuids.find(';'), uuids.size());
            const auto uuid = uuids.substr(0, end);
            uuids.remove_prefix(std::min(end + 1, uuids.size()));
            for (const auto& handle : m_handles) {
                if (handle->pending.uuid != uuid) continue;
                handle->now.raised = handle->pending.raised = ++m_lastRaised;
            }
        }
    }

    void addPlasma(const char* uuid);

private:
    static void destroy(Handle& handle) {
        if (handle.toplevel != nullptr) zwlr_foreign_toplevel_handle_v1_destroy(handle.toplevel);
        if (handle.plasma != nullptr) org_kde_plasma_window_destroy(handle.plasma);
        handle.toplevel = nullptr;
        handle.plasma = nullptr;
    }

    mutable std::mutex m_mutex; ///< Guards what others see; it all changes on the link's thread.
    std::vector<std::unique_ptr<Handle>> m_handles;
    zwlr_foreign_toplevel_manager_v1* m_toplevels = nullptr;
    org_kde_plasma_window_management* m_plasma = nullptr;
    bool m_hasPlasmaShell = false;
    wl_seat* m_seat = nullptr; ///< The first one: who presses decides who is in front.
    std::uint32_t m_lastNumber = 0;
    std::uint64_t m_lastRaised = 0;
};

Handle& of(void* data) {
    return *static_cast<Handle*>(data);
}

std::string textOf(const char* text) {
    return text == nullptr ? std::string() : text::utf8FromOutside(text);
}

// ---- wlroots -----------------------------------------------------------------------------------

constexpr zwlr_foreign_toplevel_handle_v1_listener kToplevelListener{
    .title = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                const char* title) { of(data).pending.title = textOf(title); },
    .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                 const char* id) { of(data).pending.appId = textOf(id); },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state =
        [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* states) {
            auto& window = of(data).pending;
            window.active = window.minimised = false;
            const auto* const state = static_cast<const std::uint32_t*>(states->data);
            for (std::size_t i = 0; i < states->size / sizeof *state; ++i) {
                window.active |= state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED;
                window.minimised |= state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED;
            }
        },
    .done = [](void* data, zwlr_foreign_toplevel_handle_v1*) { of(data).owner->publish(of(data)); },
    .closed = [](void* data,
                 zwlr_foreign_toplevel_handle_v1*) { of(data).owner->remove(of(data)); },
    .parent =
        [](void* data, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1* parent) {
            of(data).pending.parent =
                parent == nullptr
                    ? 0
                    : of(zwlr_foreign_toplevel_handle_v1_get_user_data(parent)).now.number;
        },
};

constexpr zwlr_foreign_toplevel_manager_v1_listener kToplevelsListener{
    .toplevel =
        [](void* data, zwlr_foreign_toplevel_manager_v1*,
           zwlr_foreign_toplevel_handle_v1* toplevel) {
            auto& handle = static_cast<Windows*>(data)->add();
            handle.toplevel = toplevel;
            zwlr_foreign_toplevel_handle_v1_add_listener(toplevel, &kToplevelListener, &handle);
        },
    .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {},
};

// ---- KWin --------------------------------------------------------------------------------------

/// Told one by one, each of them complete by itself once the first description is.
template <typename Change>
void apply(void* data, const Change& change) {
    auto& handle = of(data);
    change(handle.pending);
    if (handle.known) handle.owner->publish(handle);
}

constexpr org_kde_plasma_window_listener kPlasmaWindowListener{
    .title_changed =
        [](void* data, org_kde_plasma_window*, const char* title) {
            apply(data, [&](WaylandWindow& window) { window.title = textOf(title); });
        },
    .app_id_changed =
        [](void* data, org_kde_plasma_window*, const char* id) {
            apply(data, [&](WaylandWindow& window) { window.appId = textOf(id); });
        },
    .state_changed =
        [](void* data, org_kde_plasma_window*, std::uint32_t flags) {
            apply(data, [&](WaylandWindow& window) {
                window.active = (flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_ACTIVE) != 0;
                window.minimised = (flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_MINIMIZED) != 0;
                window.skipsTaskbar =
                    (flags & ORG_KDE_PLASMA_WINDOW_MANAGEMENT_STATE_SKIPTASKBAR) != 0;
            });
        },
    .virtual_desktop_changed = [](void*, org_kde_plasma_window*, std::int32_t) {},
    .themed_icon_name_changed = [](void*, org_kde_plasma_window*, const char*) {},
    .unmapped = [](void* data, org_kde_plasma_window*) { of(data).owner->remove(of(data)); },
    .initial_state = [](void* data, org_kde_plasma_window*) { of(data).owner->publish(of(data)); },
    .parent_window =
        [](void* data, org_kde_plasma_window*, org_kde_plasma_window* parent) {
            apply(data, [&](WaylandWindow& window) {
                window.parent = parent == nullptr
                                    ? 0
                                    : of(org_kde_plasma_window_get_user_data(parent)).now.number;
            });
        },
    .geometry =
        [](void* data, org_kde_plasma_window*, std::int32_t x, std::int32_t y, std::uint32_t width,
           std::uint32_t height) {
            apply(data, [&](WaylandWindow& window) {
                window.frame = DisplayRect{x, y, static_cast<std::int32_t>(width),
                                           static_cast<std::int32_t>(height)};
            });
        },
    .icon_changed = [](void*, org_kde_plasma_window*) {},
    .pid_changed =
        [](void* data, org_kde_plasma_window*, std::uint32_t pid) {
            apply(data, [&](WaylandWindow& window) { window.process = static_cast<pid_t>(pid); });
        },
    .virtual_desktop_entered = [](void*, org_kde_plasma_window*, const char*) {},
    .virtual_desktop_left = [](void*, org_kde_plasma_window*, const char*) {},
    .application_menu = [](void*, org_kde_plasma_window*, const char*, const char*) {},
    .activity_entered = [](void*, org_kde_plasma_window*, const char*) {},
    .activity_left = [](void*, org_kde_plasma_window*, const char*) {},
    .resource_name_changed =
        [](void* data, org_kde_plasma_window*, const char* name) {
            apply(data, [&](WaylandWindow& window) { window.resourceName = textOf(name); });
        },
};

constexpr org_kde_plasma_window_management_listener kPlasmaListener{
    .show_desktop_changed = [](void*, org_kde_plasma_window_management*, std::uint32_t) {},
    .window = [](void*, org_kde_plasma_window_management*, std::uint32_t) {},
    .stacking_order_changed = [](void*, org_kde_plasma_window_management*, wl_array*) {},
    .stacking_order_uuid_changed =
        [](void* data, org_kde_plasma_window_management*, const char* uuids) {
            static_cast<Windows*>(data)->stacked(uuids);
        },
    .window_with_uuid = [](void* data, org_kde_plasma_window_management*, std::uint32_t,
                           const char* uuid) { static_cast<Windows*>(data)->addPlasma(uuid); },
};

void Windows::addPlasma(const char* uuid) {
    auto& handle = add();
    handle.now.uuid = handle.pending.uuid = textOf(uuid);
    handle.plasma = org_kde_plasma_window_management_get_window_by_uuid(m_plasma, uuid);
    org_kde_plasma_window_add_listener(handle.plasma, &kPlasmaWindowListener, &handle);
}

// ---- both --------------------------------------------------------------------------------------

void Windows::globalAdded(wl_registry* registry, std::uint32_t name, std::string_view interface,
                          std::uint32_t version) {
    if (interface == wl_seat_interface.name && m_seat == nullptr) {
        m_seat = static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
    } else if (interface == zwlr_foreign_toplevel_manager_v1_interface.name && version >= 2) {
        auto* const manager = static_cast<zwlr_foreign_toplevel_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface,
                             std::min(version, kNewestToplevels)));
        zwlr_foreign_toplevel_manager_v1_add_listener(manager, &kToplevelsListener, this);
        const std::lock_guard lock(m_mutex);
        m_toplevels = manager;
    } else if (interface == org_kde_plasma_window_management_interface.name &&
               version >= kPlasmaWithUuids) {
        auto* const manager = static_cast<org_kde_plasma_window_management*>(
            wl_registry_bind(registry, name, &org_kde_plasma_window_management_interface,
                             std::min(version, kNewestPlasma)));
        org_kde_plasma_window_management_add_listener(manager, &kPlasmaListener, this);
        const std::lock_guard lock(m_mutex);
        m_plasma = manager;
    } else if (interface == kPlasmaShell) {
        const std::lock_guard lock(m_mutex);
        m_hasPlasmaShell = true;
    }
}

void Windows::detach() {
    const std::lock_guard lock(m_mutex);
    for (const auto& handle : m_handles) destroy(*handle);
    m_handles.clear();
    if (m_toplevels != nullptr) zwlr_foreign_toplevel_manager_v1_destroy(m_toplevels);
    if (m_plasma != nullptr) org_kde_plasma_window_management_destroy(m_plasma);
    if (m_seat != nullptr) wl_seat_destroy(m_seat);
    m_toplevels = nullptr;
    m_plasma = nullptr;
    m_seat = nullptr;
}

} // namespace

std::shared_ptr<WaylandWindows> makeWaylandWindows() {
    return std::make_shared<Windows>();
}

} // namespace kelvane
