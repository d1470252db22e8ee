#include "app/shell/app_delegate.h"

#include "app/process_settings.h"
#include "platform/ports/bundle_resources.h"
#include "platform/ports/url_opener.h"
#include "text/translation.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace kelvane {

namespace {

using text::translated;

constexpr std::string_view kDemoTitle = "Kelvane Companion";

} // namespace

int renderDemo(const MakeModel& makeModel, PanelRenderer& renderer, const AppCatalog& catalog,
               const std::string& path, std::ostream& out, std::ostream& err) {
    const auto model = makeModel(catalog);
    model->seedDemo();
    const auto picture = renderer.render(*model, kRenderWidth, kRenderScale);
    if (picture == nullptr) {
        err << "render: nil image\n" << std::flush;
        return kRenderFailed;
    }
    const auto png = picture->png();
    if (!png) return kRenderFailed;
    if (const auto error = renderer.write(path, *png)) {
        err << "render: " << *error << '\n' << std::flush;
        return kRenderFailed;
    }
    const auto [width, height] = picture->pixels();
    out << "rendered -> " << path << " (" << width << 'x' << height << ")\n" << std::flush;
    // A full disk, or a reader that has gone, shows only when it is written out.
    if (!out) {
        err << "render: the result could not be printed\n" << std::flush;
        return kRenderFailed;
    }
    return 0;
}

AppDelegate::AppDelegate(Ports ports, Actions actions, LaunchOptions options)
    : m_ports(ports),
      m_actions(std::move(actions)),
      m_options(std::move(options)) {}

AppDelegate::~AppDelegate() {
    // First, so that nothing that was put off runs into what goes.
    m_alive.reset();
}

void AppDelegate::applicationDidFinishLaunching() {
    const AppCatalog catalog = m_actions.loadCatalog(argValue(m_options.args, "--catalog"));
    if (m_options.renderPath) {
        // In the next turn of the loop: ending before it has begun would be lost.
        m_ports.application.later(whileAlive([this, catalog] {
            m_ports.application.terminate(renderDemo(m_actions.makeModel, m_ports.renderer, catalog,
                                                     *m_options.renderPath, m_ports.out,
                                                     m_ports.err));
        }));
        return;
    }
    m_model = m_actions.makeModel(catalog);
    if (std::ranges::find(m_options.args, "--demo") != m_options.args.end()) {
        showDemoWindow();
        return;
    }
    wireHooks();
    makeStatusItem();
    m_popover = m_ports.windows.popover(*m_model);
    const bool firstRun = !m_actions.isInstalled();
    if (firstRun) m_actions.runInstall(true);
    m_model->refresh();
    m_model->takeUpUnderWay();
    m_timer = m_ports.ticker.every(kRefreshInterval, whileAlive([this] {
                                       m_model->refresh();
                                       m_actions.keepService();
                                       tick();
                                   }));
    if (m_options.refreshesCatalog) m_actions.refreshRemoteCatalog();
    m_ports.application.later(whileAlive([this, firstRun] {
        // The program may be quit while it is asked.
        const std::weak_ptr<const bool> alive = m_alive;
        m_actions.applySettings();
        settleGradingPlace();
        // One question after the other, and the first run has enough of its own.
        if (!alive.expired() && !firstRun) m_actions.offerAccessibility(*m_model->limit);
        const bool wished = std::ranges::find(m_options.args, "--settings") != m_options.args.end();
        if (!alive.expired() && wished) openSettings();
    }));
}

void AppDelegate::tick() {
    m_actions.applySettings();
    if (const auto turn = m_actions.newTurn()) tell(*turn);
    m_actions.tellWaiting(m_popover->isShown());
    if (m_menuPauses != m_model->pauseLeft().has_value()) setItemMenu();
}

void AppDelegate::showDemoWindow() {
    m_model->seedDemo();
    m_demoWindow = m_ports.windows.demoWindow(*m_model, kDemoTitle, kDemoWindowSize);
    m_demoWindow->center();
    m_demoWindow->makeKeyAndOrderFront();
    m_ports.application.activate();
    m_ports.out << "WINDOW_ID=" << m_demoWindow->windowNumber().value_or(0) << '\n' << std::flush;
}

