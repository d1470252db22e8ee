#include "app/shell/app_delegate.h"

#include "app/process_settings.h"
#include "app/settings/settings_store.h"
#include "platform/fake/fakes.h"
#include "text/translation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace kelvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Steps = std::vector<std::string>;

std::string text(const Rect& rect) {
    return std::to_string(rect.x) + "," + std::to_string(rect.y) + " " +
           std::to_string(rect.width) + "x" + std::to_string(rect.height);
}

struct FakeTrayImage : TrayImage {};

class FakeTrayImages : public TrayImages {
public:
    explicit FakeTrayImages(Journal& journal) : m_journal(journal) {}
    bool readable = true;

    std::shared_ptr<const TrayImage> load(const std::filesystem::path& file, int side,
                                          std::optional<Tint> badge) override {
        m_journal.add("load " + file.string() + " " + std::to_string(side) +
                      (badge ? " dot " + std::to_string(static_cast<int>(*badge)) : ""));
        return readable ? std::make_shared<FakeTrayImage>() : nullptr;
    }

private:
    Journal& m_journal;
};

/// What the item and the popover look like now; outlives both.
struct ShellState {
    bool hasItem = true;
    std::optional<Rect> itemBounds;
    std::function<void()> click;
    std::vector<StatusItem::MenuEntry> menu;
    bool popoverShown = false;
    bool closedByThisClick = false;
    bool openedByThisClick = false;
    std::optional<std::int64_t> windowNumber = 4'194'310;
    std::function<void()> tick;
    std::chrono::milliseconds interval{0};
};

class FakeStatusItem : public StatusItem {
public:
    FakeStatusItem(Journal& journal, ShellState& state) : m_journal(journal), m_state(state) {
        m_journal.add("item made");
    }
    ~FakeStatusItem() override { m_journal.add("item gone"); }

    void setImage(std::shared_ptr<const TrayImage> image) override {
        m_journal.add(image != nullptr ? "item image" : "item no image");
    }
    void setToolTip(std::string_view tip) override {
        m_journal.add("item tip " + std::string(tip));
    }
    void setAction(std::function<void()> action) override {
        m_journal.add("item action");
        m_state.click = std::move(action);
    }
    void setMenu(std::vector<MenuEntry> entries) override { m_state.menu = std::move(entries); }
    std::optional<Rect> bounds() const override { return m_state.itemBounds; }

private:
    Journal& m_journal;
    ShellState& m_state;
};

class FakePopover : public Popover {
public:
    FakePopover(Journal& journal, ShellState& state) : m_journal(journal), m_state(state) {
        m_journal.add("popover made");
    }
    ~FakePopover() override { m_journal.add("popover gone"); }

    bool isShown() const override { return m_state.popoverShown; }
    bool closedByThisClick() const override { return m_state.closedByThisClick; }
    bool openedByThisClick() const override { return m_state.openedByThisClick; }
    void prepare() override { m_journal.add("popover prepare"); }
    void show(const PopoverAnchor& anchor) override {
        m_state.popoverShown = true;
        m_journal.add("popover show " + (anchor.item ? text(*anchor.item) : "nowhere") +
                      (anchor.byPointer ? " by pointer" : ""));
    }
    void makeKey() override { m_journal.add("popover key"); }
    void lendKeyboard() override { m_journal.add("popover lends"); }
    void takeKeyboardBack() override { m_journal.add("popover takes back"); }
    void close() override {
        m_state.popoverShown = false;
        m_journal.add("popover close");
    }

private:
    Journal& m_journal;
    ShellState& m_state;
};

class FakeDemoWindow : public DemoWindow {
public:
    FakeDemoWindow(Journal& journal, ShellState& state) : m_journal(journal), m_state(state) {}
    ~FakeDemoWindow() override { m_journal.add("window gone"); }

    void center() override { m_journal.add("window center"); }
    void makeKeyAndOrderFront() override { m_journal.add("window front"); }
    std::optional<std::int64_t> windowNumber() const override { return m_state.windowNumber; }

private:
    Journal& m_journal;
    ShellState& m_state;
};

class FakeWindows : public Windows {
public:
    FakeWindows(Journal& journal, ShellState& state) : m_journal(journal), m_state(state) {}

    std::unique_ptr<StatusItem> statusItem() override {
        if (!m_state.hasItem) return nullptr;
        return std::make_unique<FakeStatusItem>(m_journal, m_state);
    }
    std::unique_ptr<Popover> popover(CompanionModel&) override {
        return std::make_unique<FakePopover>(m_journal, m_state);
    }
    std::unique_ptr<DemoWindow> demoWindow(CompanionModel& model, std::string_view title,
                                           Size content) override {
        seeded = model.verdict->has_value() && model.verdict.get()->runId == "demo-run";
        m_journal.add("window made " + std::string(title) + " " + std::to_string(content.width) +
                      "x" + std::to_string(content.height));
        return std::make_unique<FakeDemoWindow>(m_journal, m_state);
    }

    bool seeded = false;

private:
    Journal& m_journal;
    ShellState& m_state;
};

