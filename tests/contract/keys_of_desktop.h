// The applications of a real desktop for the promises of keyboards: programs of Qt that write down
// the keys they get.

#pragma once

#include "platform/linux/linux_platform.h"
#include "tests/contract/keyboard_contract.h"

#include <sys/types.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace kelvane {

/// `Desktop` starts and ends programs, and has a `home()`. It and the ports of the product that
/// runs there must outlive this.
template <typename Desktop>
class KeysOfDesktop : public KeysOfSystem {
public:
    KeysOfDesktop(Desktop& desktop, LinuxDesktop& ports) : m_desktop(desktop), m_ports(ports) {}
    ~KeysOfDesktop() override {
        while (!m_opened.empty()) end(m_opened.begin()->first);
        // It is the next test's desktop.
        TestPrograms::waitUntil([&] { return m_ports.workspace->runningApplications().empty(); });
    }
    KeysOfDesktop(const KeysOfDesktop&) = delete;
    KeysOfDesktop& operator=(const KeysOfDesktop&) = delete;

    Keyboard& keyboard() override { return *m_ports.keyboard; }
    Pasteboard& pasteboard() override { return *m_ports.pasteboard; }

    ProcessId open(const std::string& text) override {
        const auto log = m_desktop.home() / ("keys-" + text);
        std::error_code ignored;
        std::filesystem::remove(log, ignored);
        const auto process = m_desktop.start(
            {KELVANE_TEXT_WINDOW, "kelvane." + text, text, "300", "200", "=" + text},
            {{"TEXT_WINDOW_KEYS", log.string()}});
        ProcessId application = 0;
        EXPECT_TRUE(TestPrograms::waitUntil([&] {
            const auto front = m_ports.workspace->frontmost();
            // Whose name is not known yet may be told from others by another number later.
            if (front && front->bundleId && front->bundleId->starts_with("wmclass:") &&
                !m_opened.contains(front->pid)) {
                application = front->pid;
            }
            return application != 0;
        }));
        m_opened[application] = {process, log};
        return application;
    }

    void close(ProcessId application) override {
        end(application);
        ASSERT_TRUE(TestPrograms::waitUntil([&] {
            const auto front = m_ports.workspace->frontmost();
            return !front || front->pid != application;
        }));
    }

    std::vector<std::string> keys(ProcessId application) override {
        std::ifstream log(m_opened.at(application).keys);
        std::vector<std::string> found;
        for (std::string line; std::getline(log, line);) found.push_back(line);
        return found;
    }

private:
    struct Opened {
        pid_t process = 0;
        std::filesystem::path keys; ///< Where they are written down.
    };

    void end(ProcessId application) {
        m_desktop.end(m_opened.at(application).process);
        m_opened.erase(application);
    }

    Desktop& m_desktop;
    LinuxDesktop& m_ports;
    std::map<ProcessId, Opened> m_opened;
};

} // namespace kelvane
