#include "uscreenzq4.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <sys/ipc.h>
#include <sys/shm.h>

#include "syshardwareversion.h"
#include "sysframebuffer.h"
#include "ustring.h"

const int32_t UScreenZQ4::SHM_KEY;

namespace {

// Process-wide screen state: what the device reported, the geometry of the
// drawing buffer (buffered and emulated modes; zero in direct mode), and
// the addresses and length that flush() works with.
fb_fix_screeninfo finfo_real;
fb_var_screeninfo vinfo_real;
fb_fix_screeninfo finfo_ram;
fb_var_screeninfo vinfo_ram;
const UString s_devicePath("/dev/fb0");
size_t s_mapLength = 0;
unsigned char* s_deviceMemory = nullptr;
unsigned char* s_drawBuffer = nullptr;

const char* const DIRECT_ID = "ST7529 FB";
const char* const BUFFERED_IDS[] = {"st7525fb", "st7526fb"};

struct EmulatedGeometry {
    uint32_t xres;
    uint32_t yres;
    uint32_t lineLength;
};

EmulatedGeometry emulatedGeometry(int32_t model)
{
    if (model == SysHardwareVersion::MODEL_49 || model == SysHardwareVersion::MODEL_61)
        return {162, 48, 21};
    if (model == SysHardwareVersion::MODEL_TR480)
        return {199, 48, 25};
    return {192, 48, 24};
}

// Top-left corner of an imageW x imageH picture centred on a deviceW x
// deviceH display. A zero offset on either axis puts the picture at the
// top-left corner; so does a picture larger than the display, which is
// then clipped.
void centre(uint32_t deviceW, uint32_t deviceH, uint32_t imageW, uint32_t imageH,
            uint32_t& x, uint32_t& y)
{
    const int64_t dx = (static_cast<int64_t>(deviceW) - imageW) / 2;
    const int64_t dy = (static_cast<int64_t>(deviceH) - imageH) / 2;
    if (dx <= 0 || dy <= 0) {
        x = 0;
        y = 0;
    } else {
        x = static_cast<uint32_t>(dx);
        y = static_cast<uint32_t>(dy);
    }
}

// How many units of unitBytes fit in the device mapping from byte offset
// start on, at most wanted.
uint32_t fitInMapping(uint64_t start, uint32_t unitBytes, uint32_t wanted)
{
    if (start >= s_mapLength)
        return 0;
    const uint64_t room = (s_mapLength - start) / unitBytes;
    return room < wanted ? static_cast<uint32_t>(room) : wanted;
}

// Every byte of the drawing buffer expanded to its eight device pixels, for
// the conversions of whole bytes; built once, on first use.
struct Expansions {
    uint32_t argb[256][8];        // 32 bpp
    unsigned char rgb[256][24];   // 24 bpp
    unsigned short hw[256][24];   // 16 bpp, each pixel three times
    Expansions()
    {
        for (uint32_t b = 0; b < 256; ++b)
            for (uint32_t i = 0; i < 8; ++i) {
                const bool set = (b & (0x80u >> i)) != 0;
                argb[b][i] = set ? 0xFF000000u : 0xFFFFFFFFu;
                for (uint32_t k = 0; k < 3; ++k) {
                    rgb[b][3 * i + k] = set ? 0xFF : 0x00;
                    hw[b][3 * i + k] = set ? 0xFFFF : 0x0000;
                }
            }
    }
};

const Expansions& expansions()
{
    static const Expansions table;
    return table;
}

} // namespace