struct FakePicture : RenderedPanel {
    explicit FakePicture(std::optional<std::string> given) : bytes(std::move(given)) {}
    Size pixels() const override { return {720, 1044}; }
    std::optional<std::string> png() const override { return bytes; }
    std::optional<std::string> bytes;
};

class FakeRenderer : public PanelRenderer {
public:
    explicit FakeRenderer(Journal& journal) : m_journal(journal) {}

    bool drawsNothing = false;
    std::optional<std::string> png = "PNG";
    std::optional<std::string> writeError;
    bool seeded = false;

    std::unique_ptr<RenderedPanel> render(CompanionModel& model, int width, double scale) override {
        seeded = model.hasKey.get() && model.agents->size() == 4;
        m_journal.add("render " + std::to_string(width) + " at " +
                      std::to_string(static_cast<int>(scale * 10)) + "/10");
        return drawsNothing ? nullptr : std::make_unique<FakePicture>(png);
    }
    std::optional<std::string> write(const std::filesystem::path& file,
                                     std::string_view bytes) override {
        m_journal.add("write " + file.string() + " " + std::string(bytes));
        return writeError;
    }

private:
    Journal& m_journal;
};

class FakeTicker : public Ticker {
public:
    FakeTicker(Journal& journal, ShellState& state) : m_journal(journal), m_state(state) {}

    std::unique_ptr<Timer> every(std::chrono::milliseconds interval,
                                 std::function<void()> block) override {
        m_journal.add("tick every " + std::to_string(interval.count()) + "ms");
        m_state.tick = std::move(block);
        return std::make_unique<FakeTimer>(m_journal);
    }

private:
    struct FakeTimer : Timer {
        explicit FakeTimer(Journal& steps) : journal(steps) {}
        ~FakeTimer() override { journal.add("timer gone"); }
        Journal& journal;
    };
    Journal& m_journal;
    ShellState& m_state;
};

class FakeApplication : public Application {
public:
    explicit FakeApplication(Journal& journal) : m_journal(journal) {}
    std::vector<std::function<void()>> jobs;

    void activate() override { m_journal.add("activate"); }
    void terminate(int status) override { m_journal.add("terminate " + std::to_string(status)); }
    void later(std::function<void()> job) override { jobs.push_back(std::move(job)); }

    void runJobs() {
        for (const auto& job : std::exchange(jobs, {})) job();
    }

private:
    Journal& m_journal;
};

AppCatalog figmaCatalog() {
    CatalogApp app;
    app.id = "figma";
    app.name = "Figma";
    app.bundleIds = {"com.figma.Desktop"};
    app.primaryModality = "ui_ux";
    app.capture = "export";
    return AppCatalog({app});
}

