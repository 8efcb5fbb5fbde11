// Fixture for the framebuffer screen on the simulated LCD: a private
// memory file per test process, and the System V segment 200555 removed
// before and after every test.
#ifndef UTK_TESTS_SCREEN_FIXTURE_H
#define UTK_TESTS_SCREEN_FIXTURE_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include "simframebuffer.h"
#include "syshardwareversion.h"
#include "uscreenzq4.h"

inline void removeSegment()
{
    const int id = shmget(UScreenZQ4::SHM_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

// A segment made by the test itself, filled with `value` (0600, so that it
// can be attached without root too). Null when it cannot be made.
inline unsigned char* makeSegment(size_t size, unsigned char value)
{
    const int id = shmget(UScreenZQ4::SHM_KEY, size, IPC_CREAT | 0600);
    void* a = id < 0 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, 0);
    return a == reinterpret_cast<void*>(-1) ? nullptr : static_cast<unsigned char*>(memset(a, value, size));
}

class ScreenTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        SimFramebuffer::setShmName("/utksimfb-test-" + std::to_string(getpid()));
        SimFramebuffer::clearFailures();
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
        removeSegment();
    }
    void TearDown() override
    {
        screen.reset();
        removeSegment();
        SimFramebuffer::clearFailures();
        SimFramebuffer::remove();
        SysHardwareVersion::setModel(SysHardwareVersion::MODEL_DEFAULT);
    }

    // Configures the device, gives it a segment the test can always attach
    // when the screen will need one, and creates the screen with its
    // output captured into `out` and `err`.
    void open(const char* id, uint32_t xres, uint32_t yres, uint32_t bpp, uint32_t line = 0,
              size_t segment = 0)
    {
        removeSegment();
        ASSERT_TRUE(SimFramebuffer::configure(id, xres, yres, bpp, line));
        if (segment && geteuid() != 0) {
            ASSERT_NE(makeSegment(segment, 0x00), nullptr);
        }
        create();
    }
    void create()
    {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        screen.reset();
        screen.reset(new UScreenZQ4);
        out = ::testing::internal::GetCapturedStdout();
        err = ::testing::internal::GetCapturedStderr();
    }
    std::string flushCapturingErr()
    {
        ::testing::internal::CaptureStderr();
        screen->flush();
        return ::testing::internal::GetCapturedStderr();
    }

    unsigned char* mem8() { return SimFramebuffer::memory(); }

    std::unique_ptr<UScreenZQ4> screen;
    std::string out;
    std::string err;
};

#endif
