#include "platform/fake/fake_keyboard.h"

#include <string>

namespace kelvane {

bool FakeKeyboard::trusted() {
    if (trustedAnswers.empty()) return isTrusted;
    const bool answer = trustedAnswers.front();
    trustedAnswers.pop_front();
    return answer;
}

void FakeKeyboard::postCopy(ProcessId target) {
    m_journal.add("copy " + std::to_string(target));
    if (isTrusted && onCopy) onCopy(target);
}

} // namespace kelvane