RunningApp figma() {
    RunningApp app;
    app.pid = 42;
    app.bundleId = "com.figma.Desktop";
    app.name = "Figma";
    return app;
}

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() {
        platform.resources.resources["brask.png"] = "/bundle/brask.png";
        platform.processes.results["/bin/ps"] = {.status = 0, .output = ""};
        // Every refresh lists the processes once: that is how it shows in the journal.
        platform.processes.onRun = [this](const ProcessRequest&) { steps.add("refresh"); };
    }

    AppDelegate& start(std::vector<std::string> switches = {},
                       std::optional<std::string> renderPath = std::nullopt) {
        std::vector<std::string> args{"/bundle/Kelvane"};
        args.insert(args.end(), switches.begin(), switches.end());
        delegate.emplace(ports(), actions(),
                         LaunchOptions{.args = args, .renderPath = std::move(renderPath)});
        delegate->applicationDidFinishLaunching();
        return *delegate;
    }

    AppDelegate::Ports ports() {
        return {.application = application,
                .windows = windows,
                .trayImages = trayImages,
                .renderer = renderer,
                .ticker = ticker,
                .resources = platform.resources,
                .urls = urls,
                .out = out,
                .err = err};
    }

    AppDelegate::Actions actions() {
        return {
            .loadCatalog =
                [this](const std::optional<std::string>& path) {
                    steps.add("catalog " + path.value_or("(none)"));
                    return figmaCatalog();
                },
            .makeModel = makeModel(),
            .isInstalled =
                [this] {
                    steps.add("installed?");
                    return installed;
                },
            .runInstall =
                [this](bool firstRun) { steps.add(firstRun ? "install first" : "install again"); },
            .runUninstall = [this] { steps.add("uninstall"); },
            .refreshRemoteCatalog = [this] { steps.add("catalog refresh"); },
            .isGradingPlaceUnknown = [this] { return placeIsUnknown; },
            .askWhereToGrade =
                [this] {
                    steps.add("ask where");
                    if (whileAsked) whileAsked();
                },
            .keepService = [this] { steps.add("keep service"); },
            .offerAccessibility =
                [this](const DesktopLimit& limit) { steps.add("offer" + limit.line); },
            .changeAccessibility = [this] { steps.add("change accessibility"); },
            .showHistory = [this] { steps.add("show history"); },
            .openSettings = hasSettings ? std::function<void(CompanionModel&)>(
                                              [this](CompanionModel&) { steps.add("settings"); })
                                        : nullptr,
            .panelShown = [this] { ++timesPanelShown; },
            .tell =
                [this](const Notification& notice, bool, Notifier::Chosen chosen) {
                    steps.add("tell " + notice.title);
                    choose = std::move(chosen);
                },
            .tellWaiting = [this](bool shown) { tickSawPanel = shown; },
            .newTurn = [this] { return std::exchange(turn, std::nullopt); },
            .connectUrl = "https://service.example/connect?from=macos-app",
            .reportAddress =
                [this](const std::string& runId, auto open) {
                    openReport = [runId, open] {
                        open("https://service.example/console?run=" + runId);
                    };
                    if (!serviceIsSlow) openReport();
                }};
    }

    MakeModel makeModel() {
        return [this](const AppCatalog& catalog) {
            steps.add("model");
            return std::make_unique<CompanionModel>(
                CompanionModel::Ports{.workspace = platform.workspace,
                                      .processes = platform.processes,
                                      .files = platform.files,
                                      .environment = platform.environment,
                                      .http = platform.http,
                                      .clock = platform.clock,
                                      .dispatcher = platform.dispatcher,
                                      .capture = [this](const DetectedApp& app) -> CaptureResult {
                                          captured = app.app->capture;
                                          return captureGives;
                                      },
                                      .settings = settings},
                catalog, "/home/me");
        };
    }

    /// What has happened since the last call.
    Steps happened() {
        auto entries = steps.entries();
        steps.clear();
        return entries;
    }

    FakePlatform platform;
    Journal steps;
    ShellState state;
    FakeApplication application{steps};
    FakeWindows windows{steps, state};
    FakeTrayImages trayImages{steps};
    FakeRenderer renderer{steps};
    FakeTicker ticker{steps, state};
    FakeUrlOpener urls{steps};
    std::ostringstream out;
    std::ostringstream err;
    bool installed = true;
    bool serviceIsSlow = false;
    bool placeIsUnknown = false;
    bool hasSettings = false;
    SettingsStore* settings = nullptr;
    void captureWords() {
        captureGives.ok = true;
        captureGives.parts = {{.mimeType = "text/plain",
                               .text = "words",
                               .dataB64 = std::nullopt,
                               .logicalName = "work.txt"}};
    }

    CaptureResult captureGives;
    std::string captured; ///< How the last capture was to be made.
    std::function<void()> whileAsked;
    int timesPanelShown = 0;
    std::function<void()> openReport; ///< As a slow service answers.
    Notifier::Chosen choose;          ///< What was told last.
    std::optional<bool> tickSawPanel;
    std::optional<Notice> turn; ///< What an agent's turn has brought.
    std::optional<AppDelegate> delegate;
};

TEST_F(AppDelegateTest, NormalLaunchDoesEverythingInOrder) {
    installed = false;
    start();
    EXPECT_THAT(happened(),
                ElementsAre("catalog (none)", "model", "item made", "load /bundle/brask.png 18",
                            "item image", "item tip Kelvane — grade your work in any app",
                            "item action", "popover made", "installed?", "install first", "refresh",
                            "tick every 4000ms", "catalog refresh"));
    EXPECT_EQ(out.str() + err.str(), "");
}

TEST_F(AppDelegateTest, WhoWantsNoRefreshOfTheCatalogHasNone) {
    delegate.emplace(ports(), actions(),
                     LaunchOptions{.args = {"/bundle/Kelvane"},
                                   .renderPath = std::nullopt,
                                   .refreshesCatalog = false});
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(steps.count("catalog refresh"), 0U);
    EXPECT_EQ(steps.count("tick every"), 1U);
}

TEST_F(AppDelegateTest, HooksAreWiredBeforeTheItemIsMade) {
    // The item's own making is the moment at which the hooks are looked at.
    struct Looking : FakeWindows {
        using FakeWindows::FakeWindows;
        std::unique_ptr<StatusItem> statusItem() override {
            look();
            return FakeWindows::statusItem();
        }
        std::function<void()> look;
    } looking(steps, state);
    auto withLooking = ports();
    AppDelegate::Ports all{withLooking.application, looking,
                           withLooking.trayImages,  withLooking.renderer,
                           withLooking.ticker,      withLooking.resources,
                           withLooking.urls,        withLooking.out,
                           withLooking.err};
    delegate.emplace(all, actions(), LaunchOptions{{"Kelvane"}, std::nullopt});
    looking.look = [this] { delegate->model()->onQuit(); };
    delegate->applicationDidFinishLaunching();
    const auto order = happened();
    EXPECT_LT(std::ranges::find(order, "terminate 0"), std::ranges::find(order, "item made"));
}

TEST_F(AppDelegateTest, AnInstalledValidatorIsNotInstalledAgain) {
    installed = true;
    start();
    EXPECT_EQ(steps.count("installed?"), 1U);
    EXPECT_EQ(steps.count("install "), 0U);
}

