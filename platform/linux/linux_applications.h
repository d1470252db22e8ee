// The sources by which a desktop's questions are answered, found in the session of this login.

#pragma once

#include "platform/linux/desktop_files.h"
#include "platform/linux/linux_session.h"
#include "platform/linux/rules/desktop_sources.h"
#include "platform/linux/unseen_sources.h"
#include "platform/linux/wayland/wayland_session.h"
#include "platform/linux/x11/x11_applications.h"
#include "platform/ports/clock.h"
#include "platform/ports/environment.h"
#include "platform/ports/own_focus.h"

#include <functional>
#include <memory>
#include <string>

namespace kelvane {

struct LinuxApplications {
    LinuxSession session;
    WaylandPlace place; ///< Empty where the session is not one of Wayland.
    DesktopOffer offer; ///< As it was found.
    DesktopSources sources;
    std::string silentDisplay; ///< Of one that let nobody in within the time it had; else empty.
    std::shared_ptr<WaylandSession> wayland; ///< Not null for the sources Wlroots and KWin.
    /// Of a silent compositor: the session once it has answered.
    std::function<std::unique_ptr<WaylandSession>()> late;
    UnseenSources unseen; ///< Opened where the compositor tells nobody of its windows.
    /// Not null for the source X11; beside Accessibility where there is a server.
    std::shared_ptr<X11Applications> x11;
    std::shared_ptr<DesktopFiles> files; ///< Never null; reads nothing until asked.
};

/// Connects to whom `environment` names, if anybody. The environment is read now and never again;
/// `clock` and `ownFocus` must outlive what is made. `answered` is the session with the compositor,
/// where there is one already.
[[nodiscard]] LinuxApplications
openLinuxApplications(Environment& environment, Clock& clock, OwnFocus& ownFocus, WaylandUse use,
                      std::unique_ptr<WaylandSession> answered = nullptr);

/// Whether the compositor was silent, or did not know this program, or tells nobody while what
/// stands in for it may be late or be turned on: so that more may be told later.
[[nodiscard]] bool mayTellMore(const LinuxApplications& opened);

struct MoreTold {
    bool more = false;
    /// With one that was silent. Null where it was asked over a link of its own, which is not kept.
    std::unique_ptr<WaylandSession> session;
};

/// Of such a one: whether it does now. Waits for at most a second.
[[nodiscard]] MoreTold tellsMore(const LinuxApplications& opened);

[[nodiscard]] InstalledEntries entriesOf(const std::shared_ptr<DesktopFiles>& files);

/// What the X server tells; with nobody there every answer is the absent one. Never null.
[[nodiscard]] std::unique_ptr<Workspace> x11WorkspaceOf(const LinuxApplications& opened);

/// Who is in front and who runs, by the source that was chosen for it. Never null.
[[nodiscard]] std::unique_ptr<Workspace> workspaceOf(const LinuxApplications& opened, Clock& clock);

} // namespace kelvane
