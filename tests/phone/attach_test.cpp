// The phonelets of one phone attach the simulated LCD that utk-phone made
// (UTKSIM_FB_ATTACH; that they share it, phone_test.cpp shows in every
// picture), and a file that is not a simulated LCD is refused.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include <gtest/gtest.h>

#include "simframebuffer.h"
#include "sysframebuffer.h"

namespace {

const char* const NAME = "/utk-phone-attach-test";

// In a child process, as a phonelet, opens and maps the device through the
// seam; the child's exit status: 0 when all went well, 1 when the open
// failed, 2 when the mapping failed.
int asPhonelet()
{
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("UTKSIM_FB_SHM", NAME, 1);
        setenv("UTKSIM_FB_ATTACH", "1", 1);
        const int fd = SysFramebuffer::open("/dev/fb0");
        _exit(fd < 0 ? 1 : SysFramebuffer::map(fd, 1200) ? 0 : 2);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Like utk-phone: a process of its own makes the device file and leaves
// it; then the file is cut to `length` bytes unless that is 0.
void makeDevice(off_t length)
{
    const pid_t pid = fork();
    if (pid == 0) {
        SimFramebuffer::setShmName(NAME);
        _exit(SimFramebuffer::configure("st7525fb", 199, 48, 1) ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const int fd = shm_open(NAME, O_RDWR, 0);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(length == 0 || ftruncate(fd, length) == 0);
    close(fd);
}

// No file, a file too short for a header, one whose header announces more
// memory than it holds: refused, nothing mapped.
TEST(PhoneLcd, PhoneletsAttachTheDeviceAndRefuseOtherFiles)
{
    shm_unlink(NAME);
    EXPECT_EQ(asPhonelet(), 1);
    for (off_t length : {off_t(0), off_t(16), off_t(4096 + 600)}) {
        makeDevice(length);
        EXPECT_EQ(asPhonelet(), length == 0 ? 0 : 1) << length;
        shm_unlink(NAME);
    }
}

} // namespace