TEST_F(AppDelegateTest, AccessibilityIsOfferedOnceTheProgramRunsAndNeverInTheFirstRun) {
    start();
    EXPECT_EQ(steps.count("offer"), 0U) << "not before the loop runs";
    application.runJobs();
    EXPECT_EQ(steps.count("offer"), 1U);
    delegate.reset();
    happened();
    installed = false;
    start();
    application.runJobs();
    EXPECT_EQ(steps.count("offer"), 0U);
}

TEST_F(AppDelegateTest, ThePanelClosesBeforeAccessibilityIsChanged) {
    start();
    state.click();
    happened();
    delegate->model()->onAccessibility();
    EXPECT_THAT(happened(), ElementsAre("popover close", "change accessibility", "refresh"));
}

TEST_F(AppDelegateTest, CatalogSwitchGivesTheExplicitPath) {
    start({"--catalog", "/some/catalog.json"});
    EXPECT_EQ(happened().front(), "catalog /some/catalog.json");
}

TEST_F(AppDelegateTest, CatalogSwitchAsTheLastArgumentGivesNoPath) {
    start({"--catalog"});
    EXPECT_EQ(happened().front(), "catalog (none)");
}

TEST_F(AppDelegateTest, MissingTrayIconLeavesTheItemWithoutImageButAlive) {
    platform.resources.resources.clear();
    start();
    EXPECT_EQ(steps.count("load"), 0U);
    EXPECT_EQ(steps.count("item image"), 0U);
    EXPECT_EQ(steps.count("item tip"), 1U);
    happened();
    state.click();
    EXPECT_TRUE(state.popoverShown);
}

TEST_F(AppDelegateTest, UnreadableTrayIconLeavesTheItemWithoutImage) {
    trayImages.readable = false;
    start();
    EXPECT_EQ(steps.count("load"), 1U);
    EXPECT_EQ(steps.count("item image"), 0U);
    EXPECT_EQ(steps.count("item no image"), 0U);
    EXPECT_EQ(steps.count("item action"), 1U);
}

TEST_F(AppDelegateTest, EveryTickRefreshesOnceAndNothingElse) {
    start();
    happened();
    state.tick();
    state.tick();
    EXPECT_THAT(happened(), ElementsAre("refresh", "keep service", "refresh", "keep service"));
    EXPECT_EQ(tickSawPanel, false) << "what waits to be told is looked at";
    state.popoverShown = true;
    state.tick();
    EXPECT_EQ(tickSawPanel, true);
}

// What comes while the panel is closed

Verdict blocked() {
    Verdict verdict = Verdict::failure("");
    verdict.error.reset();
    verdict.band = Band::block;
    verdict.runId = "run";
    return verdict;
}

TEST_F(AppDelegateTest, AVerdictBehindAClosedPanelIsToldAndMarksTheIconUntilItOpens) {
    start();
    happened();
    delegate->model()->verdict = blocked();
    delegate->model()->onVerdict();
    const std::string red = std::to_string(static_cast<int>(Tint::red));
    EXPECT_THAT(happened(),
                ElementsAre("load /bundle/brask.png 18 dot " + red, "item image",
                            "item tip Kelvane — grade your work in any app\nNew verdict: BLOCK",
                            "tell BLOCK"));
    choose("report");
    EXPECT_THAT(happened(), ElementsAre("open https://service.example/console?run=run"));
    choose("show");
    EXPECT_THAT(happened(),
                ElementsAre("refresh", "popover show nowhere", "popover key", "item image",
                            "item tip Kelvane — grade your work in any app"));
    state.popoverShown = false;
    choose("default");
    EXPECT_TRUE(state.popoverShown) << "a click on the message";
    delegate.reset();
    happened();
    choose("show");
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(AppDelegateTest, AVerdictInAnOpenPanelIsNoNews) {
    start();
    state.popoverShown = true;
    happened();
    delegate->model()->verdict = blocked();
    delegate->model()->onVerdict();
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(AppDelegateTest, AGradeThatEndsBehindAClosedPanelTellsWhatCameOfIt) {
    platform.workspace.running = {figma()};
    platform.workspace.front = 42;
    platform.environment.variables["BRASK_API_KEY"] = "k";
    captureWords();
    start();
    happened();
    delegate->model()->grade();
    platform.dispatcher.runAll();
    EXPECT_THAT(happened(),
                ElementsAre("popover lends", "popover takes back", "tell Figma: not graded"))
        << "no band, no dot";
}

TEST_F(AppDelegateTest, AnAgentsTurnIsToldAndLeadsToItsReport) {
    start();
    happened();
    turn = Notice{.notification = {.title = "Agent: BLOCK", .body = "", .actions = {}},
                  .runId = "turn"};
    state.tick();
    state.tick();
    EXPECT_THAT(happened(), ElementsAre("refresh", "keep service", "tell Agent: BLOCK", "refresh",
                                        "keep service"));
    choose("report");
    EXPECT_THAT(happened(), ElementsAre("open https://service.example/console?run=turn"));
}

TEST_F(AppDelegateTest, WithoutAnItemAVerdictIsToldAllTheSame) {
    state.hasItem = false;
    start();
    happened();
    delegate->model()->verdict = blocked();
    delegate->model()->onVerdict();
    EXPECT_THAT(happened(), ElementsAre("tell BLOCK"));
}

// Where to grade

TEST_F(AppDelegateTest, TheFirstRunAsksOnceWhereToGradeWhenAllElseIsDone) {
    placeIsUnknown = true;
    start();
    EXPECT_EQ(happened().back(), "catalog refresh");
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("keep service", "ask where", "refresh", "offer"));
}

TEST_F(AppDelegateTest, TheFirstRunOffersNothingMore) {
    installed = false;
    placeIsUnknown = true;
    start();
    happened();
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("keep service", "ask where", "refresh"));
}

