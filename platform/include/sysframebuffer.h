// SysFramebuffer: the one way the toolkit reaches a Linux framebuffer
// device. Every operation behaves like the system call behind it: on
// failure it returns -1 (map: a null pointer) and leaves the reason in
// errno, untouched by anything after the failing call, so that the caller
// may report it with perror() at once.
//
// The implementation in the platform library talks to the real device
// (open(2), ioctl(2), mmap(2)), so the same code runs on the phone and on any
// Linux framebuffer. A replacement implementation (the simulated LCD) may
// define the same functions in a shared library that is preloaded or linked
// ahead of the platform library; implementation() tells which one runs.
#ifndef SYSFRAMEBUFFER_H
#define SYSFRAMEBUFFER_H

#include <cstddef>
#include <cstdint>

#include <linux/fb.h>

class SysFramebuffer {
public:
    // The LCD controller driver's request that shows the device memory.
    static const uint32_t MANUAL_SYNC = 0x551F;

    // open(path, O_RDWR): the descriptor, or -1.
    static int32_t open(const char* path);
    // FBIOGET_VSCREENINFO and FBIOGET_FSCREENINFO: 0, or -1.
    static int32_t getVarInfo(int32_t fd, fb_var_screeninfo* info);
    static int32_t getFixInfo(int32_t fd, fb_fix_screeninfo* info);
    // length bytes of device memory from offset 0, readable, writable and
    // shared: the address, or a null pointer.
    static void* map(int32_t fd, size_t length);
    // The manual-sync request with argument 0: 0, or -1.
    static int32_t manualSync(int32_t fd);
    static int32_t unmap(void* address, size_t length);
    static int32_t close(int32_t fd);

    // "linux" for the real device; a replacement answers its own name.
    static const char* implementation();
};

#endif
