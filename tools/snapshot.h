// Pictures of the screen: the one-bit drawing buffer (the System V segment
// 200555) and the simulated LCD's colour memory, as PNG files and as text
// art ('#' dark, '.' light, one line a row, the format of the golden test
// files).
//
// Colours of device memory: 16 bits RGB 5-6-5, 24 bits three bytes
// blue-green-red, 32 bits 0xAARRGGBB little-endian with the alpha byte
// ignored (the LCD shows no transparency), 8 bits grey, 1 bit a set bit
// light. Text art calls a pixel dark when its grey level is below 128.
#ifndef UTK_TOOLS_SNAPSHOT_H
#define UTK_TOOLS_SNAPSHOT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace snapshot {

// An 8-bit RGB picture, rows top to bottom.
struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> rgb;
};

// A one-bit buffer, most significant bit first: set bits white, clear black.
Picture fromOneBit(const unsigned char* buffer, uint32_t stride, uint32_t width, uint32_t height);

// Device memory of `size` bytes, rows `lineLength` bytes apart. False (and
// an empty picture) when the depth is unknown or the rows do not fit.
bool fromDevice(const unsigned char* memory, size_t size, uint32_t width, uint32_t height,
                uint32_t bitsPerPixel, uint32_t lineLength, Picture& out);

// PNG, every pixel `scale` x `scale` device pixels. Prints the reason on
// standard error and returns false when the file cannot be written.
bool writePng(const Picture& picture, const std::string& path, uint32_t scale = 1);

std::string textArt(const Picture& picture);
std::string textArt(const unsigned char* buffer, uint32_t stride, uint32_t width, uint32_t height);

// The drawing segment of the given key, read-only: its bytes. Empty when
// there is none.
std::vector<unsigned char> readSegment(int32_t key);

// The simulated device behind shared-memory file `name`: geometry and a copy
// of its memory. False when there is no valid file.
struct Device {
    std::string id;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerPixel = 0;
    uint32_t lineLength = 0;
    uint32_t syncCount = 0;
    std::vector<unsigned char> memory;
};
bool readDevice(const std::string& name, Device& out);

} // namespace snapshot

#endif
