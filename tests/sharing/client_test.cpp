// The screen client: its dispatch of every first byte, and a ClientMode
// application against a Python process that plays the server and other
// local senders over real sockets.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "memoryscreen.h"
#include "sharing_support.h"
#include "uappclient.h"
#include "uapplication.h"

namespace {

TEST(ClientDispatch, EveryFirstByteSignedKeyBytesAndShortReads)
{
    RecordingApp app("CallLogPhonelet", new MemoryScreen, UApplication::UIMode(0));
    UAppClient client; // not started: its dispatch is driven directly
    client.beginDelivery();
    app.setEnabled(true);

    testing::internal::CaptureStdout();
    std::string expectedLog;
    for (int b = 0; b < 256; ++b) {
        unsigned char buf[4] = {static_cast<unsigned char>(b), 0x0d, 0x00, 0};
        client.handleMessage(buf, 3);
        if (b != 0x02 && b != 0x04 && b != 0x40) {
            char hex[8];
            std::snprintf(hex, sizeof hex, "%xd0", b);
            expectedLog += std::string("UAppClient CallLogPhonelet: unrecognized message: 0x") + hex + "\n";
        }
    }
    // Key bytes are signed on the wire: 0x85 is code 0xff85, 0xfe state -2.
    unsigned char wide[4] = {0x40, 0x85, 0xfe, 0};
    client.handleMessage(wide, 3);
    // Short and failed reads; the bytes not received print as 0.
    unsigned char shortRead[4] = {0x40, 0x05, 0, 0};
    client.handleMessage(shortRead, 2);
    unsigned char none[4] = {0, 0, 0, 0};
    client.handleMessage(none, -1);
    expectedLog += "UAppClient CallLogPhonelet: malformed message of 2 bytes: 0x4050\n"
                   "UAppClient CallLogPhonelet: malformed message of -1 bytes: 0x000\n";

    std::string log = testing::internal::GetCapturedStdout();

    // (A disabled application and the desktop get no keys: process_sharing_test.)
    EXPECT_EQ("show hide k13/0 k65413/-2 ", app.events());
    EXPECT_EQ(expectedLog, log);
}

// Registration, obeying the server and any other local sender, the three
// requests, and a teardown while the client thread is blocked in its read.
TEST(ClientWire, RegistersObeysAnySenderAndSendsItsRequests)
{
    Peer peer(R"(
open S 65529             # the server
expect 1                 # REGISTER 5
send S 02 00 00 @peer
send S 04 00 00 @peer
send S 40 0d 00 @peer
send S 40 0d @peer       # short
open Q                   # some other local process
send Q 40 32 02 @peer=S
send Q 02 00 00 @peer=S
expect 4                 # the four requests
)");
    ASSERT_TRUE(waitFor([] { return portTaken(65529); })); // the peer is up
    testing::internal::CaptureStdout();
    RecordingApp* app = new RecordingApp("CallLogPhonelet", new MemoryScreen, UApplication::ClientMode);
    app->setEnabled(true);
    EXPECT_TRUE(app->sees("show hide k13/0 k50/2 show "));
    app->appClient()->releaseScreen();
    app->appClient()->requestScreen();
    app->requestFullScreen();
    app->releaseFullScreen();
    std::string out = peer.finish();

    auto t0 = std::chrono::steady_clock::now();
    delete app;
    double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    std::string log = testing::internal::GetCapturedStdout();
    std::printf("ClientMode application destroyed in %.2f ms\n", ms);

    EXPECT_EQ("S <- 01 05 00\n"
              "S <- 10 00 00\n"
              "S <- 08 00 00\n"
              "S <- 11 00 00\n"
              "S <- 12 00 00\n",
              out);
    EXPECT_EQ("UAppClient CallLogPhonelet: malformed message of 2 bytes: 0x40d0\n", log);
    EXPECT_LT(ms, 2000.0); // returns; the figure itself is printed
}

} // namespace
