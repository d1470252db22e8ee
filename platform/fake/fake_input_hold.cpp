#include "platform/fake/fake_input_hold.h"

#include <utility>

namespace kelvane {

void FakeInputHold::start() {
    if (!std::exchange(m_holds, true)) m_journal.add("hold input");
}

void FakeInputHold::stop() {
    if (std::exchange(m_holds, false)) m_journal.add("let input go");
}

} // namespace kelvane
