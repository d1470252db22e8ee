#include "service/http/connection_table.h"

#include <algorithm>
#include <utility>

namespace trevix {

ConnectionTable::ConnectionTable(std::size_t most, std::size_t mostOfOnePeer)
    : m_most(std::max<std::size_t>(most, 1)),
      m_mostOfOnePeer(std::max<std::size_t>(mostOfOnePeer, 1)) {}

ConnectionTable::Admission ConnectionTable::admit(Id id, const std::string& peer) {
    Admission admission;
    const auto known = m_ofPeer.find(peer);
    const bool peerIsFull = known != m_ofPeer.end() && known->second >= m_mostOfOnePeer;
    // Where one peer has its share, that peer makes the room, so that it cannot push out others.
    if (peerIsFull || m_connections.size() >= m_most) {
        admission.dropped = firstToGo(peerIsFull ? &peer : nullptr);
        if (!admission.dropped) return admission;
        remove(*admission.dropped);
    }
    auto& order = m_order[static_cast<std::size_t>(Phase::silent)];
    // A list per phase, oldest first. Splicing keeps an entry's place valid, so a change of phase
    // is found in constant time however many connections there are.
    m_connections.emplace(id, Entry{peer, Phase::silent, order.insert(order.end(), id)});
    ++m_ofPeer[peer];
    admission.admitted = true;
    return admission;
}

void ConnectionTable::enter(Id id, Phase phase) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) return;
    Entry& entry = found->second;
    auto& order = m_order[static_cast<std::size_t>(phase)];
    order.splice(order.end(), m_order[static_cast<std::size_t>(entry.phase)], entry.place);
    entry.phase = phase;
}

void ConnectionTable::remove(Id id) {
    const auto found = m_connections.find(id);
    if (found == m_connections.end()) return;
    const Entry& entry = found->second;
    m_order[static_cast<std::size_t>(entry.phase)].erase(entry.place);
    const auto peer = m_ofPeer.find(entry.peer);
    if (--peer->second == 0) m_ofPeer.erase(peer);
    m_connections.erase(found);
}

std::optional<ConnectionTable::Id> ConnectionTable::giveUpOne() {
    const auto id = firstToGo(nullptr);
    if (id) remove(*id);
    return id;
}

std::optional<ConnectionTable::Id> ConnectionTable::firstToGo(const std::string* ofPeer) const {
    // In the order of the phases: those that said nothing go first. A busy one is never dropped: it
    // ends by deadlines of its own.
    for (std::size_t phase = 0; phase < static_cast<std::size_t>(Phase::busy); ++phase) {
        // Every connection of the phase in the worst case, which is when one peer is at its limit;
        // thousands at most, by the descriptors.
        for (const Id id : m_order[phase]) {
            if (ofPeer == nullptr || m_connections.at(id).peer == *ofPeer) return id;
        }
    }
    return std::nullopt;
}

} // namespace trevix
