#include "platform/linux/renewed_desktop.h"

#include <mutex>
#include <utility>

namespace kelvane {

namespace {

/// Whoever has taken a desktop keeps it: an answer may be under way while another one comes.
class Renewal {
public:
    Renewal(LinuxDesktop first, std::function<std::optional<LinuxDesktop>()> look)
        : m_look(std::move(look)),
          m_now(std::make_shared<LinuxDesktop>(std::move(first))),
          m_capturing(m_now) {}

    std::shared_ptr<LinuxDesktop> now() const {
        const std::lock_guard lock(m_mutex);
        return m_now;
    }
    /// The one of the capture that began last: what one clipboard remembers no other puts back.
    std::shared_ptr<LinuxDesktop> capturing() const {
        const std::lock_guard lock(m_mutex);
        return m_capturing;
    }
    std::shared_ptr<LinuxDesktop> beginCapture() {
        const std::lock_guard lock(m_mutex);
        return m_capturing = m_now;
    }

    void look() {
        // Whoever comes meanwhile goes on with what there is.
        const std::unique_lock looking(m_looking, std::try_to_lock);
        if (!looking || !m_look) return;
        auto found = m_look();
        if (!found) return;
        m_look = nullptr;
        auto next = std::make_shared<LinuxDesktop>(std::move(*found));
        const std::lock_guard lock(m_mutex);
        m_now = std::move(next);
    }

private:
    std::mutex m_looking; ///< Guards the next.
    std::function<std::optional<LinuxDesktop>()> m_look;
    mutable std::mutex m_mutex; ///< Guards what follows.
    std::shared_ptr<LinuxDesktop> m_now;
    std::shared_ptr<LinuxDesktop> m_capturing;
};

/// One port, which asks whoever answers now.
template <typename Port>
class Renewed : public Port {
public:
    explicit Renewed(std::shared_ptr<Renewal> renewal) : m_renewal(std::move(renewal)) {}

protected:
    [[nodiscard]] Renewal& renewal() const { return *m_renewal; }
    [[nodiscard]] std::shared_ptr<LinuxDesktop> ports() const { return m_renewal->now(); }

private:
    const std::shared_ptr<Renewal> m_renewal;
};

class RenewedWorkspace : public Renewed<Workspace> {
public:
    using Renewed::Renewed;
    std::optional<RunningApp> frontmost() override { return ports()->workspace->frontmost(); }
    std::vector<RunningApp> runningApplications() override {
        return ports()->workspace->runningApplications();
    }
    std::vector<RunningApp> instancesOf(std::string_view bundleId) override {
        return ports()->workspace->instancesOf(bundleId);
    }
    bool activate(ProcessId pid) override { return ports()->workspace->activate(pid); }
    bool activateWindow(ProcessId pid, std::int64_t window) override {
        return ports()->workspace->activateWindow(pid, window);
    }
    std::optional<std::string> silentDisplay() override {
        return ports()->workspace->silentDisplay();
    }
};

class RenewedKeyboard : public Renewed<Keyboard> {
public:
    using Renewed::Renewed;
    bool trusted() override { return ports()->keyboard->trusted(); }
    void postCopy(ProcessId target) override { renewal().capturing()->keyboard->postCopy(target); }
};

class RenewedPasteboard : public Renewed<Pasteboard> {
public:
    using Renewed::Renewed;
    std::optional<std::string> string() override { return clipboard()->pasteboard->string(); }
    std::int64_t changeCount() override { return clipboard()->pasteboard->changeCount(); }
    void clearContents() override { clipboard()->pasteboard->clearContents(); }
    void setString(std::string_view text) override { clipboard()->pasteboard->setString(text); }
    PasteboardMemory remember() override {
        return renewal().beginCapture()->pasteboard->remember();
    }
    void putBack(const PasteboardMemory& memory) override {
        clipboard()->pasteboard->putBack(memory);
    }

private:
    [[nodiscard]] std::shared_ptr<LinuxDesktop> clipboard() const { return renewal().capturing(); }
};

class RenewedWindowList : public Renewed<WindowList> {
public:
    using Renewed::Renewed;
    std::optional<std::vector<WindowInfo>> onScreenWindows() override {
        return ports()->windowList->onScreenWindows();
    }
};

class RenewedWindowPicture : public Renewed<WindowPicture> {
public:
    using Renewed::Renewed;
    std::optional<std::string> png(std::int64_t number) override {
        return ports()->windowPicture->png(number);
    }
};

class RenewedPanelPlace : public Renewed<PanelPlace> {
public:
    using Renewed::Renewed;
    bool settle() override { return ports()->panelPlace->settle(); }
};

class RenewedLimits : public Renewed<DesktopLimits> {
public:
    using Renewed::Renewed;
    DesktopLimit now() override {
        renewal().look();
        return ports()->limits->now();
    }
};

} // namespace

LinuxDesktop makeRenewedDesktop(LinuxDesktop first,
                                std::function<std::optional<LinuxDesktop>()> look) {
    LinuxDesktop desktop;
    desktop.accessibility = std::move(first.accessibility);
    desktop.icons = std::move(first.icons);
    desktop.pointerPresses = std::move(first.pointerPresses);
    desktop.shortcut = std::move(first.shortcut);
    desktop.hold = std::move(first.hold);
    desktop.compositing = std::move(first.compositing);
    const auto renewal = std::make_shared<Renewal>(std::move(first), std::move(look));
    desktop.workspace = std::make_unique<RenewedWorkspace>(renewal);
    desktop.keyboard = std::make_unique<RenewedKeyboard>(renewal);
    desktop.pasteboard = std::make_unique<RenewedPasteboard>(renewal);
    desktop.windowList = std::make_unique<RenewedWindowList>(renewal);
    desktop.windowPicture = std::make_unique<RenewedWindowPicture>(renewal);
    desktop.panelPlace = std::make_unique<RenewedPanelPlace>(renewal);
    desktop.limits = std::make_unique<RenewedLimits>(renewal);
    return desktop;
}

} // namespace kelvane
