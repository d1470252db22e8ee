// Which connections there may be, and which one goes when there are too many.
//
// A connection that came is admitted, at the cost of one that has done the least: first the one
// that has been silent for longest, then one whose request is not whole yet, then one that is only
// being let go, then one that has not yet taken its answer. A request that is being judged, or
// whose key was right and whose body is on its way, is never given up for another; while nothing
// else is left, who comes is turned away. The same holds for the connections of one peer among
// themselves. A value without sockets; one thread.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>

namespace trevix {

class ConnectionTable {
public:
    using Id = std::uint64_t;

    /// What a connection is doing, in the order in which they are given up.
    enum class Phase {
        silent,  ///< Nothing of a request has come.
        head,    ///< A part of one.
        fading,  ///< It was answered; what still comes is passed over.
        sending, ///< It has yet to take its answer.
        busy,    ///< Its body is read, or its answer is being found.
    };

    struct Admission {
        bool admitted = false;
        std::optional<Id> dropped; ///< Gave its place, and is no longer in the table.

        bool operator==(const Admission&) const = default;
    };

    /// At least one of each.
    ConnectionTable(std::size_t most, std::size_t mostOfOnePeer);

    /// A new connection, silent as yet. `id` must be new.
    [[nodiscard]] Admission admit(Id id, const std::string& peer);

    /// The connection is doing something else now, and is the newest of those who do. Nothing when
    /// it is not in the table.
    void enter(Id id, Phase phase);

    /// Nothing when it is not in the table.
    void remove(Id id);

    /// Takes out the connection that is the first to be given up, for want of descriptors. Absent
    /// when all are busy.
    [[nodiscard]] std::optional<Id> giveUpOne();

    [[nodiscard]] std::size_t size() const { return m_connections.size(); }

private:
    static constexpr std::size_t kPhases = 5;

    struct Entry {
        std::string peer;
        Phase phase = Phase::silent;
        std::list<Id>::iterator place;
    };

    [[nodiscard]] std::optional<Id> firstToGo(const std::string* ofPeer) const;

    const std::size_t m_most;
    const std::size_t m_mostOfOnePeer;
    std::map<Id, Entry> m_connections;
    std::map<std::string, std::size_t> m_ofPeer;
    std::array<std::list<Id>, kPhases> m_order; ///< By phase, the oldest first.
};

} // namespace trevix