UScreenZQ4::UScreenZQ4()
    : m_enabled(true), m_finfo(), m_vinfo(), m_fd(-1), m_map(nullptr), m_buffer(nullptr),
      m_mapLength(0)
{
    const int32_t model = SysHardwareVersion::getModel();
    s_mapLength = 0;
    s_deviceMemory = nullptr;
    s_drawBuffer = nullptr;
    finfo_real = fb_fix_screeninfo();
    vinfo_real = fb_var_screeninfo();
    finfo_ram = fb_fix_screeninfo();
    vinfo_ram = fb_var_screeninfo();

    const std::string path = s_devicePath.toUTF8();
    m_fd = SysFramebuffer::open(path.c_str());
    if (m_fd < 0) {
        fprintf(stderr, "open frameBuffer failed %d @ %s!\n", static_cast<int>(m_fd), path.c_str());
        fflush(stderr);
        return;
    }

    if (SysFramebuffer::getVarInfo(m_fd, &m_vinfo) < 0)
        perror("FBIOGET_VSCREENINFO");
    if (SysFramebuffer::getFixInfo(m_fd, &m_finfo) < 0)
        perror("FBIOGET_FSCREENINFO");

    char id[sizeof(m_finfo.id) + 1];
    memcpy(id, m_finfo.id, sizeof(m_finfo.id));
    id[sizeof(m_finfo.id)] = '\0';

    const uint64_t length = static_cast<uint64_t>(m_finfo.line_length) * m_vinfo.yres;
    if (length > 0 && length <= SIZE_MAX)
        m_map = static_cast<unsigned char*>(SysFramebuffer::map(m_fd, static_cast<size_t>(length)));
    if (!m_map) {
        fprintf(stderr, "mmap frameBuffer failed %d @ %s!\n", static_cast<int>(m_fd), id);
        fflush(stderr);
        return;
    }
    m_mapLength = static_cast<size_t>(length);
    s_mapLength = m_mapLength;

    printf("Actual %s  video: x=%d y=%d s=%d pix=%d line=%d (%s) @ 0x%p\n", id,
           static_cast<int>(m_vinfo.xres), static_cast<int>(m_vinfo.yres),
           static_cast<int>(m_mapLength), static_cast<int>(m_vinfo.bits_per_pixel),
           static_cast<int>(m_finfo.line_length), id, static_cast<void*>(m_map));
    fflush(stdout);

    vinfo_real = m_vinfo;
    finfo_real = m_finfo;

    if (strcmp(id, DIRECT_ID) == 0) {
        m_buffer = m_map;
        s_deviceMemory = m_map;
        s_drawBuffer = m_buffer;
        return;
    }

    s_deviceMemory = m_map;
    if (strcmp(id, BUFFERED_IDS[0]) == 0 || strcmp(id, BUFFERED_IDS[1]) == 0) {
        vinfo_ram = m_vinfo;
        finfo_ram = m_finfo;
        const size_t size = m_mapLength;
        attachSegment(size);
        if (!m_buffer)
            return;
        s_drawBuffer = m_buffer;
        memset(m_buffer, 0xFF, size);
        printf("Buffered video: x=%d y=%d l:%d, s=%d pix=%d @ 0x%p\n",
               static_cast<int>(m_vinfo.xres), static_cast<int>(m_vinfo.yres),
               static_cast<int>(m_finfo.line_length), static_cast<int>(size),
               static_cast<int>(m_vinfo.bits_per_pixel), static_cast<void*>(m_buffer));
        fflush(stdout);
        return;
    }

    const EmulatedGeometry g = emulatedGeometry(model);
    m_finfo = fb_fix_screeninfo();
    m_vinfo = fb_var_screeninfo();
    m_vinfo.xres = g.xres;
    m_vinfo.yres = g.yres;
    m_vinfo.bits_per_pixel = 1;
    m_finfo.line_length = g.lineLength;
    vinfo_ram.xres = g.xres;
    vinfo_ram.yres = g.yres;
    vinfo_ram.bits_per_pixel = 1;
    finfo_ram.line_length = g.lineLength;
    const size_t size = static_cast<size_t>(g.lineLength) * g.yres;
    attachSegment(size);
    if (!m_buffer)
        return;
    s_drawBuffer = m_buffer;
    printf("Emulated video: x=%d y=%d s=%d pix=%d\n", static_cast<int>(g.xres),
           static_cast<int>(g.yres), static_cast<int>(size), 1);
    fflush(stdout);
}

UScreenZQ4::~UScreenZQ4()
{
    if (m_map)
        SysFramebuffer::unmap(m_map, m_mapLength);
    if (m_fd >= 0)
        SysFramebuffer::close(m_fd);
    if (m_map && s_deviceMemory == m_map) {
        s_deviceMemory = nullptr;
        s_mapLength = 0;
    }
    if (m_buffer && s_drawBuffer == m_buffer)
        s_drawBuffer = nullptr;
}

