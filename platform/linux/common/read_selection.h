// What a source read of a selection, for the port that hands it out: no clipboard is involved.
//
// Where text can be read without a copy, "copying" leaves the user's clipboard alone, and there is
// nothing to remember and to put back.

#pragma once

#include "platform/ports/pasteboard.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kelvane {

/// Between the keyboard that reads and the pasteboard that tells. Any thread.
class ReadSelection {
public:
    /// A text counts as one change; its absence as none.
    void set(std::optional<std::string> text);
    [[nodiscard]] std::optional<std::string> text() const;
    [[nodiscard]] std::int64_t changes() const;

private:
    mutable std::mutex m_mutex; ///< Guards both below.
    std::optional<std::string> m_text;
    std::int64_t m_changes = 0;
};

/// A pasteboard of nothing but that text. What is set on it is lost. Not null.
[[nodiscard]] std::unique_ptr<Pasteboard>
makeReadPasteboard(std::shared_ptr<ReadSelection> selection);

} // namespace kelvane
