// The key listener inside a whole ServerMode application: bytes written
// into the real named pipe come out as KEY_EVENT datagrams at a peer
// socket and as key events at the application (through its own client),
// the repeat is driven tick by tick, and teardown is timed while every
// thread is blocked.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <string>

#include "memoryscreen.h"
#include "sharing_support.h"
#include "uappserver.h"
#include "ueventloop.h"
#include "ukeylistener.h"
#include "utimermanager.h"

namespace {

// The keypad's raw numbers and their key codes; 0 for the rest.
int expectedCode(unsigned int raw)
{
    static const std::map<unsigned int, int> table = {
        {10, 42},  {11, 35},  {12, 2},   {13, 4},   {14, 1},   {15, 3},   {16, 13},
        {18, 14},  {19, 15},  {20, 16},  {21, 17},  {279, 22}, {280, 21}, {286, 20},
        {287, 18}, {289, 45}, {290, 46}, {291, 44}, {292, 45}, {293, 43}, {294, 19}};
    if (raw <= 9)
        return static_cast<int>(raw) + 48;
    auto it = table.find(raw);
    return it == table.end() ? 0 : it->second;
}

std::string datagram(int code, int state)
{
    char b[16];
    std::snprintf(b, sizeof b, "40 %02x %02x", code & 0xFF, state & 0xFF);
    return b;
}

const char* const kFallback = "UKeyListener: Didn't find /dev/input/keyboards\n"
                              "UKeyListener: ZOL fifo /tmp/kiv_keyboard open OK\n";

class KeysTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        UTimerManager::instance()->setPaused(true);
        ASSERT_FALSE(portTaken(65529)) << "port 65529 is taken";
        fifo = new KeyFifo;
        testing::internal::CaptureStderr();
        app = new RecordingApp("CallLogPhonelet", new MemoryScreen, UApplication::ServerMode);
        app->setEnabled(true);
        // The application's own client first, then the peer as the desktop.
        EXPECT_TRUE(waitFor([&] { return app->appServer()->registry().size() == 1; }));
        peer.send({0x01, 0x01, 0x00});
        EXPECT_TRUE(waitFor([&] { return app->appServer()->registry().size() == 2; }));
        // The first registrant, the application itself, owns the screen.
        EXPECT_TRUE(waitFor([&] { return app->eventCount() == 1; }));
        EXPECT_EQ("show ", app->events());
        app->clearEvents();
    }
    void TearDown() override
    {
        if (app) {
            EXPECT_EQ(kFallback, stopAndStderr());
        }
        delete fifo;
        UTimerManager::instance()->setPaused(false);
    }
    std::string stopAndStderr()
    {
        delete app;
        app = nullptr;
        return testing::internal::GetCapturedStderr();
    }
    // Runs the timers by `ms` and delivers what they posted.
    void advance(int ms)
    {
        for (int i = 0; i < ms / 10; ++i)
            UTimerManager::instance()->tick(10);
        app->eventLoop()->processPendingEvents();
    }

    KeyFifo* fifo = nullptr;
    RecordingApp* app = nullptr;
    UdpEndpoint peer;
};

TEST_F(KeysTest, EveryRecordByteAndMapKeyOverItsWholeRange)
{
    std::string expectedWire, expectedEvents, expectedErr = kFallback;
    for (int b = 0; b < 256; ++b) {
        fifo->write({static_cast<unsigned char>(b)});
        int code = expectedCode(b & 0x7F);
        int state = b & 0x80 ? 0 : 1;
        expectedWire += datagram(code, state) + "\n";
        expectedEvents += "k" + std::to_string(code) + "/" + std::to_string(state) + " ";
        if (code == 0)
            expectedErr += "UWARNING: Key is not mapped: " + std::to_string(b & 0x7F) + "\n";
    }
    std::string wire;
    for (int i = 0; i < 256; ++i)
        wire += peer.receive() + "\n";
    EXPECT_EQ(expectedWire, wire);
    EXPECT_TRUE(waitFor([&] { return app->eventCount() == 256; }));
    EXPECT_EQ(expectedEvents, app->events());
    // The last byte was a release: the repeat is off.
    EXPECT_EQ(0xFF, app->keyListener()->lastKey());
    EXPECT_FALSE(app->keyListener()->repeatTimer().isRunning());

    // Numbers beyond the record's 7 bits.
    for (unsigned int raw : {128u, 278u, 279u, 280u, 281u, 285u, 286u, 287u, 288u, 289u, 290u,
                             291u, 292u, 293u, 294u, 295u, 65536u + 12u, 0xFFFFFFFFu}) {
        EXPECT_EQ(expectedCode(raw), app->keyListener()->mapKey(raw)) << raw;
        if (expectedCode(raw) == 0)
            expectedErr += "UWARNING: Key is not mapped: " + std::to_string(raw) + "\n";
    }
    EXPECT_EQ(expectedErr, stopAndStderr());
}

