// A value that tells its observers before it changes.
//
// Each `Published` has its own stream of changes; the object that owns several of them has one
// more, `WillChange`, that speaks for all. Every assignment notifies, equal values included, and it
// notifies *before* the value is replaced: an observer still reads the old value and is handed the
// new one. Main thread only. A subscription ends when it is destroyed, and may be destroyed after
// the value it watched.

#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace kelvane {

/// Keeps one observer registered for as long as it lives. Movable; an empty one watches nothing.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end) : m_end(std::move(end)) {}
    Subscription(Subscription&& other) noexcept : m_end(std::exchange(other.m_end, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            end();
            m_end = std::exchange(other.m_end, nullptr);
        }
        return *this;
    }
    ~Subscription() { end(); }

    void end() {
        if (const auto f = std::exchange(m_end, nullptr)) f();
    }

private:
    std::function<void()> m_end;
};

/// The observers of one stream, called in the order in which they subscribed. An observer may
/// subscribe or end subscriptions while it is being called.
template <typename... Args>
class Observers {
public:
    using Observer = std::function<void(Args...)>;

    [[nodiscard]] Subscription add(Observer observer) {
        const std::uint64_t key = m_state->next++;
        m_state->observers.emplace(key, std::make_shared<Observer>(std::move(observer)));
        return Subscription([state = std::weak_ptr(m_state), key] {
            if (const auto alive = state.lock()) alive->observers.erase(key);
        });
    }

    void notify(const Args&... args) const {
        const auto snapshot = m_state->observers;
        for (const auto& [key, observer] : snapshot) {
            if (m_state->observers.contains(key)) (*observer)(args...);
        }
    }

private:
    struct State {
        std::uint64_t next = 0;
        std::map<std::uint64_t, std::shared_ptr<Observer>> observers;
    };
    std::shared_ptr<State> m_state = std::make_shared<State>();
};

/// The one stream that speaks for a whole object.
using WillChange = Observers<>;

template <typename T>
class Published {
public:
    explicit Published(WillChange& owner, T initial = {})
        : m_owner(&owner),
          m_value(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    [[nodiscard]] const T& get() const { return m_value; }
    const T& operator*() const { return m_value; }
    const T* operator->() const { return &m_value; }

    Published& operator=(T next) {
        m_owner->notify();
        m_observers.notify(next);
        m_value = std::move(next);
        return *this;
    }

    /// Calls `observer` with the coming value before each assignment.
    [[nodiscard]] Subscription observe(std::function<void(T)> observer) {
        return m_observers.add(std::move(observer));
    }

private:
    WillChange* m_owner;
    Observers<T> m_observers;
    T m_value;
};

} // namespace kelvane
