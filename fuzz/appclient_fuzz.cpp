// Any datagrams, of any length, into the screen client's dispatch (the
// client is not started; its socket is open but never read). Input:
// records of 5 bytes: a length selector (the read's count, -1 to 4), a
// flags byte (bit 0: the application is enabled; bit 1: it is the
// desktop) and the 3 buffer bytes. Checked after every datagram: exactly
// one event is posted for a full SHOW or HIDE, and for a full KEY_EVENT
// when the application is enabled and not the desktop; none otherwise; a
// key event carries byte 1 sign-extended to 16 bits and byte 2
// sign-extended to 32.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "fuzzcheck.h"
#include "memoryscreen.h"
#include "uappclient.h"
#include "uapplication.h"
#include "uevent.h"
#include "ukeyevent.h"

namespace {

// Counts what the client posts and keeps the last one's fields.
class CountingApp : public UApplication {
public:
    CountingApp() : UApplication("ClientFuzz", new MemoryScreen, UApplication::UIMode(0)) {}
    void postEvent(UEvent* e) override
    {
        ++posted;
        lastType = e->getType();
        if (lastType == UEvent::Key) {
            lastKey = static_cast<UKeyEvent*>(e)->m_key;
            lastState = static_cast<UKeyEvent*>(e)->m_state;
        }
        delete e;
    }
    unsigned long posted = 0;
    unsigned short lastType = 0;
    unsigned short lastKey = 0;
    int32_t lastState = 0;
};

CountingApp* app = nullptr;
UAppClient* client = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzzSilenceStdout();
    app = new CountingApp;
    client = new UAppClient;
    client->beginDelivery();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (size_t i = 0; i + 5 <= size; i += 5) {
        const int count = data[i] % 6 - 1;
        const bool enabled = data[i + 1] & 1;
        const bool desktop = data[i + 1] & 2;
        app->setEnabled(enabled);
        app->setAppName(desktop ? UApplication::DESKTOPPHONELET : UString("ClientFuzz"));
        unsigned char buffer[4] = {data[i + 2], data[i + 3], data[i + 4], 0};
        for (int b = count < 0 ? 0 : count; b < 3; ++b)
            buffer[b] = 0;

        const unsigned long before = app->posted;
        client->handleMessage(buffer, count);
        unsigned long expected = 0;
        unsigned short type = 0;
        if (count == 3) {
            if (buffer[0] == 0x02)
                expected = 1, type = UEvent::AppShow;
            else if (buffer[0] == 0x04)
                expected = 1, type = UEvent::AppHide;
            else if (buffer[0] == 0x40 && enabled && !desktop)
                expected = 1, type = UEvent::Key;
        }
        FUZZ_CHECK(app->posted - before == expected);
        if (expected) {
            FUZZ_CHECK(app->lastType == type);
            if (type == UEvent::Key) {
                FUZZ_CHECK(app->lastKey ==
                           static_cast<unsigned short>(static_cast<int>(static_cast<int8_t>(buffer[1]))));
                FUZZ_CHECK(app->lastState == static_cast<int8_t>(buffer[2]));
            }
        }
    }
    return 0;
}
