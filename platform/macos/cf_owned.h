// A Core Foundation object that is released with its owner.

#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

namespace kelvane {

/// Owns one reference, or none. `T` is a reference type such as `CFArrayRef`. Meant for what a
/// function with "Create" or "Copy" in its name returned; what a "Get" function returned belongs to
/// someone else.
template <class T>
class CFOwned {
public:
    CFOwned() = default;
    explicit CFOwned(T reference) : m_reference(reference) {}
    CFOwned(CFOwned&& other) noexcept : m_reference(std::exchange(other.m_reference, nullptr)) {}
    CFOwned& operator=(CFOwned&& other) noexcept {
        if (this != &other) {
            release();
            m_reference = std::exchange(other.m_reference, nullptr);
        }
        return *this;
    }
    ~CFOwned() { release(); }

    /// Null when there is none. Good for as long as this lives.
    [[nodiscard]] T get() const { return m_reference; }
    [[nodiscard]] explicit operator bool() const { return m_reference != nullptr; }

private:
    void release() {
        if (m_reference != nullptr) CFRelease(m_reference);
    }

    T m_reference = nullptr;
};

} // namespace kelvane
