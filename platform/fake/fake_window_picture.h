// Pictures by window number.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/window_picture.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace kelvane {

class FakeWindowPicture : public WindowPicture {
public:
    explicit FakeWindowPicture(Journal& journal) : m_journal(journal) {}

    std::map<std::int64_t, std::string> pictures; ///< By window number.

    std::optional<std::string> png(std::int64_t windowNumber) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
