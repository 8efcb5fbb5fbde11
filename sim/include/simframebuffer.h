// SimFramebuffer: a simulated LCD behind the SysFramebuffer seam.
//
// libutksimfb.so defines the SysFramebuffer functions itself. Preloaded
// (LD_PRELOAD=libutksimfb.so) or linked ahead of libutkplatform.so, its
// definitions win by ELF symbol interposition, so an unchanged phonelet
// draws on the simulated device; SysFramebuffer::implementation() answers
// "sim" then. Whatever path is opened ("/dev/fb0") reaches the one
// simulated device of the process.
//
// The device is chosen by whoever starts it, either through configure()
// (tests, examples) or, when configure() has not been called before the
// first open, through the environment:
//   UTKSIM_FB_ID     identification string (default "utksim", i.e. emulated
//                    mode; "ST7529 FB", "st7525fb", "st7526fb" select the
//                    other modes)
//   UTKSIM_FB_XRES   width in pixels (default 320)
//   UTKSIM_FB_YRES   height in pixels (default 240)
//   UTKSIM_FB_BPP    bits per pixel: 1, 8, 16, 24 or 32 (default 32)
//   UTKSIM_FB_LINE   bytes a row (default: the pixels' bytes, rounded up)
//   UTKSIM_FB_SHM    shm_open name of the memory file (default "/utksimfb")
//   UTKSIM_MODEL     hardware model code handed to SysHardwareVersion at
//                    load (49, 61, 62, ...); unset leaves the default
//   UTKSIM_FB_ATTACH set (not "0"): use the file that already exists under
//                    UTKSIM_FB_SHM as it is (geometry from its header)
//                    instead of creating a fresh one; how the phonelets of
//                    utk-phone share the one device
// The device memory lives in that POSIX shared-memory file behind a header
// page (simfbshared.h), where a viewer such as utk-snap finds it. Each
// configure() replaces the file by a fresh one: memory zero, sync count 0.
// Mappings made before stay valid and keep the old memory.
//
// Failure injection: setFailure(op, err) makes every later call of that
// operation fail with errno err until it is cleared (err 0). map() also
// fails with EINVAL for a length of 0 or beyond the device memory, like a
// framebuffer driver does.
#ifndef SIMFRAMEBUFFER_H
#define SIMFRAMEBUFFER_H

#include <cstddef>
#include <cstdint>
#include <string>

class SimFramebuffer {
public:
    enum Operation { Open, VarInfo, FixInfo, Map, Sync, OperationCount };

    // A lineLength of 0 means the pixels' bytes rounded up. Answers false
    // and changes nothing for bits per pixel other than 1, 8, 16, 24 and
    // 32, sizes of 0 or above 8192, or more than 256 MiB of memory.
    static bool configure(const char* id, uint32_t xres, uint32_t yres, uint32_t bitsPerPixel,
                          uint32_t lineLength = 0);
    // Name of the shared-memory file for the next configure().
    static void setShmName(const std::string& name);
    static std::string shmName();
    // Unmaps this process's view and removes the file.
    static void remove();

    static void setFailure(Operation op, int32_t err);
    static void clearFailures();

    // The device memory as this process's own view (null before configure).
    static unsigned char* memory();
    static size_t memorySize();
    static uint32_t syncCount();
    // Path given to the last open(), and devices open now.
    static std::string lastOpenPath();
    static int32_t openDevices();
};

#endif
