// Any datagrams, of any length, from a handful of ports into the screen
// server's dispatch, on a fresh server per input (not started: it has no
// socket, so nothing is sent). Input: records of 5 bytes: a length selector
// (the read's count, -1 to 4), a sender port selector (1 to 4) and the 3
// buffer bytes. Checked after every datagram:
//  - no two records share a name, and there are at most 8 (seven phonelet
//    names and the empty one);
//  - every record's port is one of the senders';
//  - a key fan-out walks the registry without trouble.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>

#include "fuzzcheck.h"
#include "memoryscreen.h"
#include "uappserver.h"
#include "uapplication.h"

namespace {

UApplication* app = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    fuzzSilenceStdout();
    // A window manager for the desktop's first registration to clear with.
    app = new UApplication("ServerFuzz", new MemoryScreen, UApplication::UIMode(0));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    UAppServer server;
    for (size_t i = 0; i + 5 <= size; i += 5) {
        const int count = data[i] % 6 - 1;
        const unsigned short port = static_cast<unsigned short>(40000 + data[i + 1] % 4);
        unsigned char buffer[4] = {data[i + 2], data[i + 3], data[i + 4], 0};
        // What a short read leaves: zeros beyond the count.
        for (int b = count < 0 ? 0 : count; b < 3; ++b)
            buffer[b] = 0;
        server.handleMessage(buffer, count, port);

        const auto registry = server.registry();
        FUZZ_CHECK(registry.size() <= 8);
        std::set<UString> names;
        for (const auto& entry : registry) {
            FUZZ_CHECK(names.insert(entry.first).second);
            FUZZ_CHECK(entry.second >= 40000 && entry.second < 40004);
        }
        UKeyEvent key;
        key.m_key = buffer[1];
        key.m_state = buffer[2];
        server.sendKeyEvent(key);
    }
    return 0;
}
