// Addresses that are kept instead of opened.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/url_opener.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kelvane {

class FakeUrlOpener : public UrlOpener {
public:
    explicit FakeUrlOpener(Journal& journal) : m_journal(journal) {}

    std::set<std::string, std::less<>> invalid; ///< What does not count as an address.
    std::vector<std::string> opened;

    bool open(std::string_view url) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
