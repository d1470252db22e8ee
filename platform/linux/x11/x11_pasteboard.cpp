#include "platform/linux/x11/x11_pasteboard.h"

#include <utility>

namespace kelvane {

namespace {

class X11Pasteboard : public Pasteboard {
public:
    explicit X11Pasteboard(std::shared_ptr<X11Clipboard> clipboard)
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
    std::shared_ptr<X11Clipboard> m_clipboard;
};

} // namespace

std::unique_ptr<Pasteboard> makeX11Pasteboard(std::shared_ptr<X11Clipboard> clipboard) {
    return std::make_unique<X11Pasteboard>(std::move(clipboard));
}

} // namespace kelvane
