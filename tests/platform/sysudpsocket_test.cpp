#include "sysudpsocket.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

const uint32_t LOOPBACK = 0x7F000001u;

// Two sockets on ephemeral loopback ports, never the screen server's 65529.
class UdpPair : public ::testing::Test {
protected:
    void SetUp() override
    {
        openEphemeral(a, "a");
        openEphemeral(b, "b");
    }
    static void openEphemeral(SysUdpSocket& s, const std::string& name)
    {
        ASSERT_EQ(s.open(0, SysAddressFamilyIPv4, name, "127.0.0.1"), 0);
        ASSERT_GE(s.socketHandle(), 0);
        ASSERT_NE(s.localPort(), 0);
        ASSERT_NE(s.localPort(), 65529);
    }
    SysUdpSocket a, b;
    char buf[16];
};

} // namespace

// Datagrams keep every byte and their boundaries: a long one is truncated
// and its rest lost, an empty one is a datagram, not a shut-down socket.
TEST_F(UdpPair, DatagramsKeepBytesBoundariesAndSender)
{
    const std::string msgs[] = {std::string("\x40\x00\xFF\x80\x7F", 5), "0123456789", "", "Z"};
    for (const std::string& m : msgs)
        ASSERT_EQ(a.write(m.data(), static_cast<int>(m.size()), LOOPBACK, b.localPort()),
                  static_cast<int>(m.size()));
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t from = 0;
    unsigned short fromPort = 0;
    ASSERT_EQ(b.read(buf, sizeof buf, &from, &fromPort), 5);
    EXPECT_EQ(std::string(buf, 6), msgs[0] + "\xAA");
    EXPECT_EQ(from, LOOPBACK);
    EXPECT_EQ(fromPort, a.localPort());
    std::memset(buf, 0xAA, sizeof buf);
    ASSERT_EQ(b.read(buf, 4, nullptr, nullptr), 4);
    EXPECT_EQ(std::string(buf, 5), "0123\xAA");
    fromPort = 0;
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, &fromPort), 0);
    EXPECT_EQ(fromPort, a.localPort());
    ASSERT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), 1);
    EXPECT_EQ(buf[0], 'Z');

    // And back to the reported sender, with null out-parameters.
    ASSERT_EQ(b.write("xy", 2, from, a.localPort()), 2);
    ASSERT_EQ(a.read(buf, sizeof buf, nullptr, nullptr), 2);
    EXPECT_EQ(std::string(buf, 2), "xy");
}

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
    // Whether the reader is already blocked or not yet in recvfrom, the
    // read must end with -1.
    b.shutdownRead();
    reader.join();
    EXPECT_EQ(result.load(), -1);

    // Later reads fail at once, even with a datagram waiting.
    a.write("late", 4, LOOPBACK, b.localPort());
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), -1);
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), -1);

    // Opening again gives a working socket.
    openEphemeral(b, "b2");
    ASSERT_EQ(a.write("ok", 2, LOOPBACK, b.localPort()), 2);
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), 2);
}

TEST_F(UdpPair, FailuresReturnMinusOne)
{
    SysUdpSocket s; // never opened
    EXPECT_EQ(s.read(buf, sizeof buf, nullptr, nullptr), -1);
    EXPECT_EQ(s.write(buf, sizeof buf, LOOPBACK, 9), -1);
    s.shutdownRead();
    EXPECT_EQ(s.open(0, SysAddressFamilyIPv4, "bad", "not-an-address"), -1);
    EXPECT_EQ(s.open(0, static_cast<SysAddressFamily>(0), "fam", "127.0.0.1"), -1); // no family
    EXPECT_EQ(s.open(a.localPort(), SysAddressFamilyIPv4, "taken", "127.0.0.1"), -1);
    EXPECT_EQ(s.socketHandle(), -1);
    // Negative lengths and a missing buffer never reach the system.
    EXPECT_EQ(a.read(buf, -1, nullptr, nullptr), -1);
    EXPECT_EQ(a.read(nullptr, 4, nullptr, nullptr), -1);
    EXPECT_EQ(a.write(buf, -1, LOOPBACK, a.localPort()), -1);
    a.close();
    a.close();
    EXPECT_EQ(a.socketHandle(), -1);
}
