#include "service/team_keys.h"

#include "service/setup/team_key_text.h"
#include "service/wire.h"

#include <algorithm>
#include <condition_variable>
#include <utility>

namespace trevix {

namespace {

constexpr std::int64_t kMsADay = std::int64_t{24} * 60 * 60 * 1000;

std::int64_t steadyMs(std::chrono::steady_clock::time_point at) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(at.time_since_epoch()).count();
}

std::string number(std::int64_t value) {
    return value == 0 ? "any" : std::to_string(value);
}

std::string day(std::int64_t ms) {
    return isoTime(ms).substr(0, 10);
}

std::string listed(const std::vector<TeamKey>& keys, std::int64_t nowMs) {
    std::string text = "NAME\tGROUP\tSCOPE\tA MINUTE\tA DAY\tSINCE\tSTATE\n";
    for (const TeamKey& key : keys) {
        std::string state = "good";
        if (key.revokedMs) {
            state = "revoked " + day(*key.revokedMs);
        } else if (key.expiresMs) {
            state = (nowMs < *key.expiresMs ? "good until " : "expired ") + day(*key.expiresMs);
        }
        text += key.name + "\t" + key.group + "\t" +
                (key.scope == KeyScope::grade ? "grade" : "read") + "\t" + number(key.perMinute) +
                "\t" + number(key.perDay) + "\t" + day(key.createdMs) + "\t" + state + "\n";
    }
    return text;
}

} // namespace

bool RequestBudget::take(std::int64_t perMinute, std::int64_t nowMs) {
    if (perMinute == 0) return true;
    const auto most = static_cast<double>(perMinute);
    // The first request finds all of it.
    left = lastMs == 0 ? most
                       : std::min(most, left + static_cast<double>(nowMs - lastMs) * most / 60'000);
    lastMs = std::max<std::int64_t>(nowMs, 1);
    if (left < 1) return false;
    left -= 1;
    return true;
}

TeamKeys::TeamKeys(SharedStore& store, std::chrono::milliseconds every) : m_store(store) {
    reread();
    m_rereads = StoppableThread([this, every](const StopToken& stop) {
        std::mutex mutex;
        std::condition_variable woken;
        // Under the lock, or the word would be missed between the look and the wait.
        const StopCallback wake(stop, [&] {
            const std::lock_guard lock(mutex);
            woken.notify_all();
        });
        std::unique_lock lock(mutex);
        while (!stop.isAsked()) {
            woken.wait_for(lock, every, [&] { return stop.isAsked(); });
            if (stop.isAsked()) return;
            try {
                reread();
            } catch (const StoreError&) {
                // Those that were read stand.
            }
        }
    });
}

void TeamKeys::reread() {
    std::map<std::string, TeamKey> keys;
    for (TeamKey& key : m_store.keys()) keys[key.digest] = std::move(key);
    const std::int64_t now = m_store.nowMs();
    const std::lock_guard lock(m_mutex);
    m_keys = std::move(keys);
    m_readMs = now;
    m_readAt = std::chrono::steady_clock::now();
}

std::optional<TeamKey> TeamKeys::keyOf(std::string_view authorizationHeader) const {
    const auto sent = bearerIn(authorizationHeader);
    if (!sent) return std::nullopt;
    // What is looked up is a digest: how long that takes tells nothing of the key.
    const std::string digest = keyDigest(*sent);
    const std::lock_guard lock(m_mutex);
    const auto found = m_keys.find(digest);
    const std::int64_t now =
        m_readMs + steadyMs(std::chrono::steady_clock::now()) - steadyMs(m_readAt);
    if (found == m_keys.end() || !found->second.isGoodAt(now)) return std::nullopt;
    return found->second;
}

bool TeamKeys::mayAsk(const TeamKey& key) {
    const std::lock_guard lock(m_mutex);
    return m_budgets[key.name].take(key.perMinute, steadyMs(std::chrono::steady_clock::now()));
}

KeysDone runKeysCommand(SharedStore& store, const KeysCommand& command) {
    const std::int64_t now = store.nowMs();
    switch (command.action) {
    case KeysCommand::Action::add: {
        const std::string text = newTeamKey();
        TeamKey key;
        key.name = command.name;
        key.group = command.group.value_or(command.name);
        key.digest = keyDigest(text);
        key.scope = command.scope;
        key.createdMs = now;
        if (command.expiresDays > 0) key.expiresMs = now + command.expiresDays * kMsADay;
        key.perMinute = command.perMinute;
        key.perDay = command.perDay;
        // A name that was revoked stays its own: what stands in the record of uses is not to be
        // somebody else's.
        if (!store.addKey(key)) return {1, "there is a key named " + command.name + " already"};
        return {0, text + "\n"};
    }
    case KeysCommand::Action::revoke:
        if (!store.revokeKey(command.name)) {
            return {1, "there is no key named " + command.name + " that is good"};
        }
        return {0, command.name + " is revoked\n"};
    case KeysCommand::Action::list:
    case KeysCommand::Action::help:
        break;
    }
    return {0, listed(store.keys(), now)};
}

} // namespace trevix
