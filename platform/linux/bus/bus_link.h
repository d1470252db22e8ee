// A connection to a message bus on which many questions are asked at once.
//
// Questions go out together and answers are taken as they come, within one limit for all of them: a
// program that does not answer costs that limit once, however many were asked. Whoever handles an
// answer may ask further questions, so a search goes on as fast as each program answers.
//
// One thread at a time; whoever shares a link locks around it. Nothing is read between two calls.

#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

struct sd_bus;
struct sd_bus_message;

namespace kelvane {

struct BusQuestion {
    std::string to; ///< A name on the bus.
    std::string path;
    std::string interface;
    std::string member;
};

class BusLink {
public:
    /// Adds the arguments of a question. False when that did not work; it is then not sent.
    using Write = std::function<bool(sd_bus_message*)>;
    /// Reads an answer; null when the program refused.
    using Read = std::function<void(sd_bus_message*)>;
    /// The name of the error with which it did, before `Read`.
    using Refused = std::function<void(std::string_view error)>;

    /// Connects to a bus by its address. Null when there is none there.
    [[nodiscard]] static std::unique_ptr<BusLink> open(const std::string& address);
    ~BusLink();
    BusLink(const BusLink&) = delete;
    BusLink& operator=(const BusLink&) = delete;

    /// Waits until the bus has let this program in; false when it has not within `limit`. A
    /// question with a file in it is for such a link: it would be waited with otherwise, for 90 s.
    [[nodiscard]] bool ready(std::chrono::milliseconds limit);

    /// Sends a question. It is answered during `wait`, or never. Nobody is started by it.
    void ask(const BusQuestion& question, const Write& write, Read read, Refused refused = {});

    /// Takes answers until all questions have theirs, `limit` has passed or `enough` holds, which
    /// is looked at after each answer and every 50 ms. What is unanswered then is given up. The
    /// names that had not answered when the limit passed.
    std::set<std::string> wait(std::chrono::milliseconds limit,
                               const std::function<bool()>& enough = {});

    /// Whether the bus still is there.
    [[nodiscard]] bool alive() const;

private:
    struct Pending;
    explicit BusLink(sd_bus* bus);
    bool waitForBus(std::chrono::milliseconds limit);

    sd_bus* m_bus;
    std::vector<std::unique_ptr<Pending>> m_pending;
    std::size_t m_open = 0; ///< Of the pending ones, how many have no answer.
};

/// The address of the user's session bus as the environment gives it: the variable's, else the
/// usual socket in the runtime folder. Empty when neither is said.
[[nodiscard]] std::string sessionBusAddress(std::string_view variable,
                                            std::string_view runtimeFolder);

} // namespace kelvane
