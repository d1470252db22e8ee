#include "service/http/peer_user.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

namespace trevix {
namespace {

// In the form of Linux's table on a machine of little-endian byte order.
constexpr const char* kTable =
    R"(  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode
   0: 0100007F:225D 00000000:0000 0A 00000000:00000000 00:00000000 00000000     7        0 100 1
   1: 0100007F:C350 0100007F:225D 01 00000000:00000000 00:00000000 00000000  1001        0 101 1
   2: 0100007F:225D 0100007F:C350 01 00000000:00000000 00:00000000 00000000  1000        0 102 1
   3: 0200007F:C350 0100007F:225D 01 00000000:00000000 00:00000000 00000000  1003        0 103 1
   4: cut short
)";

bool littleEndian() {
    const unsigned one = 1;
    return *reinterpret_cast<const unsigned char*>(&one) == 1;
}

TEST(PeerUser, IsWhoseTheOtherEndIs) {
    if (!littleEndian()) GTEST_SKIP() << "the table has this machine's byte order";
    EXPECT_EQ(userInTcpTable(kTable, "127.0.0.1:50000", "127.0.0.1:8797"), 1001U);
    EXPECT_EQ(userInTcpTable(kTable, "127.0.0.2:50000", "127.0.0.1:8797"), 1003U);
}

TEST(PeerUser, IsAbsentForWhatTheTableDoesNotHold) {
    EXPECT_EQ(userInTcpTable(kTable, "127.0.0.1:50001", "127.0.0.1:8797"), std::nullopt);
    EXPECT_EQ(userInTcpTable(kTable, "127.0.0.1:50000", "127.0.0.1:8798"), std::nullopt);
    for (const char* odd :
         {"", "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:70000", "[::1]:1", "0:0:0"}) {
        EXPECT_EQ(userInTcpTable(kTable, odd, "127.0.0.1:8797"), std::nullopt) << odd;
        EXPECT_EQ(userInTcpTable(kTable, "127.0.0.1:50000", odd), std::nullopt) << odd;
    }
    EXPECT_EQ(userInTcpTable("", "127.0.0.1:50000", "127.0.0.1:8797"), std::nullopt);
}

TEST(PeerUser, OfAUnixSocketIsToldByTheSystem) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    EXPECT_EQ(userOfUnixPeer(ends[0]), geteuid());
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(userOfUnixPeer(ends[0]), std::nullopt);
}

} // namespace
} // namespace trevix
