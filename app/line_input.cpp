#include "app/line_input.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace kelvane {

LineInput::LineInput(int descriptor, std::function<void(std::string_view)> onLine,
                     std::function<void()> onEnd)
    : m_descriptor(descriptor),
      m_splitter(std::move(onLine)),
      m_onEnd(std::move(onEnd)),
      m_notifier(descriptor, QSocketNotifier::Read) {
    connect(&m_notifier, &QSocketNotifier::activated, this, [this] { read(); });
}

void LineInput::read() {
    char buffer[4096];
    const auto count = ::read(m_descriptor, buffer, sizeof buffer);
    if (count > 0) {
        m_splitter.feed({buffer, static_cast<std::size_t>(count)});
        return;
    }
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    m_notifier.setEnabled(false);
    m_splitter.finish();
    m_onEnd();
}

} // namespace kelvane
