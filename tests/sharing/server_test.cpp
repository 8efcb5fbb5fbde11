// The screen server against an independent peer process (peer.py) over
// real loopback sockets: what each peer receives, in what order, and the
// server's log lines word for word.
#include <gtest/gtest.h>

#include <string>

#include "memoryscreen.h"
#include "sharing_support.h"
#include "uappserver.h"
#include "ueventloop.h"
#include "uapplication.h"
#include "ukeyevent.h"

namespace {

// The server, with an application around it whose screen starts all ink:
// the first registration of the desktop clears columns 0 to 190 and rows 0
// to 46 through the window manager; any other draws nothing.
class ServerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (unsigned short y = 0; y < 48; ++y)
            for (unsigned short x = 0; x < 199; ++x)
                screen->setPixel(x, y, 0);
        testing::internal::CaptureStdout();
        server = new UAppServer();
        server->start();
        server->waitForStart();
        if (!server->isListening()) {
            testing::internal::GetCapturedStdout();
            FAIL() << "port 65529 is taken";
        }
    }
    void TearDown() override
    {
        if (server)
            stopAndLog();
    }
    std::string stopAndLog()
    {
        delete server;
        server = nullptr;
        return testing::internal::GetCapturedStdout();
    }
    // The pixels that differ from the picture after (or without) the clear.
    int wrongPixels(bool cleared)
    {
        app.eventLoop()->processPendingEvents(); // the clear comes this way
        int wrong = 0;
        for (unsigned short y = 0; y < 48; ++y)
            for (unsigned short x = 0; x < 199; ++x)
                wrong += (screen->pixel(x, y) != 0) != (cleared && x <= 190 && y <= 46);
        return wrong;
    }
    MemoryScreen* screen = new MemoryScreen;
    UApplication app{"ServerTest", screen, UApplication::UIMode(0)};
    UAppServer* server = nullptr;
};

TEST_F(ServerTest, ShortLongUnknownAndNegativeDatagramsAndUnknownSenders)
{
    std::string out = Peer::run(R"(
open A
send A 01 05             # 2 bytes: malformed, nothing registered
send A                   # an empty datagram is 0 bytes, not a closed socket
expect 0
send A 01 05 00 07       # 4 bytes: cut to the first 3, a registration
expect 1
send A 03 00 00          # not a command
send A 40 04 01          # a key event is the client's, not the server's
send A 02 00 00          # and so is SHOW
send A ff 0a 0b          # a negative code (each client byte value: client_test)
open B
send B 01 09 00          # number 9: the empty name
send B 01 00 00          # number 0: the same empty name again, ignored
open U                   # never registers
send U 08 00 00
send U 10 00 00
send U 11 00 00          # no desktop: only a log line
send U 12 00 00
send U 20 41 42          # nobody is called "AB"
expect 0
send U 20 00 33          # byte 1 zero: the empty name, i.e. B
expect 2
send U 20 00 00          # B owns the screen already
send B 10 00 00          # release: B and A swap
expect 2
)");
    std::string log = stopAndLog();
    EXPECT_EQ("A <- 02 00 00\n"
              "A <- 04 00 00\n"
              "B <- 02 00 00\n"
              "B <- 04 00 00\n"
              "A <- 02 00 00\n",
              out);
    EXPECT_EQ("UAppServer: malformed message of 2 bytes: 0x150\n"
              "UAppServer: malformed message of 0 bytes: 0x000\n"
              "New client connected: CallLogPhonelet\n"
              "UAppServer: unrecognized message: 0x300\n"
              "UAppServer: unrecognized message: 0x4041\n"
              "UAppServer: unrecognized message: 0x200\n"
              "UAppServer: unrecognized message: 0xffab\n"
              "New client connected: \n"
              "Can't find server app:DesktopPhonelet\n"
              "Can't find server app:DesktopPhonelet\n",
              log);
    EXPECT_EQ(0, wrongPixels(false));
}

