#include "snapshot.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <png.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include "simfbshared.h"
#include "textart.h"

namespace snapshot {

namespace {

void put(Picture& p, uint32_t x, uint32_t y, uint8_t r, uint8_t g, uint8_t b)
{
    uint8_t* d = &p.rgb[(static_cast<size_t>(y) * p.width + x) * 3];
    d[0] = r;
    d[1] = g;
    d[2] = b;
}

Picture blank(uint32_t width, uint32_t height)
{
    Picture p;
    p.width = width;
    p.height = height;
    p.rgb.assign(static_cast<size_t>(width) * height * 3, 0);
    return p;
}

} // namespace

Picture fromOneBit(const unsigned char* buffer, uint32_t stride, uint32_t width, uint32_t height)
{
    Picture p = blank(width, height);
    for (uint32_t y = 0; y < height; ++y) {
        const unsigned char* row = buffer + static_cast<size_t>(y) * stride;
        for (uint32_t x = 0; x < width; ++x) {
            const uint8_t v = (row[x / 8] & (0x80u >> (x % 8))) ? 0xFF : 0x00;
            put(p, x, y, v, v, v);
        }
    }
    return p;
}

bool fromDevice(const unsigned char* memory, size_t size, uint32_t width, uint32_t height,
                uint32_t bitsPerPixel, uint32_t lineLength, Picture& out)
{
    out = Picture();
    if (bitsPerPixel != 1 && bitsPerPixel != 8 && bitsPerPixel != 16 && bitsPerPixel != 24
        && bitsPerPixel != 32)
        return false;
    const uint64_t rowBytes = (static_cast<uint64_t>(width) * bitsPerPixel + 7) / 8;
    if (width == 0 || height == 0 || rowBytes > lineLength
        || static_cast<uint64_t>(lineLength) * (height - 1) + rowBytes > size)
        return false;
    if (bitsPerPixel == 1) {
        out = fromOneBit(memory, lineLength, width, height);
        return true;
    }
    out = blank(width, height);
    for (uint32_t y = 0; y < height; ++y) {
        const unsigned char* row = memory + static_cast<size_t>(y) * lineLength;
        for (uint32_t x = 0; x < width; ++x) {
            switch (bitsPerPixel) {
            case 8:
                put(out, x, y, row[x], row[x], row[x]);
                break;
            case 16: {
                const uint32_t v = row[2 * x] | (row[2 * x + 1] << 8);
                const uint32_t r = (v >> 11) & 0x1F, g = (v >> 5) & 0x3F, b = v & 0x1F;
                put(out, x, y, static_cast<uint8_t>(r * 255 / 31), static_cast<uint8_t>(g * 255 / 63),
                    static_cast<uint8_t>(b * 255 / 31));
                break;
            }
            case 24:
                put(out, x, y, row[3 * x + 2], row[3 * x + 1], row[3 * x]);
                break;
            default:
                put(out, x, y, row[4 * x + 2], row[4 * x + 1], row[4 * x]);
                break;
            }
        }
    }
    return true;
}

bool writePng(const Picture& picture, const std::string& path, uint32_t scale)
{
    if (scale == 0 || picture.width == 0 || picture.height == 0
        || static_cast<uint64_t>(picture.width) * scale > 65535
        || static_cast<uint64_t>(picture.height) * scale > 65535) {
        fprintf(stderr, "%s: nothing to write\n", path.c_str());
        return false;
    }
    FILE* file = fopen(path.c_str(), "wb");
    if (!file) {
        perror(path.c_str());
        return false;
    }
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        fclose(file);
        fprintf(stderr, "%s: out of memory\n", path.c_str());
        return false;
    }
    const uint32_t w = picture.width * scale;
    const uint32_t h = picture.height * scale;
    std::vector<uint8_t> row(static_cast<size_t>(w) * 3);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        fclose(file);
        fprintf(stderr, "%s: cannot write PNG\n", path.c_str());
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, w, h, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t* src = &picture.rgb[static_cast<size_t>(y / scale) * picture.width * 3];
        for (uint32_t x = 0; x < w; ++x)
            memcpy(&row[static_cast<size_t>(x) * 3], src + static_cast<size_t>(x / scale) * 3, 3);
        png_write_row(png, row.data());
    }
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    if (fclose(file) != 0) {
        perror(path.c_str());
        return false;
    }
    return true;
}

std::string textArt(const unsigned char* buffer, uint32_t stride, uint32_t width, uint32_t height)
{
    return textart::fromBuffer(buffer, static_cast<int>(stride), 0, 0, static_cast<int>(width),
                               static_cast<int>(height));
}

std::string textArt(const Picture& picture)
{
    // Threshold into a one-bit buffer (set bit light) and draw that.
    const uint32_t stride = (picture.width + 7) / 8;
    std::vector<unsigned char> bits(static_cast<size_t>(stride) * picture.height, 0);
    for (uint32_t y = 0; y < picture.height; ++y)
        for (uint32_t x = 0; x < picture.width; ++x) {
            const uint8_t* p = &picture.rgb[(static_cast<size_t>(y) * picture.width + x) * 3];
            const uint32_t grey = (p[0] * 299u + p[1] * 587u + p[2] * 114u) / 1000u;
            if (grey >= 128)
                bits[static_cast<size_t>(y) * stride + x / 8] |= static_cast<unsigned char>(0x80u >> (x % 8));
        }
    return textArt(bits.data(), stride, picture.width, picture.height);
}

std::vector<unsigned char> readSegment(int32_t key)
{
    std::vector<unsigned char> bytes;
    const int id = shmget(key, 0, 0);
    shmid_ds ds;
    if (id < 0 || shmctl(id, IPC_STAT, &ds) < 0)
        return bytes;
    void* address = shmat(id, nullptr, SHM_RDONLY);
    if (address == reinterpret_cast<void*>(-1))
        return bytes;
    const unsigned char* b = static_cast<const unsigned char*>(address);
    bytes.assign(b, b + ds.shm_segsz);
    shmdt(address);
    return bytes;
}

bool readDevice(const std::string& name, Device& out)
{
    out = Device();
    const int fd = shm_open(name.c_str(), O_RDONLY, 0);
    if (fd < 0)
        return false;
    struct stat st;
    bool ok = false;
    if (fstat(fd, &st) == 0 && static_cast<uint64_t>(st.st_size) >= sizeof(SimFbHeader)) {
        const size_t length = static_cast<size_t>(st.st_size);
        void* view = mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, 0);
        if (view != MAP_FAILED) {
            const unsigned char* v = static_cast<const unsigned char*>(view);
            SimFbHeader h;
            memcpy(&h, v, sizeof h);
            if (h.magic == SimFbHeader::MAGIC && h.version == SimFbHeader::VERSION
                && static_cast<uint64_t>(h.memoryOffset) + h.memorySize <= length) {
                out.id.assign(h.id, strnlen(h.id, sizeof h.id));
                out.width = h.xres;
                out.height = h.yres;
                out.bitsPerPixel = h.bitsPerPixel;
                out.lineLength = h.lineLength;
                out.syncCount = h.syncCount;
                out.memory.assign(v + h.memoryOffset, v + h.memoryOffset + h.memorySize);
                ok = true;
            }
            munmap(view, length);
        }
    }
    close(fd);
    return ok;
}

} // namespace snapshot
