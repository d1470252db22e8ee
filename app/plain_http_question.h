// The question whether work and key may go to another machine unencrypted, asked once for each
// address.
//
// Called by the service client on background threads, which it holds up until the user has
// answered. The answer is kept in the file of `eval/plain_http.h`; where that cannot be written,
// for as long as the program runs. An alert that is closed without an answer refuses this once.

#pragma once

#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kelvane {

class Dialogs;
class Dispatcher;
class FileSystem;
class QuitSignal;

class PlainHttpQuestion {
public:
    struct Ports {
        FileSystem& files;
        Dialogs& dialogs;
        Dispatcher& dispatcher;
        QuitSignal& quit;
    };

    /// All of it must outlive the jobs that ask.
    PlainHttpQuestion(Ports ports, std::filesystem::path braskHome);

    /// Whether key and work may go to `address`. Blocks while the user is asked, and refuses once
    /// the program quits. Any thread but the main one, which shows the alert.
    [[nodiscard]] bool mayGoTo(const std::string& address);

private:
    struct Asked;
    [[nodiscard]] std::optional<bool> ask(const std::string& address);

    Ports m_ports;
    std::filesystem::path m_braskHome;
    std::mutex m_turn; // one question at a time; whoever comes second finds the answer
    std::map<std::string, bool> m_answers;
};

} // namespace kelvane
