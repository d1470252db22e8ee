// Preloaded: a lookup of names that never ends, and says so.
//
// Writes a byte to the descriptor that HANGING_RESOLVER_FD names, then waits for ever.

#include <cstdlib>
#include <netdb.h>
#include <unistd.h>

extern "C" int getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**) {
    const char* descriptor = std::getenv("HANGING_RESOLVER_FD");
    if (descriptor != nullptr) {
        const auto number = static_cast<int>(std::strtol(descriptor, nullptr, 10));
        if (::write(number, "x", 1) != 1) std::abort();
    }
    while (true) ::pause();
}
