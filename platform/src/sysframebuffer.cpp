#include "sysframebuffer.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

const uint32_t SysFramebuffer::MANUAL_SYNC;

int32_t SysFramebuffer::open(const char* path)
{
    return ::open(path, O_RDWR);
}

int32_t SysFramebuffer::getVarInfo(int32_t fd, fb_var_screeninfo* info)
{
    return ::ioctl(fd, FBIOGET_VSCREENINFO, info) < 0 ? -1 : 0;
}

int32_t SysFramebuffer::getFixInfo(int32_t fd, fb_fix_screeninfo* info)
{
    return ::ioctl(fd, FBIOGET_FSCREENINFO, info) < 0 ? -1 : 0;
}

void* SysFramebuffer::map(int32_t fd, size_t length)
{
    void* address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return address == MAP_FAILED ? nullptr : address;
}

int32_t SysFramebuffer::manualSync(int32_t fd)
{
    return ::ioctl(fd, MANUAL_SYNC, 0) < 0 ? -1 : 0;
}

int32_t SysFramebuffer::unmap(void* address, size_t length)
{
    return ::munmap(address, length);
}

int32_t SysFramebuffer::close(int32_t fd)
{
    return ::close(fd);
}

const char* SysFramebuffer::implementation()
{
    return "linux";
}