void UScreenZQ4::attachSegment(size_t size)
{
    int32_t id = shmget(SHM_KEY, size, 0);
    if (id < 0)
        id = shmget(SHM_KEY, size, IPC_CREAT);
    if (id < 0) {
        const int err = errno;
        printf("shnmget failed %d %s\n", err, strerror(err));
        fflush(stdout);
        return;
    }
    void* address = shmat(id, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        const int err = errno;
        printf("shmat failed %d %s\n", err, strerror(err));
        fflush(stdout);
        return;
    }
    m_buffer = static_cast<unsigned char*>(address);
}

size_t UScreenZQ4::bufferSize() const
{
    const uint64_t size = static_cast<uint64_t>(m_finfo.line_length) * m_vinfo.yres;
    return size <= SIZE_MAX ? static_cast<size_t>(size) : 0;
}

unsigned short UScreenZQ4::width() const
{
    return static_cast<unsigned short>(m_vinfo.xres);
}

unsigned short UScreenZQ4::height() const
{
    return static_cast<unsigned short>(m_vinfo.yres);
}

unsigned short UScreenZQ4::stride() const
{
    return static_cast<unsigned short>(m_finfo.line_length);
}

unsigned char* UScreenZQ4::buffer()
{
    return m_buffer;
}

unsigned char* UScreenZQ4::scanLine(unsigned short y)
{
    if (!m_buffer)
        return nullptr;
    return m_buffer + static_cast<size_t>(y) * m_finfo.line_length;
}

unsigned char UScreenZQ4::pixel(unsigned short x, unsigned short y) const
{
    if (!m_buffer || x >= m_vinfo.xres || y >= m_vinfo.yres || x / 8u >= m_finfo.line_length)
        return 255;
    const unsigned char byte = m_buffer[static_cast<size_t>(y) * m_finfo.line_length + x / 8u];
    return (byte & (0x80u >> (x % 8u))) ? 1 : 0;
}

void UScreenZQ4::setPixel(unsigned short x, unsigned short y, unsigned char value)
{
    if (!m_enabled || !m_buffer || x >= m_vinfo.xres || y >= m_vinfo.yres
        || x / 8u >= m_finfo.line_length)
        return;
    unsigned char& byte = m_buffer[static_cast<size_t>(y) * m_finfo.line_length + x / 8u];
    const unsigned char mask = static_cast<unsigned char>(0x80u >> (x % 8u));
    if (value)
        byte = static_cast<unsigned char>(byte | mask);
    else
        byte = static_cast<unsigned char>(byte & ~mask);
}

bool UScreenZQ4::fill(unsigned short x, unsigned short y, unsigned char value, int count)
{
    if (!m_enabled || !m_buffer || count <= 0)
        return true;
    const size_t size = bufferSize();
    const uint64_t start = static_cast<uint64_t>(y) * m_finfo.line_length + x / 8u;
    if (start >= size)
        return true;
    size_t n = static_cast<size_t>(count);
    if (n > size - start)
        n = size - static_cast<size_t>(start);
    memset(m_buffer + start, value, n);
    return true;
}

// Pixels [from, to) of a one-bit row, MSB first, each written three times
// into dst as `on` (set bit) or `off` (clear bit): the tail of a row that
// does not fill a whole byte of the expansion tables.
template <typename T>
static void tripleBits(const unsigned char* src, uint32_t from, uint32_t to, T on, T off, T* dst)
{
    for (uint32_t i = from; i < to; ++i) {
        const T v = (src[i / 8] & (0x80u >> (i % 8))) ? on : off;
        dst[0] = v;
        dst[1] = v;
        dst[2] = v;
        dst += 3;
    }
}

void UScreenZQ4::scan_line_hw(int count, unsigned char* src, unsigned short* dst)
{
    if (count <= 0)
        return;
    const Expansions& t = expansions();
    const int whole = count / 8;
    for (int b = 0; b < whole; ++b) {
        memcpy(dst, t.hw[src[b]], sizeof t.hw[0]);
        dst += 24;
    }
    tripleBits<unsigned short>(src, static_cast<uint32_t>(whole) * 8, static_cast<uint32_t>(count),
                               0xFFFF, 0x0000, dst);
}

