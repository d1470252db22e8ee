// The claim to be the one instance of this program for a user on a display.
//
// The first start holds a lock that the system takes back however the process ends, and listens on
// a socket beside it; a later start finds the lock held, says what it was started with and goes.
// Both lie in a folder that only this user can enter. Another display of the same user, say a
// remote one, is another desktop with a program of its own.
//
// Main thread only; needs Qt's application object, and its event loop to hear of others.

#pragma once

#include "app/instance_place.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSocketNotifier;

namespace kelvane {

class SingleInstance {
public:
    /// Tries to become the one instance called `desktop` in `folder`, which is made when missing.
    /// A folder that belongs to someone else, or that others may enter, is not used.
    SingleInstance(std::filesystem::path folder, const std::string& desktop);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    enum class Role {
        First,   ///< This is the one.
        Later,   ///< Another one runs.
        Unknown, ///< The folder cannot be used; the program had better run than not.
    };
    [[nodiscard]] Role role() const { return m_role; }

    /// As the first one: has `opened` called, with the token that lets a window take the focus
    /// (empty when there was none), for every later start, and other lines answered by `answer`,
    /// which returns soon and gives the line to reply.
    void listen(std::function<void(std::string activationToken)> opened,
                std::function<std::string(const std::string& line)> answer = nullptr);

    /// As a later one: tells the first one to show itself. False when it does not take the message
    /// within two seconds.
    [[nodiscard]] bool askToOpen(const std::string& activationToken);

private:
    [[nodiscard]] std::filesystem::path lockFile() const;
    [[nodiscard]] std::filesystem::path socketFile() const;
    void serve(const std::function<void(std::string)>& opened,
               const std::function<std::string(const std::string&)>& answer);

    std::filesystem::path m_folder;
    std::string m_desktop;
    Role m_role = Role::Unknown;
    int m_lock = -1;
    std::unique_ptr<QSocketNotifier> m_listening; // of the socket that it listens on
};

} // namespace kelvane
