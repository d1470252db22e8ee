// What the tests of the clipboard share: a desktop per suite, the two ports over one clipboard, and
// the word of an independent program on what the clipboard holds.

#pragma once

#include "platform/linux/common/copy_keyboard.h"
#include "platform/linux/common/copy_pasteboard.h"
#include "platform/linux/x11/x11_clipboard.h"
#include "tests/platform/linux/virtual_desktop.h"
#include "tests/platform/linux/x11/scripted_owner.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace kelvane {

/// The two ports as the product has them. `target` is what the keyboard finds in front.
struct ClipboardPorts {
    explicit ClipboardPorts(const std::string& display)
        : clipboard(openX11Clipboard(display)),
          keyboard(makeCopyKeyboard(clipboard, [this](ProcessId) { return target; })),
          pasteboard(makeCopyPasteboard(clipboard)) {}

    std::optional<CopyTarget> target;
    std::shared_ptr<CopyClipboard> clipboard;
    std::unique_ptr<Keyboard> keyboard;
    std::unique_ptr<Pasteboard> pasteboard;
};

template <class Suite>
class ClipboardDesktopTest : public testing::Test {
protected:
    static void startDesktop(const DesktopOptions& options) {
        s_desktop = std::make_unique<VirtualDesktop>(options);
    }
    static void SetUpTestSuite() { startDesktop(Suite::kDesktop); }
    static void TearDownTestSuite() { s_desktop.reset(); }

    void TearDown() override {
        endPrograms();
        for (const auto* selection : {"CLIPBOARD", "PRIMARY"}) {
            xcb_set_selection_owner(desktop().link().xcb(), XCB_WINDOW_NONE,
                                    desktop().link().atom(selection), XCB_CURRENT_TIME);
        }
        xcb_flush(desktop().link().xcb());
        VirtualDesktop::waitUntil([] { return s_desktop->windows().empty(); });
    }

    [[nodiscard]] static VirtualDesktop& desktop() { return *s_desktop; }

    pid_t start(const std::vector<std::string>& command) {
        m_programs.push_back(desktop().start(command));
        return m_programs.back();
    }

    void endPrograms() {
        for (const auto program : m_programs) desktop().end(program);
        m_programs.clear();
    }

    /// What a command prints on this desktop.
    static std::string outputOf(const std::string& command) {
        const auto all = "DISPLAY=" + desktop().display() + " HOME=" + desktop().home().string() +
                         " timeout 10 " + command + " 2>/dev/null";
        std::FILE* const pipe = ::popen(all.c_str(), "r");
        std::string text;
        std::array<char, 65536> part{};
        std::size_t length = 0;
        while ((length = std::fread(part.data(), 1, part.size(), pipe)) > 0) {
            text.append(part.data(), length);
        }
        ::pclose(pipe);
        return text;
    }
    static std::string pasted(const std::string& target = "UTF8_STRING") {
        return outputOf("xclip -selection clipboard -o -t '" + target + "'");
    }

    static std::filesystem::path file(const std::string& name, const std::string& bytes) {
        auto path = desktop().home() / name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    /// Another program copies; returns when the clipboard is its.
    pid_t otherProgramCopies(const std::string& bytes, const std::string& target = "UTF8_STRING") {
        const auto before = clipboardOwner();
        const auto program = start({"xclip", "-quiet", "-selection", "clipboard", "-t", target,
                                    file("copied", bytes).string()});
        EXPECT_TRUE(VirtualDesktop::waitUntil(
            [&] { return clipboardOwner() != before && clipboardOwner() != 0; }));
        return program;
    }

    static xcb_window_t clipboardOwner() { return ownerOf("CLIPBOARD"); }
    static xcb_window_t ownerOf(const std::string& selection) {
        auto& link = desktop().link();
        const XcbOwned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
            link.xcb(), xcb_get_selection_owner(link.xcb(), link.atom(selection)), nullptr));
        return reply ? reply->owner : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
    }

    /// As the product waits after the copy key.
    static void waitForCopy() { std::this_thread::sleep_for(std::chrono::milliseconds(180)); }

    static std::chrono::milliseconds timeOf(const std::function<void()>& action) {
        const auto begin = std::chrono::steady_clock::now();
        action();
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begin);
    }

private:
    inline static std::unique_ptr<VirtualDesktop> s_desktop;
    std::vector<pid_t> m_programs;
};

} // namespace kelvane
