// A clipboard in memory.

#pragma once

#include "platform/fake/journal.h"
#include "platform/ports/pasteboard.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvane {

class FakePasteboard : public Pasteboard {
public:
    explicit FakePasteboard(Journal& journal) : m_journal(journal) {}

    std::optional<std::string> text;
    std::int64_t count = 1;
    std::size_t timesRead = 0; ///< How often the text or the count was asked for.

    /// What another application does when it copies; nothing stands for content without text.
    void copyText(std::optional<std::string> newText);

    std::optional<std::string> string() override;
    std::int64_t changeCount() override;
    void clearContents() override;
    void setString(std::string_view newText) override;

private:
    Journal& m_journal;
};

} // namespace kelvane
