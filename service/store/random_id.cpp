#include "service/store/random_id.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include <sys/random.h>
#include <unistd.h>

namespace trevix {

std::string randomName(std::string_view prefix, std::size_t bytes) {
    // 64 bytes is more than any name here has, and within the 256 that getentropy(3) gives at once.
    std::array<unsigned char, 64> drawn{};
    const std::size_t count = std::min(bytes, drawn.size());
    // Fails only where the kernel has no such call. An id that can be guessed would open reports to
    // others, so there is no falling back on a weaker source.
    if (getentropy(drawn.data(), count) != 0) {
        std::fputs("trevix-local: the system's random source does not answer\n", stderr);
        std::abort();
    }
    static constexpr std::string_view kDigits = "0123456789abcdef";
    std::string name(prefix);
    for (std::size_t i = 0; i < count; ++i) {
        name += kDigits[drawn[i] >> 4U];
        name += kDigits[drawn[i] & 15U];
    }
    return name;
}

std::string newJobId() {
    return randomName("job_", 16);
}

std::string newRunId() {
    return randomName("run_", 16);
}

} // namespace trevix
