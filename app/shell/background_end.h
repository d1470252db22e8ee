// The end of the program's background work, as a member among those that the work uses.
//
// What is made before it outlives the jobs, and so does what the jobs refer to: members go in the
// reverse order of their making. Main thread only.

#pragma once

#include "platform/ports/dispatcher.h"
#include "platform/ports/quit_signal.h"

#include <memory>

namespace kelvane {

class BackgroundEnd {
public:
    /// Both must outlive it.
    BackgroundEnd(QuitSignal& quit, std::unique_ptr<Dispatcher>& dispatcher)
        : m_quit(quit),
          m_dispatcher(dispatcher) {}
    /// Ends every wait and every exchange, then destroys the dispatcher, which returns when the
    /// last job has.
    ~BackgroundEnd() {
        m_quit.raise();
        m_dispatcher.reset();
    }
    BackgroundEnd(const BackgroundEnd&) = delete;
    BackgroundEnd& operator=(const BackgroundEnd&) = delete;

private:
    QuitSignal& m_quit;
    std::unique_ptr<Dispatcher>& m_dispatcher;
};

} // namespace kelvane
