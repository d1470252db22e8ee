// What the other programs of a shared store tell, as it happens.
//
// For service/postgres only. A thread and a connection of its own, made anew when it breaks: while
// it is broken nothing is told, and once it is made again that anything may have happened is.

#pragma once

#include "service/store/shared_store.h"

#include <functional>
#include <string>
#include <string_view>
#include <thread>

namespace trevix {

/// The channel of the database, and what goes over it: "came", "over ID", "cancel ID".
constexpr const char* kChannel = "trevix";

/// What a message of the channel says; `anything` for one that is not understood.
[[nodiscard]] StoreNews newsIn(std::string_view message);

class NewsListener {
public:
    NewsListener(std::string address, std::function<void(const StoreNews&)> news);
    ~NewsListener(); ///< Waits for a call of `news` that is under way.
    NewsListener(const NewsListener&) = delete;
    NewsListener& operator=(const NewsListener&) = delete;

private:
    void run();
    void listen();
    /// Until the socket, where there is one, can be read or the end was asked for: then false.
    [[nodiscard]] bool await(int socket, int milliseconds) const;

    const std::string m_address;
    const std::function<void(const StoreNews&)> m_news;
    int m_end[2] = {-1, -1}; ///< A pipe whose writing end is closed to end the thread.
    std::thread m_thread;
};

} // namespace trevix