// Desktop X, launcher Y, call view Z, messages W; the datagrams each gets
// and their order across peers, step by step.
TEST_F(ServerTest, StackingOrderFullScreenLayerAndKeyFanOut)
{
    Peer peer(R"(
open X
open Y
open Z
open W
send X 01 01 00          # first: owns the screen
expect 1
send Y 01 02 00
send Z 01 03 00
expect 0                 # X Y Z
send Z 08 00 00          # request from the back
expect 2                 # Z X Y
send Z 08 00 00          # request from the front: nothing
send Y 10 00 00          # release from the back: nothing
send X 10 00 00          # release from the middle: nothing
expect 0
send Z 10 00 00          # release from the front: the top two swap
expect 2                 # X Z Y
send W 01 07 00          # appended silently
expect 0                 # X Z Y W
send Y 11 00 00          # another phonelet's full screen: desktop hides
send Y 12 00 00          # and comes back
expect 2
send Z 11 00 00          # the call view's full screen
send Y 12 00 00          # nobody else brings the desktop back
send W 12 00 00
expect 1
send Z 12 00 00          # the call view's own release does
expect 1
open D
send D 01 02 00          # a second launcher: ignored
send D 08 00 00          # and D stays unknown
send D 11 00 00          # an unknown sender's full screen hides the desktop
send D 12 00 00
expect 2
open V
send V 01 06 00          # X Z Y W V; the test then sends two keys
expect 10
)");
    EXPECT_TRUE(waitFor([&] { return server->registry().size() == 5; }));
    UKeyEvent down;
    down.m_key = 4;
    down.m_state = 1;
    server->sendKeyEvent(down);
    UKeyEvent odd; // only the low 8 bits of each travel
    odd.m_key = 0x12C;
    odd.m_state = -1;
    server->sendKeyEvent(odd);
    std::string out = peer.finish();
    bool callView = server->isCallViewFullScreen();
    std::string log = stopAndLog();
    EXPECT_EQ("X <- 02 00 00\n"
              // Z requests from the back
              "X <- 04 00 00\n"
              "Z <- 02 00 00\n"
              // Z releases
              "Z <- 04 00 00\n"
              "X <- 02 00 00\n"
              // Y's full screen and release
              "X <- 04 00 00\n"
              "X <- 02 00 00\n"
              // the call view's full screen, its release
              "X <- 04 00 00\n"
              "X <- 02 00 00\n"
              // D, unknown
              "X <- 04 00 00\n"
              "X <- 02 00 00\n"
              // keys, front first, each key to everybody before the next
              "X <- 40 04 01\n"
              "Z <- 40 04 01\n"
              "Y <- 40 04 01\n"
              "W <- 40 04 01\n"
              "V <- 40 04 01\n"
              "X <- 40 2c ff\n"
              "Z <- 40 2c ff\n"
              "Y <- 40 2c ff\n"
              "W <- 40 2c ff\n"
              "V <- 40 2c ff\n",
              out);
    EXPECT_FALSE(callView);
    EXPECT_EQ(0, wrongPixels(true));
    EXPECT_EQ("New client connected: DesktopPhonelet\n"
              "New client connected: AppLauncherPhonelet\n"
              "New client connected: CallViewPhonelet\n"
              "New client connected: MessagesPhonelet\n"
              "New client connected: LDAPPhonelet\n",
              log);
}

// Another process holds the port: one clear line, the start is still
// signalled, the thread ends instead of spinning on failed reads, and a
// ServerMode application around it still comes up and goes.
TEST(ServerPortTaken, OneLineNoSpinAndTheApplicationRuns)
{
    SysUdpSocket squatter;
    ASSERT_EQ(0, squatter.open(65529, SysAddressFamilyIPv4, "Squatter", "127.0.0.1"));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    UApplication* app = new UApplication("CallLogPhonelet", new MemoryScreen, UApplication::ServerMode);
    ASSERT_NE(nullptr, app->appServer());
    EXPECT_FALSE(app->appServer()->isListening());
    app->appServer()->join(); // ends by itself
    delete app;
    std::string out = testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ("UAppServer: cannot listen on 127.0.0.1:65529, screen sharing is off in this process\n",
              out);
}

} // namespace
