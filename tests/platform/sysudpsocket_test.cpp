// The byte-level behaviour of datagrams (a long one cut to the reader's
// length, an empty one read as 0 bytes, the sender's port) is checked
// through the screen server in tests/sharing/server_test.cpp.
#include "sysudpsocket.h"

#include <atomic>
#include <cstdint>
#include <thread>

#include <gtest/gtest.h>

namespace {

const uint32_t LOOPBACK = 0x7F000001u;

// Two sockets on ephemeral loopback ports, never the screen server's 65529.
class UdpPair : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(a.open(0, SysAddressFamilyIPv4, "a", "127.0.0.1"), 0);
        ASSERT_EQ(b.open(0, SysAddressFamilyIPv4, "b", "127.0.0.1"), 0);
        ASSERT_NE(b.localPort(), 0);
    }
    SysUdpSocket a, b;
    char buf[16];
};

} // namespace

// Whether the reader is already blocked or not yet in recvfrom, the read
// ends with -1; later reads fail at once, even with a datagram waiting.
TEST_F(UdpPair, ShutdownReadWakesBlockedReaderForGood)
{
    std::atomic<bool> reading{false};
    std::atomic<int> result{-2};
    std::thread reader([&] {
        char mine[8];
        reading = true;
        result = b.read(mine, sizeof mine, nullptr, nullptr);
    });
    while (!reading.load())
        std::this_thread::yield();
    b.shutdownRead();
    reader.join();
    EXPECT_EQ(result.load(), -1);
    ASSERT_EQ(a.write("late", 4, LOOPBACK, b.localPort()), 4);
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), -1);
}

TEST_F(UdpPair, FailuresReturnMinusOne)
{
    SysUdpSocket s; // never opened
    EXPECT_EQ(s.read(buf, sizeof buf, nullptr, nullptr), -1);
    EXPECT_EQ(s.write(buf, sizeof buf, LOOPBACK, 9), -1);
    EXPECT_EQ(s.open(a.localPort(), SysAddressFamilyIPv4, "taken", "127.0.0.1"), -1);
    // Negative lengths and a missing buffer never reach the system.
    EXPECT_EQ(a.read(buf, -1, nullptr, nullptr), -1);
    EXPECT_EQ(a.read(nullptr, 4, nullptr, nullptr), -1);
    EXPECT_EQ(a.write(buf, -1, LOOPBACK, a.localPort()), -1);
}
