// The program's jobs on Qt's threads, in the background and on the main thread.
//
// Background jobs run on a pool of threads of the dispatcher's own, enough of them that a job which
// waits for minutes keeps nobody from starting. Main-thread jobs run in the event loop of the
// thread that made the dispatcher. Jobs must not throw.

#pragma once

#include "platform/ports/dispatcher.h"

#include <memory>

namespace kelvane {

/// Precondition: Qt's application object exists and this is its thread, on which the
/// dispatcher must also be destroyed. Its end drops every job that has not begun and waits for
/// those that are running; they are expected to notice for themselves that the program quits.
[[nodiscard]] std::unique_ptr<Dispatcher> makeQtDispatcher();

} // namespace kelvane
