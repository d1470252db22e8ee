#include "platform/fake/fake_window_picture.h"

#include <string>

namespace kelvane {

std::optional<std::string> FakeWindowPicture::png(std::int64_t windowNumber) {
    m_journal.add("picture " + std::to_string(windowNumber));
    const auto found = pictures.find(windowNumber);
    if (found == pictures.end()) return std::nullopt;
    return found->second;
}

} // namespace kelvane
