// Any key bytes into the key listener's record handling (the listener is
// not started and there is no server, so the events are built and
// dropped). Checked after every byte: a press holds its raw number and
// runs the repeat timer at 1000 ms; a release leaves 0xFF and a stopped
// timer; and mapKey of every raw number the record can carry is a code
// below 128.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <streambuf>

#include "fuzzcheck.h"
#include "ukeylistener.h"

namespace {

// Swallows the "Key is not mapped" warnings; libFuzzer keeps the real
// standard error for its reports.
struct NullBuffer : std::streambuf {
    int overflow(int c) override { return c; }
};

NullBuffer nullBuffer;
UKeyListener* listener = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    std::cerr.rdbuf(&nullBuffer);
    listener = new UKeyListener(UString("/nonexistent/fuzz-keys"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    for (size_t i = 0; i < size; ++i) {
        const unsigned char byte = data[i];
        listener->handleKeyByte(byte);
        if (byte & 0x80) {
            FUZZ_CHECK(listener->lastKey() == 0xFF);
            FUZZ_CHECK(!listener->repeatTimer().isRunning());
        } else {
            FUZZ_CHECK(listener->lastKey() == byte);
            FUZZ_CHECK(listener->repeatTimer().isRunning());
            FUZZ_CHECK(listener->repeatTimer().getIntervalTime() == 1000);
        }
        FUZZ_CHECK(listener->mapKey(byte & 0x7F) < 128);
    }
    return 0;
}
