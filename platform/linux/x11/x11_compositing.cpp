#include "platform/linux/x11/x11_compositing.h"

#include "platform/linux/x11/x11_connection.h"

#include <utility>

namespace kelvane {

namespace {

class X11Compositing : public Compositing {
public:
    explicit X11Compositing(std::shared_ptr<X11Connection> link) : m_link(std::move(link)) {}

    bool isOn() override {
        if (!m_link || !m_link->answers()) return false;
        const auto name = m_link->atom("_NET_WM_CM_S" + std::to_string(m_link->screenNumber()));
        if (name == XCB_ATOM_NONE) return false;
        const auto answer = m_link->reply<xcb_get_selection_owner_reply_t>(
            xcb_get_selection_owner(m_link->xcb(), name));
        m_link->dropEvents();
        return answer && answer->owner != XCB_WINDOW_NONE;
    }

private:
    std::shared_ptr<X11Connection> m_link;
};

} // namespace

std::unique_ptr<Compositing> makeX11Compositing(const std::string& display) {
    return std::make_unique<X11Compositing>(display.empty() ? nullptr
                                                            : X11Connection::open(display));
}

} // namespace kelvane
