#include "platform/linux/common/copy_pasteboard.h"

#include <utility>

namespace kelvane {

namespace {

class CopyPasteboard : public Pasteboard {
public:
    explicit CopyPasteboard(std::shared_ptr<CopyClipboard> clipboard)
        : m_clipboard(std::move(clipboard)) {}

    std::optional<std::string> string() override {
        return m_clipboard ? m_clipboard->string() : std::nullopt;
    }
    std::int64_t changeCount() override { return m_clipboard ? m_clipboard->changeCount() : 0; }
    void clearContents() override {
        if (m_clipboard) m_clipboard->clearContents();
    }
    void setString(std::string_view text) override {
        if (m_clipboard) m_clipboard->setString(text);
    }
    PasteboardMemory remember() override {
        return m_clipboard ? m_clipboard->remember() : PasteboardMemory{};
    }
    void putBack(const PasteboardMemory& memory) override {
        if (m_clipboard) m_clipboard->putBack(memory);
    }

private:
    std::shared_ptr<CopyClipboard> m_clipboard;
};

} // namespace

std::unique_ptr<Pasteboard> makeCopyPasteboard(std::shared_ptr<CopyClipboard> clipboard) {
    return std::make_unique<CopyPasteboard>(std::move(clipboard));
}

} // namespace kelvane
