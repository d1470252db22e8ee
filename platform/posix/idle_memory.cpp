#include "platform/posix/idle_memory.h"

#ifdef __linux__
#include <sys/mman.h>

#include <charconv>
#include <cstdint>
#include <fstream>
#include <malloc.h>
#include <string>
#include <string_view>
#include <vector>
#elif defined(__APPLE__)
#include <malloc/malloc.h>
#endif

namespace kelvane {

#ifdef __linux__

namespace {

struct Mapping {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool ofFile = false; ///< Private, of a file, and not writable now.
    bool changed = true; ///< Holds pages of its own, as those that the loader has relocated.
};

/// "7f52a0000000-7f52a0021000 r-xp 00000000 fe:01 1234   /usr/lib/libX.so". The form of
/// /proc/PID/smaps, proc(5): this line, and figures about the mapping below it.
bool parseMapping(std::string_view line, Mapping& mapping) {
    const char* const end = line.data() + line.size();
    const auto first = std::from_chars(line.data(), end, mapping.begin, 16);
    if (first.ec != std::errc() || first.ptr == end || *first.ptr != '-') return false;
    const auto second = std::from_chars(first.ptr + 1, end, mapping.end, 16);
    if (second.ec != std::errc()) return false;
    const auto rest = line.substr(static_cast<std::size_t>(second.ptr - line.data()));
    mapping.ofFile = (rest.starts_with(" r--p ") || rest.starts_with(" r-xp ")) &&
                     rest.find(" /") != std::string_view::npos;
    return true;
}

std::vector<Mapping> unchangedFileMappings() {
    std::vector<Mapping> found;
    std::ifstream table("/proc/self/smaps");
    Mapping mapping;
    for (std::string line; std::getline(table, line);) {
        // Figures follow the line of their mapping.
        Mapping next;
        if (parseMapping(line, next)) {
            mapping = next;
        } else if (line.starts_with("Anonymous:")) {
            // Pages that were changed would be read anew from the file, without the change.
            mapping.changed = line.find(" 0 kB") == std::string::npos;
            if (mapping.ofFile && !mapping.changed) found.push_back(mapping);
        }
    }
    return found;
}

} // namespace

void releaseIdleMemory() {
    // What was freed and kept for later goes back to the system.
    ::malloc_trim(0);
    // Read again from the file when they are used; they cost nothing until then.
    for (const Mapping& mapping : unchangedFileMappings()) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): addresses come as text.
        ::madvise(reinterpret_cast<void*>(mapping.begin), mapping.end - mapping.begin,
                  MADV_DONTNEED);
    }
}

#elif defined(__APPLE__)

void releaseIdleMemory() {
    ::malloc_zone_pressure_relief(nullptr, 0);
}

#else

void releaseIdleMemory() {}

#endif

} // namespace kelvane