TEST_F(AppDelegateTest, WhereItIsKnownNothingIsAsked) {
    start();
    happened();
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("keep service", "offer"));
}

TEST_F(AppDelegateTest, TheSwitchAndTheMenuAskAnew) {
    start({"--service"});
    happened();
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("keep service", "ask where", "refresh", "offer"));
    ASSERT_EQ(state.menu.size(), 4U);
    EXPECT_EQ(state.menu[1].title, "Where to grade…");
    state.click();
    happened();
    state.menu[1].action();
    EXPECT_THAT(happened(), ElementsAre("popover close", "ask where", "refresh"));
}

TEST_F(AppDelegateTest, WhileItIsAskedItIsNotAskedAgain) {
    start();
    happened();
    whileAsked = [this] { delegate->askWhereToGrade(); };
    delegate->askWhereToGrade();
    EXPECT_THAT(happened(), ElementsAre("ask where", "refresh"));
}

TEST_F(AppDelegateTest, QuittingWhileItIsAskedIsSafe) {
    start();
    happened();
    whileAsked = [this] { delegate.reset(); };
    delegate->askWhereToGrade();
    EXPECT_EQ(steps.count("refresh"), 0U);
}

TEST_F(AppDelegateTest, ADemoAsksNothing) {
    placeIsUnknown = true;
    start({"--demo"});
    happened();
    application.runJobs();
    EXPECT_EQ(steps.count("ask where"), 0U);
    delegate->askWhereToGrade();
    EXPECT_EQ(steps.count("ask where"), 0U);
}

// A grade asked for from outside

TEST_F(AppDelegateTest, AGradeFromOutsideSaysWhyItCannotBegin) {
    EXPECT_EQ(start({"--demo"}).gradeNow(GradeWish::AsCatalog), GradeBegun::NothingInFront);
    start();
    EXPECT_EQ(delegate->gradeNow(GradeWish::AsCatalog), GradeBegun::NothingInFront);
    platform.workspace.running = {figma()};
    platform.workspace.front = 42;
    EXPECT_EQ(delegate->gradeNow(GradeWish::AsCatalog), GradeBegun::NoKey);
    platform.environment.variables["BRASK_API_KEY"] = "k";
    delegate->model()->grading = true;
    EXPECT_EQ(delegate->gradeNow(GradeWish::AsCatalog), GradeBegun::Already);
    delegate->model()->grading = false;
    delegate->model()->pause(std::chrono::hours(1));
    EXPECT_EQ(delegate->gradeNow(GradeWish::AsCatalog), GradeBegun::Paused);
    EXPECT_FALSE(state.popoverShown);
}

TEST_F(AppDelegateTest, AGradeFromOutsideOpensThePanelOnceTheWorkIsCaptured) {
    platform.workspace.running = {figma()};
    platform.workspace.front = 42;
    platform.environment.variables["BRASK_API_KEY"] = "k";
    start();
    EXPECT_EQ(delegate->gradeNow(GradeWish::Window), GradeBegun::Yes);
    EXPECT_TRUE(*delegate->model()->grading);
    EXPECT_FALSE(state.popoverShown) << "it would be in the way of the capture";
    platform.dispatcher.runAll();
    EXPECT_TRUE(state.popoverShown);
    EXPECT_EQ(captured, "screenshot");
    state.popoverShown = false;
    EXPECT_EQ(delegate->gradeNow(GradeWish::Selection), GradeBegun::Yes);
    platform.dispatcher.runAll();
    EXPECT_EQ(captured, "selection");
    EXPECT_EQ(delegate->gradeNow(GradeWish::AsCatalog), GradeBegun::Yes);
    platform.dispatcher.runAll();
    EXPECT_EQ(captured, "export");
}

TEST_F(AppDelegateTest, ThePanelOpensForAPreviewAndClosingItSendsNothing) {
    platform.workspace.running = {figma()};
    platform.workspace.front = 42;
    platform.environment.variables["BRASK_API_KEY"] = "k";
    SettingsStore store(platform.files, "/home/me/.brask");
    settings = &store;
    captureWords();
    start();
    delegate->model()->refresh();
    delegate->model()->grade();
    platform.dispatcher.runAll();
    EXPECT_TRUE(state.popoverShown) << "it was closed, and the person is asked something";
    ASSERT_TRUE(delegate->model()->preview->has_value());
    delegate->panelWentAway();
    platform.dispatcher.runAll();
    EXPECT_TRUE(platform.http.requests.empty());
    EXPECT_FALSE(*delegate->model()->grading);
}

