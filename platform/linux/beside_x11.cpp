#include "platform/linux/beside_x11.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelvane {

namespace {

struct Both {
    TextPorts x11;
    TextPorts other;

    [[nodiscard]] bool isInFrontOnX11(ProcessId pid) const {
        const auto front = x11.workspace->frontmost();
        return front && front->pid == pid;
    }
};

class BesideWorkspace : public Workspace {
public:
    explicit BesideWorkspace(std::shared_ptr<const Both> both) : m_both(std::move(both)) {}

    std::optional<RunningApp> frontmost() override {
        if (auto front = m_both->x11.workspace->frontmost()) return front;
        return m_both->other.workspace->frontmost();
    }

    std::vector<RunningApp> runningApplications() override {
        auto running = m_both->x11.workspace->runningApplications();
        for (auto& app : m_both->other.workspace->runningApplications()) {
            const bool known = std::ranges::any_of(
                running, [&](const RunningApp& each) { return each.pid == app.pid; });
            if (!known) running.push_back(std::move(app));
        }
        return running;
    }

    bool activate(ProcessId pid) override {
        return m_both->x11.workspace->activate(pid) || m_both->other.workspace->activate(pid);
    }

    bool activateWindow(ProcessId pid, std::int64_t window) override {
        return m_both->x11.workspace->activateWindow(pid, window) ||
               m_both->other.workspace->activateWindow(pid, window);
    }

    std::optional<std::string> silentDisplay() override {
        return m_both->x11.workspace->silentDisplay();
    }

private:
    std::shared_ptr<const Both> m_both;
};

class BesideKeyboard : public Keyboard {
public:
    explicit BesideKeyboard(std::shared_ptr<const Both> both) : m_both(std::move(both)) {}

    bool trusted() override {
        return m_both->other.keyboard->trusted() || m_both->x11.keyboard->trusted();
    }
    void postCopy(ProcessId target) override {
        const auto& asked = m_both->isInFrontOnX11(target) ? m_both->x11 : m_both->other;
        asked.keyboard->postCopy(target);
    }

private:
    std::shared_ptr<const Both> m_both;
};

/// The clipboard is the server's; what the other source read stands before it until it is put back.
class BesidePasteboard : public Pasteboard {
public:
    explicit BesidePasteboard(std::shared_ptr<const Both> both) : m_both(std::move(both)) {}

    std::optional<std::string> string() override {
        if (auto text = m_both->other.pasteboard->string()) return text;
        return m_both->x11.pasteboard->string();
    }
    std::int64_t changeCount() override {
        return m_both->x11.pasteboard->changeCount() + m_both->other.pasteboard->changeCount();
    }
    void clearContents() override { m_both->x11.pasteboard->clearContents(); }
    void setString(std::string_view text) override { m_both->x11.pasteboard->setString(text); }

    PasteboardMemory remember() override {
        static_cast<void>(m_both->other.pasteboard->remember());
        auto memory = m_both->x11.pasteboard->remember();
        m_ofX11 = memory.changeCount;
        memory.changeCount += m_both->other.pasteboard->changeCount();
        return memory;
    }

    void putBack(const PasteboardMemory& memory) override {
        if (m_both->other.pasteboard->string()) {
            // The clipboard was not touched.
            m_both->other.pasteboard->putBack(memory);
            return;
        }
        auto ofX11 = memory;
        ofX11.changeCount = m_ofX11;
        m_both->x11.pasteboard->putBack(ofX11);
    }

private:
    std::shared_ptr<const Both> m_both;
    std::int64_t m_ofX11 = 0; ///< The server's own count as it was remembered.
};

} // namespace

TextPorts besideX11(TextPorts x11, TextPorts other) {
    const auto both = std::make_shared<const Both>(Both{std::move(x11), std::move(other)});
    return {std::make_unique<BesideWorkspace>(both), std::make_unique<BesideKeyboard>(both),
            std::make_unique<BesidePasteboard>(both)};
}

std::unique_ptr<Workspace> besideX11(std::unique_ptr<Workspace> x11,
                                     std::unique_ptr<Workspace> other) {
    return std::make_unique<BesideWorkspace>(std::make_shared<const Both>(
        Both{{std::move(x11), nullptr, nullptr}, {std::move(other), nullptr, nullptr}}));
}

} // namespace kelvane