void UScreenZQ4::flush()
{
    if (!m_enabled || !m_buffer || !s_drawBuffer || !s_deviceMemory)
        return;

    const unsigned char* buf = s_drawBuffer;
    const uint32_t rows = vinfo_ram.yres;
    const uint32_t rowBytes = finfo_ram.line_length;
    const uint32_t devW = vinfo_real.xres;
    const uint32_t devH = vinfo_real.yres;
    const uint64_t bitsPerRow = static_cast<uint64_t>(rowBytes) * 8;
    uint32_t x0 = 0;
    uint32_t y0 = 0;
    const Expansions& t = expansions();

    switch (vinfo_real.bits_per_pixel) {
    case 1: {
        const uint64_t n = static_cast<uint64_t>(rowBytes) * rows;
        if (n > 0 && s_deviceMemory != buf)
            memcpy(s_deviceMemory, buf, n < s_mapLength ? static_cast<size_t>(n) : s_mapLength);
        if (SysFramebuffer::manualSync(m_fd) < 0)
            perror("ioctl(ST752x_MANUAL_SYNC)");
        break;
    }
    case 32: {
        centre(devW, devH, vinfo_ram.xres, rows, x0, y0);
        uint32_t* dev = reinterpret_cast<uint32_t*>(s_deviceMemory);
        const uint32_t wanted = devW > x0 ? devW - x0 : 0;
        for (uint32_t r = 0; r < rows && y0 + r < devH; ++r) {
            const uint64_t start = static_cast<uint64_t>(y0 + r) * devW + x0;
            uint32_t cols = fitInMapping(start * 4, 4, wanted);
            if (cols > bitsPerRow)
                cols = static_cast<uint32_t>(bitsPerRow);
            const unsigned char* src = buf + static_cast<size_t>(r) * rowBytes;
            uint32_t* d = dev + start;
            const uint32_t whole = cols / 8;
            for (uint32_t b = 0; b < whole; ++b)
                memcpy(d + 8 * b, t.argb[src[b]], sizeof t.argb[0]);
            for (uint32_t i = whole * 8; i < cols; ++i)
                d[i] = (src[i / 8] & (0x80u >> (i % 8))) ? 0xFF000000u : 0xFFFFFFFFu;
        }
        break;
    }
    case 24: {
        centre(devW, devH, vinfo_ram.xres, rows, x0, y0);
        const uint32_t devLine = finfo_real.line_length;
        const uint32_t rowPixels = devLine / 3;
        uint32_t wanted = devW < rowPixels ? devW : rowPixels;
        wanted = wanted > x0 ? wanted - x0 : 0;
        for (uint32_t r = 0; r < rows && y0 + r < devH; ++r) {
            const uint64_t start = static_cast<uint64_t>(y0 + r) * devLine + x0 * 3u;
            uint32_t cols = fitInMapping(start, 3, wanted);
            if (cols > bitsPerRow)
                cols = static_cast<uint32_t>(bitsPerRow);
            const unsigned char* src = buf + static_cast<size_t>(r) * rowBytes;
            unsigned char* d = s_deviceMemory + start;
            const uint32_t whole = cols / 8;
            for (uint32_t b = 0; b < whole; ++b) {
                memcpy(d, t.rgb[src[b]], sizeof t.rgb[0]);
                d += 24;
            }
            tripleBits<unsigned char>(src, whole * 8, cols, 0xFF, 0x00, d);
        }
        break;
    }
    case 16: {
        const uint64_t imageW = static_cast<uint64_t>(vinfo_ram.xres) * 3;
        const uint64_t imageH = static_cast<uint64_t>(rows) * 3;
        centre(devW, devH, imageW > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(imageW),
               imageH > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(imageH), x0, y0);
        unsigned short* dev = reinterpret_cast<unsigned short*>(s_deviceMemory);
        uint32_t wanted = devW > x0 ? (devW - x0) / 3 : 0;
        if (wanted > vinfo_ram.xres)
            wanted = vinfo_ram.xres;
        if (wanted > bitsPerRow)
            wanted = static_cast<uint32_t>(bitsPerRow);
        for (uint32_t r = 0; r < rows; ++r) {
            unsigned char* src = s_drawBuffer + static_cast<size_t>(r) * rowBytes;
            for (uint32_t k = 0; k < 3; ++k) {
                const uint64_t y = static_cast<uint64_t>(y0) + 3u * r + k;
                if (y >= devH)
                    return;
                const uint64_t start = y * devW + x0;
                const uint32_t count = fitInMapping(start * 2, 6, wanted);
                scan_line_hw(static_cast<int>(count), src, dev + start);
            }
        }
        break;
    }
    default:
        break;
    }
}