// The repeat, tick by tick; then, with two clients registered, a key held
// and every thread blocked, destruction wakes and joins them all. A
// ServerMode application never asks for the full screen, although it has
// a client.
TEST_F(KeysTest, HeldKeyRepeatsEverySecondFollowsTheLastPressAndTearsDown)
{
    app->requestFullScreen();
    app->releaseFullScreen();
    fifo->write({0x0c}); // KEY_UP down
    EXPECT_EQ(datagram(2, 1), peer.receive()); // no HIDE or SHOW before it
    advance(990);
    EXPECT_EQ("", peer.receive(100));
    advance(10);
    EXPECT_EQ(datagram(2, 2), peer.receive());
    advance(1000);
    EXPECT_EQ(datagram(2, 2), peer.receive());
    advance(500);
    fifo->write({0x0d}); // KEY_DOWN down as well: the repeat restarts for it
    EXPECT_EQ(datagram(4, 1), peer.receive());
    advance(990);
    EXPECT_EQ("", peer.receive(100));
    advance(10);
    EXPECT_EQ(datagram(4, 2), peer.receive());
    fifo->write({0x8c}); // releasing either key ends the repeat
    EXPECT_EQ(datagram(2, 0), peer.receive());
    advance(2000);
    EXPECT_EQ("", peer.receive(100));
    fifo->write({0x8d});
    EXPECT_EQ(datagram(4, 0), peer.receive());
    EXPECT_TRUE(waitFor([&] { return app->eventCount() == 7; }));
    EXPECT_EQ("k2/1 k2/2 k2/2 k4/1 k4/2 k2/0 k4/0 ", app->events());

    fifo->write({0x05});
    EXPECT_EQ(datagram(53, 1), peer.receive());
    EXPECT_TRUE(app->keyListener()->repeatTimer().isRunning());
    auto t0 = std::chrono::steady_clock::now();
    std::string err = stopAndStderr();
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    std::printf("ServerMode application with two clients and a held key destroyed in %.2f ms\n", ms);
    EXPECT_EQ(kFallback, err);
    EXPECT_LT(ms, 2000.0); // returns; the figure itself is printed
    EXPECT_EQ("", peer.receive(50));
}

TEST(KeyListener, MissingDeviceAndPipe)
{
    ::unlink(KeyFifo::path);
    testing::internal::CaptureStderr();
    UKeyListener listener("/nonexistent/utk-keys");
    listener.start();
    listener.join(); // the thread ends by itself
    EXPECT_EQ("UKeyListener: Didn't find /dev/input/keyboards\n"
              "UKeyListener: Could not open fifo /tmp/kiv_keyboardopen:: No such file or directory\n",
              testing::internal::GetCapturedStderr());
}

// A device at end of file: each failed read is reported, and the retries
// are paced instead of spinning; halt() still ends the wait at once.
TEST(KeyListener, EndOfFileIsReportedAndPaced)
{
    char path[] = "/tmp/utk-keydev-XXXXXX";
    int fd = ::mkstemp(path);
    ASSERT_GE(fd, 0);
    unsigned char press = 0x05;
    ASSERT_EQ(1, ::write(fd, &press, 1));
    ::close(fd);

    testing::internal::CaptureStderr();
    UKeyListener listener{UString(path)};
    listener.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    auto t0 = std::chrono::steady_clock::now();
    listener.halt();
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    std::string err = testing::internal::GetCapturedStderr();
    ::unlink(path);

    size_t lines = 0;
    for (size_t p = 0; (p = err.find("Key read error: ", p)) != std::string::npos; ++p)
        ++lines;
    std::printf("%zu read errors in 500 ms; halted in %.2f ms\n", lines, ms);
    EXPECT_GE(lines, 1u);
    EXPECT_LE(lines, 20u); // about five; an unpaced loop writes thousands
    EXPECT_EQ(std::string::npos, err.find("Didn't find"));
    EXPECT_EQ(5u, listener.lastKey());
}

} // namespace
