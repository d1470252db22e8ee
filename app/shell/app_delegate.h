// What the program does as an application, and in which order.
//
// One of three shapes, chosen once: a picture of the panel and out; a demonstration window; or the
// item in the menu bar with its popover, kept up to date by a timer. The delegate holds what lives
// as long as the application and does nothing itself: everything it causes goes through the shell's
// ports and a few functions, so that the order of it all can be read here and tested.
//
// Main thread only. What the hooks, the item and the timer call looks first whether the delegate is
// still there: none of them keeps it alive.

#pragma once

#include "app/companion_model.h"
#include "app/instance_place.h"
#include "app/shell/shell_ports.h"
#include "app/verdict_notice.h"
#include "catalog/app_catalog.h"

#include <chrono>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class BundleResources;
class UrlOpener;

inline constexpr int kRenderWidth = 360;
inline constexpr double kRenderScale = 2.0;
inline constexpr Size kDemoWindowSize{360, 560};
inline constexpr int kTrayIconSize = 18;
inline constexpr std::chrono::milliseconds kRefreshInterval{4'000};
/// Of "Pause for an hour".
inline constexpr std::chrono::hours kPause{1};
/// What the program ends with when the picture could not be made.
inline constexpr int kRenderFailed = 3;

/// How the program was started.
struct LaunchOptions {
    std::vector<std::string> args;         ///< All of them, the program's path first.
    std::optional<std::string> renderPath; ///< Present: only the picture is wanted.
    bool refreshesCatalog = true;          ///< Fetch the newest catalog for the next start.
};

using MakeModel = std::function<std::unique_ptr<CompanionModel>(const AppCatalog&)>;

/// Draws the demonstration panel into a PNG file at `path`: what became of it, on the one stream or
/// the other, and the status to end with, 0 or `kRenderFailed`.
[[nodiscard]] int renderDemo(const MakeModel& makeModel, PanelRenderer& renderer,
                             const AppCatalog& catalog, const std::string& path, std::ostream& out,
                             std::ostream& err);

class AppDelegate {
public:
    /// All of it must outlive the delegate.
    struct Ports {
        Application& application;
        Windows& windows;
        TrayImages& trayImages;
        PanelRenderer& renderer;
        Ticker& ticker;
        BundleResources& resources;
        UrlOpener& urls;
        std::ostream& out;
        std::ostream& err;
    };

    /// The operations of the rest of the program that the shell calls.
    struct Actions {
        std::function<AppCatalog(const std::optional<std::string>& explicitPath)> loadCatalog;
        MakeModel makeModel;
        std::function<bool()> isInstalled;
        std::function<void(bool firstRun)> runInstall;
        std::function<void()> runUninstall;
        std::function<void()> refreshRemoteCatalog;
        /// Whether nobody has said yet where to grade.
        std::function<bool()> isGradingPlaceUnknown = [] { return false; };
        /// Asks that in a window of its own, and returns when it is answered.
        std::function<void()> askWhereToGrade = [] {};
        /// Sees to it that the service that was chosen is there.
        std::function<void()> keepService = [] {};
        /// Sees to it that what was set is in use.
        std::function<void()> applySettings = [] {};
        std::function<void(const DesktopLimit&)> offerAccessibility;
        std::function<void()> changeAccessibility;
        /// Shows the verdicts of the past in a window of their own.
        std::function<void()> showHistory = [] {};
        /// Opens the window of settings, or brings it forward. Empty: there is none.
        std::function<void(CompanionModel&)> openSettings = nullptr;
        std::function<void()> panelShown; ///< A window of the panel's has just been shown.
        /// Tells by a message of the desktop's, which may be later or never; see `Notifier`.
        std::function<void(Notification, bool panelIsShown, Notifier::Chosen)> tell =
            [](const Notification&, bool, const Notifier::Chosen&) {};
        std::function<void(bool panelIsShown)> tellWaiting = [](bool) {}; ///< What waits.
        /// What an agent's turn has brought since it was asked last.
        std::function<std::optional<Notice>()> newTurn = [] { return std::nullopt; };
        std::string connectUrl;
        /// Hands the address of the report on a run to `open`, at once or soon, on this thread.
        std::function<void(const std::string& runId, std::function<void(const std::string&)> open)>
            reportAddress;
    };

    AppDelegate(Ports ports, Actions actions, LaunchOptions options);
    ~AppDelegate();
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    /// Called once, when the event loop is about to run.
    void applicationDidFinishLaunching();

    /// A click on the item: closes the popover when it is shown, else opens it with fresh state.
    /// Nothing without an item.
    void togglePopover();

    /// Opens the popover, or gives it the keyboard when it is open: the program was started again,
    /// or the user asked for it by name. Nothing in the shapes that have no popover.
    void openPopover(bool pointerAtItem = false);

    /// Asks where to grade, for the first time or anew. Nothing while it is being asked, and in the
    /// shapes that have no popover.
    void askWhereToGrade();

    /// The texts are in another language now: says anew what says itself only once.
    void languageChanged();

    /// Opens the window of settings. Nothing in the shapes that have no popover.
    void openSettings();

    /// Nothing has happened for a while, and nothing is waited for.
    void becameIdle();

    /// The popover has gone from sight, by whatever cause.
    void panelWentAway();

    /// Looks what is in front and begins to grade it, as the panel's button does; the panel opens
    /// once the work is captured.
    [[nodiscard]] GradeBegun gradeNow(GradeWish wish);

    /// The item's picture as it is now; null when the bundle has none or it is unreadable.
    [[nodiscard]] std::shared_ptr<const TrayImage> trayIcon();

    /// Null before launch and when a picture was wanted.
    [[nodiscard]] CompanionModel* model() { return m_model.get(); }

private:
    void showDemoWindow();
    void wireHooks();
    void makeStatusItem();
    void setItemMenu();
    void showBadge();
    void showToolTip();
    void verdictCame();
    void tell(const Notice& notice);
    void noticeChosen(const std::string& action, const std::optional<std::string>& runId);
    void tick();
    void settleGradingPlace();
    void closePopover();
    void showPopover(bool pointerAtItem);

    /// `work`, unless the delegate has gone by the time it is called.
    template <typename Work>
    [[nodiscard]] auto whileAlive(Work work) const {
        return [alive = std::weak_ptr(m_alive), work = std::move(work)](auto&&... values) {
            if (!alive.expired()) work(std::forward<decltype(values)>(values)...);
        };
    }

    Ports m_ports;
    Actions m_actions;
    LaunchOptions m_options;
    bool m_menuPauses = false; ///< The item's menu offers to end a pause.
    bool m_isVerdictSeen = true;
    std::optional<Tint> m_badge;                   ///< As the item shows it.
    std::shared_ptr<const TrayImage> m_plainImage; ///< Without a badge; null: there is none.
    bool m_isAsking = false;
    bool m_opensAfterCapture = false;
    // What shows the model goes before it does.
    std::unique_ptr<CompanionModel> m_model;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<Popover> m_popover;
    std::unique_ptr<Timer> m_timer;
    std::unique_ptr<DemoWindow> m_demoWindow;
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true);
};

} // namespace kelvane