void AppDelegate::wireHooks() {
    m_model->onWire = whileAlive([this] {
        // The panel would stand in front of the alert.
        closePopover();
        m_actions.runInstall(false);
    });
    m_model->onGetKey = whileAlive([this] { m_ports.urls.open(m_actions.connectUrl); });
    m_model->onUninstall = whileAlive([this] {
        closePopover();
        m_actions.runUninstall();
    });
    m_model->onAccessibility = whileAlive([this] {
        closePopover();
        m_actions.changeAccessibility();
        m_model->refresh();
    });
    m_model->onHistory = whileAlive([this] {
        closePopover();
        m_actions.showHistory();
    });
    if (m_actions.openSettings) {
        m_model->onSettings = whileAlive([this] { openSettings(); });
    }
    m_model->onVerdict = whileAlive([this] { verdictCame(); });
    m_model->onPreview = whileAlive([this] { openPopover(); });
    m_model->onQuit = whileAlive([this] { m_ports.application.terminate(); });
    m_model->onCapture = whileAlive([this](bool under) {
        if (m_popover == nullptr) return;
        if (under) {
            m_popover->lendKeyboard();
            return;
        }
        m_popover->takeKeyboardBack();
        if (std::exchange(m_opensAfterCapture, false)) openPopover();
    });
    m_model->onOpenReport = whileAlive([this](const std::string& runId) {
        m_actions.reportAddress(
            runId, whileAlive([this](const std::string& address) { m_ports.urls.open(address); }));
    });
}

void AppDelegate::makeStatusItem() {
    m_statusItem = m_ports.windows.statusItem();
    // Without a tray the panel is opened by a second start.
    if (m_statusItem == nullptr) return;
    m_plainImage = trayIcon();
    if (m_plainImage) m_statusItem->setImage(m_plainImage);
    showToolTip();
    m_statusItem->setAction(whileAlive([this] { togglePopover(); }));
    setItemMenu();
}

void AppDelegate::setItemMenu() {
    if (m_statusItem == nullptr) return;
    m_menuPauses = m_model->pauseLeft().has_value();
    std::vector<StatusItem::MenuEntry> entries{
        {translated("Menu", "Open"), whileAlive([this] { openPopover(true); })},
        {translated("Menu", "Where to grade…"), whileAlive([this] { askWhereToGrade(); })},
        {translated("Menu", "History…"), whileAlive([this] { m_model->onHistory(); })}};
    if (m_actions.openSettings) {
        entries.push_back(
            {translated("Menu", "Settings…"), whileAlive([this] { openSettings(); })});
        entries.push_back(
            {m_menuPauses ? translated("Menu", "Resume") : translated("Menu", "Pause for an hour"),
             whileAlive([this] {
                 m_menuPauses ? m_model->resume() : m_model->pause(kPause);
                 // Not now: the entry that was chosen would go.
                 m_ports.application.later(whileAlive([this] { setItemMenu(); }));
             })});
    }
    entries.push_back(
        {translated("Menu", "Quit"), whileAlive([this] { m_ports.application.terminate(); })});
    m_statusItem->setMenu(std::move(entries));
}

void AppDelegate::verdictCame() {
    // Hooked up before there is a popover.
    if (m_popover == nullptr) return;
    m_isVerdictSeen = m_popover->isShown();
    showBadge();
    const auto& verdict = *m_model->verdict;
    if (m_isVerdictSeen || !verdict) return;
    tell({verdictNotice(*verdict, m_model->gradedWork), verdict->runId});
}

void AppDelegate::tell(const Notice& notice) {
    m_actions.tell(notice.notification, m_popover->isShown(),
                   whileAlive([this, runId = notice.runId](const std::string& action) {
                       noticeChosen(action, runId);
                   }));
}

void AppDelegate::noticeChosen(const std::string& action, const std::optional<std::string>& runId) {
    if (action != kNoticeReport) return openPopover();
    if (runId) m_model->onOpenReport(*runId);
}

