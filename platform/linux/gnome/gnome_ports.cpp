#include "platform/linux/gnome/gnome_ports.h"

#include "platform/linux/common/process_facts.h"
#include "platform/linux/common/read_selection.h"
#include "platform/linux/rules/copy_rules.h"
#include "platform/linux/rules/window_identity.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

/// A window and whose it is.
struct OwnedWindow {
    GnomeWindow window;
    RunningApp app;
};

class GnomeApplications {
public:
    GnomeApplications(std::shared_ptr<GnomeExtension> extension, InstalledEntries installed)
        : m_extension(std::move(extension)),
          m_installed(std::move(installed)) {}

    [[nodiscard]] GnomeExtension& extension() const { return *m_extension; }

    /// Front to back; absent without the extension.
    [[nodiscard]] std::optional<std::vector<OwnedWindow>> windows() const {
        auto told = m_extension->windows();
        if (!told) return std::nullopt;
        const auto index = m_installed();
        std::vector<OwnedWindow> owned;
        for (auto& window : *told) {
            WindowFacts facts;
            facts.process = window.process;
            addProcessFacts(facts);
            facts.wmClass = window.wmClass;
            facts.title = window.title;
            // The shell makes names up for windows without a desktop file ("window:12").
            if (window.appId.ends_with(".desktop")) facts.kdeDesktopFile = window.appId;
            auto identity = identify(facts, *index);
            if (!identity) continue;
            const auto number = processIdOf(window.process, identity->id);
            owned.push_back(
                {std::move(window), {std::move(identity->id), std::move(identity->name), number}});
        }
        return owned;
    }

    [[nodiscard]] std::optional<OwnedWindow> front() const {
        for (auto& window : windows().value_or(std::vector<OwnedWindow>{})) {
            if (window.window.focused) return std::move(window);
        }
        return std::nullopt;
    }

private:
    std::shared_ptr<GnomeExtension> m_extension;
    InstalledEntries m_installed;
};

using Shared = std::shared_ptr<const GnomeApplications>;

class GnomeWorkspace : public Workspace {
public:
    explicit GnomeWorkspace(Shared applications) : m_applications(std::move(applications)) {}

    std::optional<RunningApp> frontmost() override {
        auto front = m_applications->front();
        if (!front) return std::nullopt;
        return std::move(front->app);
    }

    std::vector<RunningApp> runningApplications() override {
        std::vector<RunningApp> running;
        for (auto& window : m_applications->windows().value_or(std::vector<OwnedWindow>{})) {
            const bool known = std::ranges::any_of(
                running, [&](const RunningApp& app) { return app.pid == window.app.pid; });
            if (!known) running.push_back(std::move(window.app));
        }
        return running;
    }

    bool activate(ProcessId pid) override {
        for (const auto& window : m_applications->windows().value_or(std::vector<OwnedWindow>{})) {
            if (window.app.pid == pid) {
                return m_applications->extension().activate(window.window.number);
            }
        }
        return false;
    }

private:
    Shared m_applications;
};

class GnomeKeyboard : public Keyboard {
public:
    GnomeKeyboard(Shared applications, std::shared_ptr<AccessibleDesktop> accessible,
                  std::shared_ptr<ReadSelection> selection)
        : m_applications(std::move(applications)),
          m_accessible(std::move(accessible)),
          m_selection(std::move(selection)) {}

    bool trusted() override { return m_applications->windows().has_value(); }

    void postCopy(ProcessId target) override {
        const auto front = m_applications->front();
        if (!front || front->app.pid != target) return;
        const auto primary = m_applications->extension().primary(front->window.number);
        if (primary && primary->age <= kFreshSelection) {
            m_selection->set(primary->text);
        } else if (m_accessible) {
            m_selection->set(m_accessible->selectedText(target));
        }
    }

private:
    Shared m_applications;
    std::shared_ptr<AccessibleDesktop> m_accessible;
    std::shared_ptr<ReadSelection> m_selection;
};

class GnomeWindowList : public WindowList {
public:
    explicit GnomeWindowList(Shared applications) : m_applications(std::move(applications)) {}

    std::optional<std::vector<WindowInfo>> onScreenWindows() override {
        const auto windows = m_applications->windows();
        if (!windows) return std::nullopt;
        std::vector<WindowInfo> list;
        for (const auto& window : *windows) {
            if (!window.window.onScreen) continue;
            list.push_back({window.app.pid, 0,
                            WindowBounds{static_cast<double>(window.window.width),
                                         static_cast<double>(window.window.height)},
                            static_cast<std::int64_t>(window.window.number)});
        }
        return list;
    }

private:
    Shared m_applications;
};

class GnomeWindowPicture : public WindowPicture {
public:
    explicit GnomeWindowPicture(std::shared_ptr<GnomeExtension> extension)
        : m_extension(std::move(extension)) {}

    std::optional<std::string> png(std::int64_t windowNumber) override {
        return m_extension->picture(static_cast<std::uint64_t>(windowNumber));
    }

private:
    std::shared_ptr<GnomeExtension> m_extension;
};

class GnomePanelPlace : public PanelPlace {
public:
    GnomePanelPlace(std::shared_ptr<GnomeExtension> extension, Clock& clock)
        : m_extension(std::move(extension)),
          m_clock(clock) {}

    bool settle() override {
        // The shell knows a window some frames after it was shown.
        constexpr std::chrono::milliseconds kPatience{500};
        constexpr std::chrono::milliseconds kLook{40};
        const auto end = m_clock.now() + kPatience;
        for (;;) {
            if (m_extension->placePanel()) return true;
            if (m_clock.now() >= end || m_clock.sleep(kLook) == SleepEnd::Quitting) return false;
        }
    }

private:
    std::shared_ptr<GnomeExtension> m_extension;
    Clock& m_clock;
};

} // namespace

GnomePorts makeGnomePorts(std::shared_ptr<GnomeExtension> extension,
                          std::shared_ptr<AccessibleDesktop> accessible, InstalledEntries installed,
                          Clock& clock) {
    const auto applications =
        std::make_shared<const GnomeApplications>(extension, std::move(installed));
    const auto selection = std::make_shared<ReadSelection>();
    return {std::make_unique<GnomeWorkspace>(applications),
            std::make_unique<GnomeKeyboard>(applications, std::move(accessible), selection),
            makeReadPasteboard(selection),
            std::make_unique<GnomeWindowList>(applications),
            std::make_unique<GnomeWindowPicture>(extension),
            std::make_unique<GnomePanelPlace>(std::move(extension), clock)};
}

} // namespace kelvane
