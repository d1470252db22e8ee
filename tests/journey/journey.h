// What every journey needs: a desktop, a tray, the built service, and the built program started as
// a user would start it.
//
// One desktop serves all tests of a suite; the tray, the service and the program are each test's
// own and end with it. The home folder is the desktop's, unless a test names another.

#pragma once

#include "tests/journey/panel_on_screen.h"
#include "tests/journey/program.h"
#include "tests/platform/linux/virtual_desktop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kelvane {

/// The bytes of a file; none when it cannot be read.
[[nodiscard]] std::string contents(const std::filesystem::path& path);

class Journey : public testing::Test {
protected:
    static void SetUpTestSuite() { makeDesktop({}); }
    static void makeDesktop(DesktopOptions options);
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] PanelOnScreen& panel() { return *m_panel; }
    /// The addresses that the browser was asked to show, each with a line break.
    [[nodiscard]] static std::string opened() { return contents(s_opened); }

    /// Starts the service on a port of its own, or again on the one it had.
    void startService(const std::vector<std::string>& more = {});
    [[nodiscard]] std::string serviceAddress() const;
    [[nodiscard]] static std::string serviceKey();
    /// Starts what stands between the product and the service and says what went through
    /// (relay.py), and the address to give the product for it. A service whose key is of its own
    /// making cannot prove it there, at another's address: give it `kOwnKey`.
    std::string startRelay(const std::vector<std::string>& options = {});
    /// What went through, a line each.
    [[nodiscard]] static std::string relayed() { return contents(s_relayed); }

    /// Opens a document in an application, in front.
    void open(const std::vector<std::string>& command, const std::string& wmClass);
    /// Whether somebody comes to own this selection, which is when it can be pasted.
    static bool waitForOwner(const std::string& selection,
                             std::chrono::milliseconds timeout = std::chrono::seconds(60));
    /// What is selected, as a middle click would paste it; empty where nobody owns it.
    static std::string selected();
    /// Opens the document that the command ends with, and selects all of it.
    void openAndSelectAll(const std::vector<std::string>& command, const std::string& wmClass);
    std::filesystem::path document(const std::string& text, const std::string& name = "work.md");

    /// What the product is started with, and what a program that it starts inherits.
    [[nodiscard]] std::map<std::string, std::string> productEnvironment() const;
    /// Starts the product, `more` on top of that, and waits for its icon.
    void startProduct(const std::map<std::string, std::string>& more = {},
                      std::vector<std::string> arguments = {});
    /// Presses the button and waits for a panel that says `text`.
    PanelOnScreen::Frame pressAndWait(const std::string& button, const std::string& text);
    /// Chooses an item of the menu in the panel, opening the panel if need be.
    void chooseFromMenu(const std::string& item);
    void quitThroughTheMenu();

    static constexpr const char* kOwnKey = "a-key-of-the-user's";

    inline static std::unique_ptr<VirtualDesktop> s_desktop;
    inline static std::filesystem::path s_opened;
    inline static std::filesystem::path s_relayed;
    std::filesystem::path m_home;    ///< The user's; the desktop's own unless changed.
    std::filesystem::path m_program; ///< What to start; the built one unless changed.
    std::unique_ptr<PanelOnScreen> m_panel;
    std::vector<pid_t> m_started;
    std::unique_ptr<Program> m_service;
    std::unique_ptr<Program> m_relay;
    std::unique_ptr<Program> m_product;
    int m_port = 0;
    xcb_window_t m_front = 0; ///< What open() brought to the front.
};

} // namespace kelvane
