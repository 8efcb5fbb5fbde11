// The key listener inside a whole ServerMode application: bytes written
// into the real named pipe come out as key events at the application
// (through the server and its own client) and as KEY_EVENT datagrams at
// a second client, the repeat is driven tick by tick, and teardown is
// timed while every thread is blocked.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

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

// The repeat, tick by tick, also on the wire of a second client (the peer
// as the desktop); then, with a key held and every thread blocked,
// destruction wakes and joins them all. A ServerMode application never
// asks for the full screen, although it has a client: the desktop gets
// keys only.
TEST(KeysTest, HeldKeyRepeatsEverySecondFollowsTheLastPressAndTearsDown)
{
    ASSERT_FALSE(portTaken(65529)) << "port 65529 is taken";
    UTimerManager::instance()->setPaused(true);
    KeyFifo fifo;
    testing::internal::CaptureStderr();
    RecordingApp* app = new RecordingApp("CallLogPhonelet", new MemoryScreen, UApplication::ServerMode);
    app->setEnabled(true);
    // The application's own client first, then the peer as the desktop.
    EXPECT_TRUE(waitFor([&] { return app->appServer()->registry().size() == 1; }));
    Peer peer("open D\nsend D 01 01 00\nexpect 8\n");
    EXPECT_TRUE(waitFor([&] { return app->appServer()->registry().size() == 2; }));
    // The first registrant, the application itself, owns the screen.
    EXPECT_TRUE(app->sees("show "));
    // Runs the timers by `ms` and delivers what they posted.
    auto advance = [&](int ms) {
        for (int i = 0; i < ms / 10; ++i)
            UTimerManager::instance()->tick(10);
        app->eventLoop()->processPendingEvents();
    };

    app->requestFullScreen();
    app->releaseFullScreen();
    fifo.write({0x0c}); // KEY_UP down
    EXPECT_TRUE(app->sees("show k2/1 "));
    advance(990);
    EXPECT_TRUE(app->sees("show k2/1 "));
    advance(10);
    EXPECT_TRUE(app->sees("show k2/1 k2/2 "));
    advance(1000);
    EXPECT_TRUE(app->sees("show k2/1 k2/2 k2/2 "));
    advance(500);
    fifo.write({0x0d}); // KEY_DOWN down as well: the repeat restarts for it
    EXPECT_TRUE(app->sees("show k2/1 k2/2 k2/2 k4/1 "));
    advance(990);
    EXPECT_TRUE(app->sees("show k2/1 k2/2 k2/2 k4/1 "));
    advance(10);
    fifo.write({0x8c}); // releasing either key ends the repeat
    EXPECT_TRUE(app->sees("show k2/1 k2/2 k2/2 k4/1 k4/2 k2/0 "));
    advance(2000);
    fifo.write({0x8d, 0x05});
    EXPECT_TRUE(app->sees("show k2/1 k2/2 k2/2 k4/1 k4/2 k2/0 k4/0 k53/1 "));
    EXPECT_EQ("D <- 40 02 01\nD <- 40 02 02\nD <- 40 02 02\nD <- 40 04 01\nD <- 40 04 02\n"
              "D <- 40 02 00\nD <- 40 04 00\nD <- 40 35 01\n",
              peer.finish());

    EXPECT_TRUE(app->keyListener()->repeatTimer().isRunning());
    auto t0 = std::chrono::steady_clock::now();
    delete app;
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    std::printf("ServerMode application with two clients and a held key destroyed in %.2f ms\n", ms);
    EXPECT_EQ("UKeyListener: Didn't find /dev/input/keyboards\n"
              "UKeyListener: ZOL fifo /tmp/kiv_keyboard open OK\n",
              testing::internal::GetCapturedStderr());
    EXPECT_LT(ms, 2000.0); // returns; the figure itself is printed
    UTimerManager::instance()->setPaused(false);
}

// Every raw number, with a line for each unmapped one (the records' bit 7
// and the chain to the phonelets: process_sharing_test.cpp). Without
// device and pipe: two lines and the thread ends by itself. A device at
// end of file: each failed read is reported, and the retries are paced
// instead of spinning; halt() still ends the wait at once.
TEST(KeyListener, MapKeyThenMissingDeviceAndPipeThenDeviceAtEndOfFile)
{
    ::unlink(KeyFifo::path);
    testing::internal::CaptureStderr();
    UKeyListener missing("/nonexistent/utk-keys");
    std::string expectedErr;
    std::vector<unsigned int> raws = {65536u + 12u, 0xFFFFFFFFu};
    for (unsigned int raw = 0; raw < 300; ++raw)
        raws.push_back(raw);
    for (unsigned int raw : raws) {
        EXPECT_EQ(expectedCode(raw), missing.mapKey(raw)) << raw;
        if (expectedCode(raw) == 0)
            expectedErr += "UWARNING: Key is not mapped: " + std::to_string(raw) + "\n";
    }
    missing.start();
    missing.join();
    EXPECT_EQ(expectedErr + "UKeyListener: Didn't find /dev/input/keyboards\n"
              "UKeyListener: Could not open fifo /tmp/kiv_keyboardopen:: No such file or directory\n",
              testing::internal::GetCapturedStderr());

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
