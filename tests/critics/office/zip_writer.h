// ZIP archives for tests, written here byte by byte: stored entries, with whatever names and sizes
// a test wants them to claim.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trevix::archives {

struct Entry {
    std::string name;
    std::string content;
    std::optional<std::uint32_t> claimedSize =
        std::nullopt; ///< Unpacked; the entry then claims to be deflated.
    bool encrypted = false;
};

inline std::uint32_t crc32(std::string_view bytes) {
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~crc;
}

inline void put(std::string& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(value >> (8U * static_cast<unsigned>(i)));
}

inline std::string zip(const std::vector<Entry>& entries) {
    std::string out;
    std::string directory;
    for (const Entry& entry : entries) {
        const auto offset = static_cast<std::uint32_t>(out.size());
        const auto packed = static_cast<std::uint32_t>(entry.content.size());
        std::string common;
        put(common, 20, 2);
        put(common, entry.encrypted ? 1 : 0, 2);
        put(common, entry.claimedSize ? 8 : 0, 2);
        put(common, 0, 4); // Time and date.
        put(common, crc32(entry.content), 4);
        put(common, packed, 4);
        put(common, entry.claimedSize.value_or(packed), 4);
        put(common, static_cast<std::uint32_t>(entry.name.size()), 2);
        put(common, 0, 2);
        out += "PK\x03\x04" + common + entry.name + entry.content;
        directory += std::string("PK\x01\x02");
        put(directory, 20, 2);
        directory += common;
        put(directory, 0, 2); // Comment.
        put(directory, 0, 2); // Disk.
        put(directory, 0, 2);
        put(directory, 0, 4);
        put(directory, offset, 4);
        directory += entry.name;
    }
    const auto at = static_cast<std::uint32_t>(out.size());
    out += directory + "PK\x05\x06";
    put(out, 0, 4);
    put(out, static_cast<std::uint32_t>(entries.size()), 2);
    put(out, static_cast<std::uint32_t>(entries.size()), 2);
    put(out, static_cast<std::uint32_t>(directory.size()), 4);
    put(out, at, 4);
    put(out, 0, 2);
    return out;
}

} // namespace trevix::archives
