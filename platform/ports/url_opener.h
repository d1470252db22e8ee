// The opener of addresses: each is shown in the program that the user chose for it.

#pragma once

#include <string_view>

namespace kelvane {

class UrlOpener {
public:
    virtual ~UrlOpener() = default;

    /// Hands the address to the user's browser and returns without waiting for it. False when the
    /// text is no valid address or nothing could be started; then nothing has happened. Main
    /// thread.
    virtual bool open(std::string_view url) = 0;
};

} // namespace kelvane
