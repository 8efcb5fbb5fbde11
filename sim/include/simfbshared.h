// Layout of the simulated LCD's shared-memory file (shm_open name, by
// default "/utksimfb"): a header page followed by the device memory. Any
// process may map the file to look at the display; the header tells the
// geometry and counts the manual-sync requests.
#ifndef SIMFBSHARED_H
#define SIMFBSHARED_H

#include <cstdint>

struct SimFbHeader {
    static const uint32_t MAGIC = 0x464B5455; // "UTKF", little-endian
    static const uint32_t VERSION = 1;

    uint32_t magic;
    uint32_t version;
    char id[16];           // as the driver reports it: not zero-terminated when 16 long
    uint32_t xres;
    uint32_t yres;
    uint32_t bitsPerPixel; // 1, 8, 16, 24 or 32
    uint32_t lineLength;   // bytes from one row of the device memory to the next
    uint32_t memoryOffset; // where the device memory starts in the file (a page boundary)
    uint32_t memorySize;   // lineLength x yres
    uint32_t syncCount;    // manual-sync requests so far; updated atomically
    uint32_t reserved[7];
};

#endif
