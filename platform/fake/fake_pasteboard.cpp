#include "platform/fake/fake_pasteboard.h"

#include <utility>

namespace kelvane {

void FakePasteboard::copyText(std::optional<std::string> newText) {
    text = std::move(newText);
    ++count;
}

std::optional<std::string> FakePasteboard::string() {
    ++timesRead;
    return text;
}

std::int64_t FakePasteboard::changeCount() {
    ++timesRead;
    return count;
}

void FakePasteboard::clearContents() {
    m_journal.add("clear");
    text.reset();
    ++count;
}

void FakePasteboard::setString(std::string_view newText) {
    m_journal.add("set " + std::string(newText));
    text = newText;
}

} // namespace kelvane
