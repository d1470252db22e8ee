// A message of the desktop's own kind, for a person who looks elsewhere.

#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace kelvane {

struct Notification {
    std::string title; ///< Plain text, like all of it.
    std::string body;  ///< May be empty.
    /// What can be done with it: a name and what its button says. "default" is a click on the
    /// message itself. A desktop without buttons shows none.
    std::vector<std::pair<std::string, std::string>> actions;

    bool operator==(const Notification&) const = default;
};

class Notifications {
public:
    virtual ~Notifications() = default;

    /// Shows it in the place of the one before, if that is still there, and returns at once.
    /// `chosen` is called on the main thread with an action's name, as often as one is chosen, and
    /// not any more once another one was shown or this one taken back. Where nobody shows messages,
    /// or does not answer in time, nothing happens. Main thread.
    virtual void show(const Notification& notification,
                      std::function<void(const std::string& action)> chosen) = 0;

    /// Takes the one that is in sight away; nothing without one. Main thread.
    virtual void withdraw() = 0;
};

/// Where there are none.
class NoNotifications : public Notifications {
public:
    void show(const Notification&, std::function<void(const std::string&)>) override {}
    void withdraw() override {}
};

} // namespace kelvane
