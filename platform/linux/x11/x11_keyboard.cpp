#include "platform/linux/x11/x11_keyboard.h"

#include <utility>

namespace kelvane {

namespace {

class X11Keyboard : public Keyboard {
public:
    X11Keyboard(std::shared_ptr<X11Clipboard> clipboard, CopyTargetOf copyTargetOf)
        : m_clipboard(std::move(clipboard)),
          m_copyTargetOf(std::move(copyTargetOf)) {}

    bool trusted() override { return m_clipboard && m_clipboard->canPostKeys(); }

    void postCopy(ProcessId target) override {
        if (!m_clipboard || !m_copyTargetOf) return;
        if (const auto found = m_copyTargetOf(target)) m_clipboard->copyFrom(*found);
    }

private:
    std::shared_ptr<X11Clipboard> m_clipboard;
    CopyTargetOf m_copyTargetOf;
};

} // namespace

std::unique_ptr<Keyboard> makeX11Keyboard(std::shared_ptr<X11Clipboard> clipboard,
                                          CopyTargetOf copyTargetOf) {
    return std::make_unique<X11Keyboard>(std::move(clipboard), std::move(copyTargetOf));
}

} // namespace kelvane