// The popover

TEST_F(AppDelegateTest, ThePanelIsMadeInAnIdleMomentBeforeItIsWanted) {
    start();
    happened();
    delegate->becameIdle();
    EXPECT_THAT(happened(), ElementsAre("popover prepare"));
    EXPECT_FALSE(state.popoverShown);
}

TEST_F(AppDelegateTest, OpeningThePopoverRefreshesOnceBeforeItIsShown) {
    state.itemBounds = Rect{1577, 1, 22, 26};
    start();
    happened();
    state.click();
    EXPECT_THAT(happened(),
                ElementsAre("refresh", "popover show 1577,1 22x26 by pointer", "popover key"));
}

TEST_F(AppDelegateTest, APanelThatWasShownIsPutInItsPlaceOnce) {
    start();
    EXPECT_EQ(timesPanelShown, 0);
    state.click();
    EXPECT_EQ(timesPanelShown, 1);
    delegate->openPopover();
    EXPECT_EQ(timesPanelShown, 1) << "it was open already";
}

TEST_F(AppDelegateTest, ClickWhileShownClosesItWithoutRefresh) {
    start();
    state.click();
    happened();
    state.click();
    EXPECT_THAT(happened(), ElementsAre("popover close"));
}

TEST_F(AppDelegateTest, TheSecondHalfOfADoubleClickDoesNotCloseIt) {
    start();
    state.click();
    state.openedByThisClick = true;
    happened();
    state.click();
    EXPECT_THAT(happened(), IsEmpty());
    EXPECT_TRUE(state.popoverShown);
    state.openedByThisClick = false;
    state.click();
    EXPECT_FALSE(state.popoverShown);
}

TEST_F(AppDelegateTest, ACaptureBorrowsTheKeyboardFromThePopover) {
    start();
    happened();
    delegate->model()->onCapture(true);
    delegate->model()->onCapture(false);
    EXPECT_THAT(happened(), ElementsAre("popover lends", "popover takes back"));
}

TEST_F(AppDelegateTest, TheClickThatTookTheFocusDoesNotReopenIt) {
    start();
    state.click();
    state.popoverShown = false;
    state.closedByThisClick = true;
    happened();
    state.click();
    EXPECT_THAT(happened(), IsEmpty());
    state.closedByThisClick = false;
    state.click();
    EXPECT_THAT(happened(),
                ElementsAre("refresh", "popover show nowhere by pointer", "popover key"));
}

