#include "service/http/peer_user.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace trevix {

namespace {

// As the kernel prints it: the address as a number of this machine's byte order, the port as
// people write it, both in capital hexadecimal digits. Empty for what is no IPv4 address.
std::string tableForm(const std::string& address) {
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos) return {};
    in_addr number{};
    if (inet_pton(AF_INET, address.substr(0, colon).c_str(), &number) != 1) return {};
    unsigned port = 0;
    const char* end = address.data() + address.size();
    const auto parsed = std::from_chars(address.data() + colon + 1, end, port);
    if (parsed.ec != std::errc() || parsed.ptr != end || port > 0xffffU) return {};
    char text[16];
    std::snprintf(text, sizeof text, "%08X:%04X", static_cast<unsigned>(number.s_addr), port);
    return text;
}

} // namespace

std::optional<uid_t> userOfUnixPeer(int socket) {
#ifdef SO_PEERCRED
    ucred peer{};
    socklen_t size = sizeof peer;
    // As they were when the peer connected, which is what was promised of it.
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
    return peer.uid;
#else
    uid_t user = 0;
    gid_t group = 0;
    if (getpeereid(socket, &user, &group) != 0) return std::nullopt;
    return user;
#endif
}

std::optional<uid_t> userInTcpTable(std::string_view table, const std::string& client,
                                    const std::string& server) {
    // Each connection over the loopback has two rows, one for either end. The row of the client's
    // end is wanted, and there the client is the local side.
    const std::string local = tableForm(client);
    const std::string remote = tableForm(server);
    if (local.empty() || remote.empty()) return std::nullopt;
    std::istringstream lines{std::string(table)};
    std::string line;
    while (std::getline(lines, line)) {
        // "sl: local_address rem_address st tx:rx tr:when retrnsmt uid ..."
        std::istringstream words(line);
        std::vector<std::string> fields{std::istream_iterator<std::string>(words), {}};
        if (fields.size() < 8 || fields[1] != local || fields[2] != remote) continue;
        unsigned long user = 0;
        const char* end = fields[7].data() + fields[7].size();
        const auto parsed = std::from_chars(fields[7].data(), end, user);
        if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
        return static_cast<uid_t>(user);
    }
    return std::nullopt;
}

std::optional<uid_t> userOfTcpPeer(const std::string& client, const std::string& server) {
    // Where there is no such file, on other systems, the table is empty and nobody is found. It is
    // read anew each time: it has a row for every connection of the machine.
    std::ifstream file("/proc/net/tcp", std::ios::binary);
    const std::string table{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return userInTcpTable(table, client, server);
}

} // namespace trevix
