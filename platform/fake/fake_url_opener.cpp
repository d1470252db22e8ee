#include "platform/fake/fake_url_opener.h"

namespace kelvane {

bool FakeUrlOpener::open(std::string_view url) {
    if (invalid.contains(url)) return false;
    m_journal.add("open " + std::string(url));
    opened.emplace_back(url);
    return true;
}

} // namespace kelvane
