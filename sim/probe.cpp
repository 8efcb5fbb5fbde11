// Creates the screen the way a phonelet does, in a program linked with the
// toolkit only, and tells which framebuffer implementation it reached.
// Run with LD_PRELOAD=libutksimfb.so it must answer "implementation=sim".
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <unistd.h>

#include "sysframebuffer.h"
#include "uscreenzq4.h"

namespace {
void removeSegment()
{
    const int id = shmget(UScreenZQ4::SHM_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}
}

int main()
{
    removeSegment();
    int opened = 0;
    {
        UScreenZQ4 screen;
        opened = screen.buffer() != nullptr;
        screen.flush();
        printf("implementation=%s width=%d opened=%d\n", SysFramebuffer::implementation(),
               screen.width(), opened);
    }
    removeSegment();
    const char* name = getenv("UTKSIM_FB_SHM");
    if (name)
        shm_unlink(name);
    return opened ? 0 : 1;
}
