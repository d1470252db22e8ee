#include "app/line_splitter.h"

#include <utility>

namespace kelvane {

namespace {

constexpr std::size_t kLongestLine = std::size_t{64} * 1024;

} // namespace

LineSplitter::LineSplitter(std::function<void(std::string_view)> onLine)
    : m_onLine(std::move(onLine)) {}

void LineSplitter::feed(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto end = bytes.find('\n');
        const auto piece = bytes.substr(0, end);
        if (m_pending.size() + piece.size() > kLongestLine) {
            m_tooLong = true;
            m_pending.clear();
        }
        if (!m_tooLong) m_pending += piece;
        if (end == std::string_view::npos) return;
        finish();
        bytes.remove_prefix(end + 1);
    }
}

void LineSplitter::finish() {
    const auto line = std::exchange(m_pending, {});
    if (!std::exchange(m_tooLong, false) && !line.empty()) m_onLine(line);
}

} // namespace kelvane
