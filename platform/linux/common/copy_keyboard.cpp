#include "platform/linux/common/copy_keyboard.h"

#include <utility>

namespace kelvane {

namespace {

class CopyKeyboard : public Keyboard {
public:
    CopyKeyboard(std::shared_ptr<CopyClipboard> clipboard, CopyTargetOf copyTargetOf)
        : m_clipboard(std::move(clipboard)),
          m_copyTargetOf(std::move(copyTargetOf)) {}

    bool trusted() override { return m_clipboard && m_clipboard->canPostKeys(); }

    void postCopy(ProcessId target) override {
        if (!m_clipboard || !m_copyTargetOf) return;
        if (const auto found = m_copyTargetOf(target)) m_clipboard->copyFrom(*found);
    }

private:
    std::shared_ptr<CopyClipboard> m_clipboard;
    CopyTargetOf m_copyTargetOf;
};

} // namespace

std::unique_ptr<Keyboard> makeCopyKeyboard(std::shared_ptr<CopyClipboard> clipboard,
                                           CopyTargetOf copyTargetOf) {
    return std::make_unique<CopyKeyboard>(std::move(clipboard), std::move(copyTargetOf));
}

} // namespace kelvane