TEST_F(AppDelegateTest, ToggleWithoutAnItemDoesNothing) {
    state.hasItem = false;
    start();
    happened();
    delegate->togglePopover();
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(AppDelegateTest, WithoutAMenuBarTheRestIsAsUsual) {
    state.hasItem = false;
    start();
    EXPECT_THAT(happened(), ElementsAre("catalog (none)", "model", "popover made", "installed?",
                                        "refresh", "tick every 4000ms", "catalog refresh"));
}

TEST_F(AppDelegateTest, StartedAgainItOpensFreshAndNotAtThePointer) {
    state.hasItem = false;
    start();
    happened();
    delegate->openPopover();
    EXPECT_THAT(happened(), ElementsAre("refresh", "popover show nowhere", "popover key"));
}

TEST_F(AppDelegateTest, StartedAgainWhileOpenItOnlyTakesTheKeyboard) {
    start();
    delegate->openPopover();
    happened();
    delegate->openPopover();
    EXPECT_THAT(happened(), ElementsAre("popover key"));
}

TEST_F(AppDelegateTest, TheItemsMenuOpensAndQuits) {
    start();
    happened();
    ASSERT_EQ(state.menu.size(), 4U);
    EXPECT_EQ(state.menu[0].title, "Open");
    state.menu[0].action();
    EXPECT_THAT(happened(),
                ElementsAre("refresh", "popover show nowhere by pointer", "popover key"));
    EXPECT_EQ(state.menu[3].title, "Quit");
    state.menu[3].action();
    EXPECT_THAT(happened(), ElementsAre("terminate 0"));
}

TEST_F(AppDelegateTest, TheHistoryOpensFromTheMenuAndFromThePanelWhichCloses) {
    start();
    ASSERT_EQ(state.menu.size(), 4U);
    EXPECT_EQ(state.menu[2].title, "History…");
    happened();
    state.menu[2].action();
    EXPECT_THAT(happened(), ElementsAre("show history"));
    state.click();
    happened();
    delegate->model()->onHistory();
    EXPECT_THAT(happened(), ElementsAre("popover close", "show history"));
}

TEST_F(AppDelegateTest, TheItemSpeaksAnotherLanguageAsSoonAsThereIsOne) {
    start();
    happened();
    text::useTranslator(
        [](const text::Phrase& phrase) { return "[" + std::string(phrase.source) + "]"; });
    delegate->languageChanged();
    text::useTranslator(nullptr);
    EXPECT_EQ(state.menu.front().title, "[Open]");
    EXPECT_EQ(state.menu.back().title, "[Quit]");
    EXPECT_THAT(happened(),
                ElementsAre("item tip [Kelvane — grade your work in any app]", "refresh"));
}

TEST_F(AppDelegateTest, TheNewsOfTheItemStayInAnotherLanguage) {
    start();
    delegate->model()->verdict = blocked();
    delegate->model()->onVerdict();
    happened();
    text::useTranslator(
        [](const text::Phrase& phrase) { return "[" + std::string(phrase.source) + "]"; });
    delegate->languageChanged();
    text::useTranslator(nullptr);
    EXPECT_THAT(happened(),
                testing::Contains(testing::AllOf(testing::StartsWith("item tip [Kelvane"),
                                                 testing::HasSubstr("\n[New verdict: "))));
}

TEST_F(AppDelegateTest, TheItemsMenuOpensTheSettingsAndPauses) {
    hasSettings = true;
    start();
    happened();
    ASSERT_EQ(state.menu.size(), 6U);
    EXPECT_EQ(state.menu[3].title, "Settings…");
    state.menu[3].action();
    EXPECT_THAT(happened(), ElementsAre("refresh", "settings"));
    EXPECT_EQ(state.menu[4].title, "Pause for an hour");
    state.menu[4].action();
    application.runJobs();
    EXPECT_TRUE(delegate->model()->pauseLeft().has_value());
    EXPECT_EQ(state.menu[4].title, "Resume");
    platform.clock.time += std::chrono::hours(1);
    state.tick();
    EXPECT_EQ(state.menu[4].title, "Pause for an hour") << "the pause is over by itself";
}

TEST_F(AppDelegateTest, TheSettingsOpenWithoutThePanelInFront) {
    hasSettings = true;
    start();
    state.click();
    happened();
    delegate->model()->onSettings();
    EXPECT_THAT(happened(), ElementsAre("popover close", "refresh", "settings"));
    start({"--settings"});
    happened();
    application.runJobs();
    EXPECT_THAT(happened(), testing::Contains("settings"));
    start({"--demo"}).openSettings();
    EXPECT_THAT(happened(), testing::Not(testing::Contains("settings")));
}

// The hooks

TEST_F(AppDelegateTest, WireClosesAShownPopoverBeforeItStarts) {
    start();
    state.click();
    happened();
    delegate->model()->onWire();
    EXPECT_THAT(happened(), ElementsAre("popover close", "install again"));
}

TEST_F(AppDelegateTest, WireWithTheClosedPopoverClosesNothing) {
    start();
    happened();
    delegate->model()->onWire();
    EXPECT_THAT(happened(), ElementsAre("install again"));
}

TEST_F(AppDelegateTest, UninstallClosesAShownPopoverBeforeItStarts) {
    start();
    state.click();
    happened();
    delegate->model()->onUninstall();
    EXPECT_THAT(happened(), ElementsAre("popover close", "uninstall"));
}

TEST_F(AppDelegateTest, UninstallWithTheClosedPopoverClosesNothing) {
    start();
    happened();
    delegate->model()->onUninstall();
    EXPECT_THAT(happened(), ElementsAre("uninstall"));
}

TEST_F(AppDelegateTest, GetKeyOpensTheConnectPage) {
    start();
    delegate->model()->onGetKey();
    EXPECT_THAT(urls.opened, ElementsAre("https://service.example/connect?from=macos-app"));
}

TEST_F(AppDelegateTest, QuitTerminates) {
    start();
    happened();
    delegate->model()->onQuit();
    EXPECT_THAT(happened(), ElementsAre("terminate 0"));
}

TEST_F(AppDelegateTest, OpenReportPutsTheRunIdIntoTheAddressUnescaped) {
    start();
    for (const std::string id : {"run-1", "a b&c=/ü%", ""}) {
        delegate->model()->onOpenReport(id);
        EXPECT_EQ(urls.opened.back(), "https://service.example/console?run=" + id);
    }
}

TEST_F(AppDelegateTest, AReportWhoseAddressComesLateIsOpenedThenUnlessTheDelegateIsGone) {
    serviceIsSlow = true;
    start();
    delegate->model()->onOpenReport("run-1");
    EXPECT_THAT(urls.opened, IsEmpty());
    openReport();
    EXPECT_THAT(urls.opened, ElementsAre("https://service.example/console?run=run-1"));
    delegate->model()->onOpenReport("run-2");
    delegate.reset();
    openReport();
    EXPECT_THAT(urls.opened, testing::SizeIs(1));
}

TEST_F(AppDelegateTest, AnInvalidReportAddressIsIgnored) {
    urls.invalid.insert("https://service.example/console?run=\x01");
    start();
    delegate->model()->onOpenReport("\x01");
    EXPECT_THAT(urls.opened, IsEmpty());
    EXPECT_EQ(out.str() + err.str(), "");
}

TEST_F(AppDelegateTest, NothingKeepsTheDelegateAliveOrCallsItWhenItIsGone) {
    start();
    auto& model = *delegate->model();
    const auto onWire = model.onWire;
    const auto onGetKey = model.onGetKey;
    const auto onUninstall = model.onUninstall;
    const auto onQuit = model.onQuit;
    const auto onOpenReport = model.onOpenReport;
    const auto [click, tick, menu] = std::tuple(state.click, state.tick, state.menu);
    delegate.reset();
    happened();
    onWire();
    onGetKey();
    onUninstall();
    onQuit();
    onOpenReport("run");
    click();
    tick();
    for (const auto& entry : menu) entry.action();
    EXPECT_THAT(happened(), IsEmpty());
    EXPECT_THAT(urls.opened, IsEmpty());
}

TEST_F(AppDelegateTest, ItemPopoverAndTimerLiveUntilTheEnd) {
    start();
    happened();
    delegate.reset();
    EXPECT_THAT(happened(),
                testing::UnorderedElementsAre("timer gone", "popover gone", "item gone"));
}

// The demonstration window

TEST_F(AppDelegateTest, DemoShowsOneWindowAndNothingElse) {
    start({"--demo"});
    EXPECT_THAT(happened(),
                ElementsAre("catalog (none)", "model", "window made Kelvane Companion 360x560",
                            "window center", "window front", "activate"));
    EXPECT_TRUE(windows.seeded);
    EXPECT_EQ(out.str(), "WINDOW_ID=4194310\n");
    EXPECT_EQ(err.str(), "");
}

TEST_F(AppDelegateTest, ADemoMakesNoPopoverWhenNothingHappens) {
    start({"--demo"});
    happened();
    delegate->becameIdle();
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(AppDelegateTest, DemoFlushesItsLineBeforeTheLoopRunsOn) {
    struct Buffer : std::stringbuf {
        int sync() override {
            flushed = str();
            return 0;
        }
        std::string flushed;
    } buffer;
    out.std::ios::rdbuf(&buffer);
    start({"--demo"});
    EXPECT_EQ(buffer.flushed, "WINDOW_ID=4194310\n");
    out.std::ios::rdbuf(nullptr);
}

TEST_F(AppDelegateTest, DemoLeavesTheHooksUnwired) {
    start({"--demo"});
    happened();
    auto& model = *delegate->model();
    model.onWire();
    model.onGetKey();
    model.onUninstall();
    model.onQuit();
    model.onOpenReport("demo-run");
    delegate->togglePopover();
    delegate->openPopover();
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(AppDelegateTest, DemoWindowStaysAsLongAsTheDelegate) {
    start({"--demo"});
    EXPECT_EQ(steps.count("window gone"), 0U);
    delegate.reset();
    EXPECT_EQ(steps.count("window gone"), 1U);
}

// The picture

TEST_F(AppDelegateTest, RenderDrawsTheSeededPanelAndTerminates) {
    start({"--render", "/tmp/panel.png"}, "/tmp/panel.png");
    EXPECT_THAT(happened(), ElementsAre("catalog (none)"));
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("model", "render 360 at 20/10", "write /tmp/panel.png PNG",
                                        "terminate 0"));
    EXPECT_TRUE(renderer.seeded);
    EXPECT_EQ(out.str(), "rendered -> /tmp/panel.png (720x1044)\n");
    EXPECT_EQ(err.str(), "");
}

TEST_F(AppDelegateTest, RenderAndDemoTogetherOnlyRender) {
    start({"--demo", "--render", "p.png"}, "p.png");
    application.runJobs();
    EXPECT_THAT(happened(), ElementsAre("catalog (none)", "model", "render 360 at 20/10",
                                        "write p.png PNG", "terminate 0"));
    EXPECT_EQ(out.str(), "rendered -> p.png (720x1044)\n");
}

TEST_F(AppDelegateTest, RenderFailuresEndWithStatusThree) {
    const struct {
        const char* name;
        bool nothing;
        std::optional<std::string> png;
        std::optional<std::string> writeError;
        const char* err;
    } cases[] = {
        {"no image", true, "PNG", std::nullopt, "render: nil image\n"},
        {"no encoding is silent", false, std::nullopt, std::nullopt, ""},
        {"missing folder", false, "PNG", "No such file or directory",
         "render: No such file or directory\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        renderer.drawsNothing = c.nothing;
        renderer.png = c.png;
        renderer.writeError = c.writeError;
        out.str("");
        err.str("");
        start({}, "/missing/panel.png");
        application.runJobs();
        EXPECT_EQ(happened().back(), "terminate 3");
        EXPECT_EQ(err.str(), c.err);
        EXPECT_EQ(out.str(), "");
    }
}

TEST_F(AppDelegateTest, AResultThatCannotBePrintedIsAFailure) {
    out.setstate(std::ios::badbit);
    start({"--render", "p.png"}, "p.png");
    application.runJobs();
    EXPECT_EQ(err.str(), "render: the result could not be printed\n");
    EXPECT_THAT(happened(), testing::Contains("terminate 3"));
}

TEST_F(AppDelegateTest, ANilImageWritesNothing) {
    renderer.drawsNothing = true;
    start({}, "p.png");
    application.runJobs();
    EXPECT_EQ(steps.count("write"), 0U);
}

} // namespace
} // namespace kelvane
