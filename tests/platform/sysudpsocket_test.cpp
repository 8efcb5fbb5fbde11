#include "sysudpsocket.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

const uint32_t LOOPBACK = 0x7F000001u;

// Opens on an ephemeral loopback port, never the screen server's 65529.
void openEphemeral(SysUdpSocket& s, const std::string& name)
{
    ASSERT_EQ(s.open(0, SysAddressFamilyIPv4, name, "127.0.0.1"), 0);
    ASSERT_GE(s.socketHandle(), 0);
    ASSERT_NE(s.localPort(), 0);
    ASSERT_NE(s.localPort(), 65529);
}

} // namespace

TEST(SysUdpSocket, RoundTripReportsSenderAndKeepsEveryByte)
{
    SysUdpSocket a, b;
    openEphemeral(a, "a");
    openEphemeral(b, "b");
    EXPECT_EQ(a.name(), "a");

    const unsigned char msg[] = {0x40, 0x00, 0xFF, 0x80, 0x7F};
    ASSERT_EQ(a.write(msg, sizeof msg, LOOPBACK, b.localPort()), 5);

    unsigned char buf[16];
    std::memset(buf, 0xAA, sizeof buf);
    uint32_t from = 0;
    unsigned short fromPort = 0;
    ASSERT_EQ(b.read(buf, sizeof buf, &from, &fromPort), 5);
    EXPECT_EQ(std::memcmp(buf, msg, sizeof msg), 0);
    EXPECT_EQ(buf[5], 0xAA);
    EXPECT_EQ(from, LOOPBACK);
    EXPECT_EQ(fromPort, a.localPort());

    // And back to the reported sender, with null out-parameters.
    ASSERT_EQ(b.write("xy", 2, from, fromPort), 2);
    ASSERT_EQ(a.read(buf, sizeof buf, nullptr, nullptr), 2);
    EXPECT_EQ(std::memcmp(buf, "xy", 2), 0);
}

TEST(SysUdpSocket, LongDatagramIsTruncatedAndEmptyOneIsNotAnError)
{
    SysUdpSocket a, b;
    openEphemeral(a, "a");
    openEphemeral(b, "b");

    ASSERT_EQ(a.write("0123456789", 10, LOOPBACK, b.localPort()), 10);
    ASSERT_EQ(a.write("AB", 2, LOOPBACK, b.localPort()), 2);
    ASSERT_EQ(a.write("", 0, LOOPBACK, b.localPort()), 0);
    ASSERT_EQ(a.write("Z", 1, LOOPBACK, b.localPort()), 1);

    char buf[16];
    std::memset(buf, 0, sizeof buf);
    unsigned short port = 0;
    ASSERT_EQ(b.read(buf, 4, nullptr, &port), 4);
    EXPECT_EQ(std::string(buf, 5), std::string("0123\0", 5));
    EXPECT_EQ(port, a.localPort());
    // The rest of the long datagram is gone; the next read gets the next one.
    ASSERT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), 2);
    EXPECT_EQ(std::string(buf, 2), "AB");
    // A zero-length datagram is a datagram, not a shut-down socket.
    port = 0;
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, &port), 0);
    EXPECT_EQ(port, a.localPort());
    ASSERT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), 1);
    EXPECT_EQ(buf[0], 'Z');
}

TEST(SysUdpSocket, ShutdownReadWakesBlockedReaderForGood)
{
    SysUdpSocket a, b;
    openEphemeral(a, "a");
    openEphemeral(b, "b");

    std::atomic<bool> reading{false};
    std::atomic<int> result{-2};
    std::thread reader([&] {
        char buf[8];
        reading = true;
        result = b.read(buf, sizeof buf, nullptr, nullptr);
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
    char buf[8];
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), -1);
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), -1);

    // Opening again gives a working socket.
    openEphemeral(b, "b2");
    ASSERT_EQ(a.write("ok", 2, LOOPBACK, b.localPort()), 2);
    EXPECT_EQ(b.read(buf, sizeof buf, nullptr, nullptr), 2);
}

TEST(SysUdpSocket, FailuresReturnMinusOne)
{
    SysUdpSocket s;
    char buf[4];
    EXPECT_EQ(s.socketHandle(), -1);
    EXPECT_EQ(s.localPort(), 0);
    EXPECT_EQ(s.read(buf, sizeof buf, nullptr, nullptr), -1);
    EXPECT_EQ(s.write(buf, sizeof buf, LOOPBACK, 9), -1);
    s.shutdownRead();

    EXPECT_EQ(s.open(0, SysAddressFamilyIPv4, "bad", "not-an-address"), -1);
    EXPECT_EQ(s.socketHandle(), -1);
    EXPECT_EQ(s.open(0, SysAddressFamilyUnspecified, "fam", "127.0.0.1"), -1);
    EXPECT_EQ(s.socketHandle(), -1);

    SysUdpSocket owner;
    openEphemeral(owner, "owner");
    EXPECT_EQ(s.open(owner.localPort(), SysAddressFamilyIPv4, "taken", "127.0.0.1"), -1);

    EXPECT_EQ(owner.read(buf, -1, nullptr, nullptr), -1);
    EXPECT_EQ(owner.read(nullptr, 4, nullptr, nullptr), -1);
    EXPECT_EQ(owner.write(buf, -1, LOOPBACK, owner.localPort()), -1);
    owner.close();
    EXPECT_EQ(owner.socketHandle(), -1);
    owner.close();
}
