// The phonelets of one phone share the simulated LCD: each attaches the
// file that utk-phone configured (UTKSIM_FB_ATTACH) instead of making a
// fresh one, and a file that is not a simulated LCD is refused.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include "simframebuffer.h"
#include "snapshot.h"
#include "sysframebuffer.h"

namespace {

const char* const NAME = "/utk-phone-attach-test";

// In a child process, as a phonelet: opens and maps the device through the
// seam and writes `byte` at `offset`. The child's exit status: 0 when all
// went well, 1 when the open failed, 2 when the mapping failed.
int asPhonelet(size_t offset, unsigned char byte)
{
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("UTKSIM_FB_SHM", NAME, 1);
        setenv("UTKSIM_FB_ATTACH", "1", 1);
        setenv("UTKSIM_FB_XRES", "7", 1); // must not matter: the file says
        const int fd = SysFramebuffer::open("/dev/fb0");
        if (fd < 0)
            _exit(1);
        fb_var_screeninfo v;
        if (SysFramebuffer::getVarInfo(fd, &v) != 0 || v.xres != 199)
            _exit(3);
        unsigned char* memory = static_cast<unsigned char*>(SysFramebuffer::map(fd, 1200));
        if (!memory)
            _exit(2);
        memory[offset] = byte;
        SysFramebuffer::manualSync(fd);
        _exit(0);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Like utk-phone: a process of its own makes the device file and leaves it.
void makeDevice()
{
    const pid_t pid = fork();
    if (pid == 0) {
        SimFramebuffer::setShmName(NAME);
        _exit(SimFramebuffer::configure("st7525fb", 199, 48, 1) ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(PhoneLcd, PhoneletsAttachTheOneDeviceAndRefuseOtherFiles)
{
    shm_unlink(NAME);
    makeDevice();
    EXPECT_EQ(asPhonelet(1199, 0x5A), 0);
    EXPECT_EQ(asPhonelet(0, 0xA5), 0);
    // Both writes and both syncs landed in the one device.
    snapshot::Device device;
    ASSERT_TRUE(snapshot::readDevice(NAME, device));
    ASSERT_EQ(device.memory.size(), 1200u);
    EXPECT_EQ(device.memory[1199], 0x5A);
    EXPECT_EQ(device.memory[0], 0xA5);
    EXPECT_EQ(device.syncCount, 2u);
    shm_unlink(NAME);

    // No file, then a file too short for a header, then one whose header
    // announces more memory than it holds: refused, nothing mapped.
    EXPECT_EQ(asPhonelet(0, 1), 1);
    int fd = shm_open(NAME, O_RDWR | O_CREAT | O_EXCL, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 16), 0);
    close(fd);
    EXPECT_EQ(asPhonelet(0, 1), 1);
    shm_unlink(NAME);
    makeDevice();
    fd = shm_open(NAME, O_RDWR, 0);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(ftruncate(fd, 4096 + 600), 0); // half the device memory gone
    close(fd);
    EXPECT_EQ(asPhonelet(0, 1), 1);
    shm_unlink(NAME);
}

} // namespace