void AppDelegate::showBadge() {
    const auto badge = badgeOf(*m_model->verdict, m_isVerdictSeen);
    if (m_statusItem == nullptr || badge == m_badge) return;
    m_badge = badge;
    // The plain one is at hand: drawing it would hold up the panel that is just opening.
    if (auto image = badge ? trayIcon() : m_plainImage) m_statusItem->setImage(std::move(image));
    showToolTip();
}

void AppDelegate::showToolTip() {
    if (m_statusItem == nullptr) return;
    const std::string news = badgeTip(*m_model->verdict, m_isVerdictSeen);
    m_statusItem->setToolTip(translated("Menu", "Kelvane — grade your work in any app") +
                             (news.empty() ? "" : "\n" + news));
}

void AppDelegate::languageChanged() {
    if (m_model == nullptr) return;
    showToolTip();
    setItemMenu();
    m_model->refresh();
}

void AppDelegate::openSettings() {
    if (m_model == nullptr || m_popover == nullptr || !m_actions.openSettings) return;
    // The window would stand behind the panel.
    closePopover();
    m_model->refresh();
    m_actions.openSettings(*m_model);
}

void AppDelegate::becameIdle() {
    // To build the panel takes longer than to show it, and the first click need not wait for that.
    if (m_popover != nullptr) m_popover->prepare();
}

void AppDelegate::panelWentAway() {
    // Nobody can say yes to what nobody sees.
    if (m_model != nullptr) m_model->dropPreviewed();
}

std::shared_ptr<const TrayImage> AppDelegate::trayIcon() {
    const auto file = m_ports.resources.url("brask", "png");
    return file ? m_ports.trayImages.load(*file, kTrayIconSize, m_badge) : nullptr;
}

void AppDelegate::togglePopover() {
    if (m_statusItem == nullptr || m_popover == nullptr) return;
    if (m_popover->isShown()) {
        // A second click of a double click finds the panel open, and leaves it.
        if (!m_popover->openedByThisClick()) m_popover->close();
        return;
    }
    // The press of this click has closed it already, as one outside.
    if (m_popover->closedByThisClick()) return;
    showPopover(true);
}

void AppDelegate::openPopover(bool pointerAtItem) {
    if (m_popover == nullptr) return;
    if (m_popover->isShown()) {
        m_popover->makeKey();
        return;
    }
    showPopover(pointerAtItem);
}

void AppDelegate::showPopover(bool pointerAtItem) {
    // Shown with what holds now, not with what held at the last tick.
    m_model->refresh();
    m_popover->show({.item = m_statusItem != nullptr ? m_statusItem->bounds() : std::nullopt,
                     .byPointer = pointerAtItem});
    m_popover->makeKey();
    m_isVerdictSeen = true;
    showBadge();
    m_actions.panelShown();
}

void AppDelegate::settleGradingPlace() {
    m_actions.keepService();
    const bool isWished = std::ranges::find(m_options.args, "--service") != m_options.args.end();
    if (isWished || m_actions.isGradingPlaceUnknown()) askWhereToGrade();
}

void AppDelegate::askWhereToGrade() {
    if (m_popover == nullptr || m_isAsking) return;
    closePopover();
    m_isAsking = true;
    // The program may be quit while it is asked.
    const std::weak_ptr<const bool> alive = m_alive;
    m_actions.askWhereToGrade();
    if (alive.expired()) return;
    m_isAsking = false;
    m_model->refresh();
}

GradeBegun AppDelegate::gradeNow(GradeWish wish) {
    if (m_popover == nullptr) return GradeBegun::NothingInFront;
    if (*m_model->grading) return GradeBegun::Already;
    m_model->refresh();
    if (*m_model->refusal) {
        return m_model->pauseLeft() ? GradeBegun::Paused : GradeBegun::NeverCaptured;
    }
    if (!m_model->detected->app) return GradeBegun::NothingInFront;
    if (!*m_model->hasKey) return GradeBegun::NoKey;
    m_opensAfterCapture = true;
    m_model->grade(wish);
    return GradeBegun::Yes;
}

void AppDelegate::closePopover() {
    if (m_popover != nullptr && m_popover->isShown()) m_popover->close();
}

} // namespace kelvane
