// Jobs, in the background and on the main thread.

#pragma once

#include <functional>

namespace kelvane {

class Dispatcher {
public:
    virtual ~Dispatcher() = default;

    /// Runs the job on some background thread, soon, and returns at once. Jobs may run at the same
    /// time as one another; whoever needs them apart starts the next when the last has reported.
    virtual void background(std::function<void()> job) = 0;

    /// Runs the job on the main thread, after the work that is running there now, in the order in
    /// which jobs were handed in. Any thread. Jobs still waiting when the program quits are
    /// dropped.
    virtual void main(std::function<void()> job) = 0;
};

} // namespace kelvane
