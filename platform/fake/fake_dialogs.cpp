#include "platform/fake/fake_dialogs.h"

namespace kelvane {

std::optional<std::size_t> FakeDialogs::show(const Alert& alert) {
    m_journal.add("alert " + alert.message);
    shown.push_back(alert);
    if (answers.empty()) return std::nullopt;
    const auto answer = answers.front();
    answers.pop_front();
    return answer;
}

} // namespace kelvane
