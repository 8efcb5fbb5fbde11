#include "uscreenzq4.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#if defined(__x86_64__) && defined(__GNUC__)
#include <immintrin.h>
#endif

#include <sys/ipc.h>
#include <sys/shm.h>

#include "syshardwareversion.h"
#include "sysframebuffer.h"
#include "ustring.h"

const int32_t UScreenZQ4::SHM_KEY;
int UScreenZQ4::s_vectorCap = 2;

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

// Every byte of the drawing buffer expanded to its eight device pixels, one
// table per depth, each built on the first flush at that depth. The 24-bit
// rows are padded to 32 bytes so that a row can be written with one
// 32-byte store that the next byte's store partly overwrites.
struct Argb {
    alignas(32) uint32_t v[256][8];
    Argb()
    {
        for (uint32_t b = 0; b < 256; ++b)
            for (uint32_t i = 0; i < 8; ++i)
                v[b][i] = (b & (0x80u >> i)) ? 0xFF000000u : 0xFFFFFFFFu;
    }
};

struct Rgb {
    alignas(32) unsigned char v[256][32];
    Rgb()
    {
        memset(v, 0, sizeof v);
        for (uint32_t b = 0; b < 256; ++b)
            for (uint32_t i = 0; i < 24; ++i)
                v[b][i] = (b & (0x80u >> (i / 3))) ? 0xFF : 0x00;
    }
};

struct Hw {
    alignas(32) unsigned short v[256][24];
    Hw()
    {
        for (uint32_t b = 0; b < 256; ++b)
            for (uint32_t i = 0; i < 24; ++i)
                v[b][i] = (b & (0x80u >> (i / 3))) ? 0xFFFF : 0x0000;
    }
};

const Argb& argbTable()
{
    static const Argb table;
    return table;
}

const Rgb& rgbTable()
{
    static const Rgb table;
    return table;
}

const Hw& hwTable()
{
    static const Hw table;
    return table;
}

// The table copies are bound by store bandwidth. On x86-64 processors with
// AVX2 each byte's expansion goes out in 32-byte stores instead of the
// 16-byte ones of the baseline instruction set; the check is made once.
#if defined(__x86_64__) && defined(__GNUC__)
#define UTK_AVX2_STORES 1

__attribute__((target("avx2"))) void expand32Avx2(const unsigned char* src, uint32_t bytes,
                                                  uint32_t* dst, const Argb& t)
{
    for (uint32_t b = 0; b < bytes; ++b)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + 8 * b),
                            _mm256_load_si256(reinterpret_cast<const __m256i*>(t.v[src[b]])));
}

// For 3 vectors of W device bytes: each byte's source byte (index) and the
// bit of its pixel there (bit), for pixels `unit` device bytes wide.
template <uint32_t W>
struct PixelLanes {
    alignas(W) unsigned char index[3][W];
    alignas(W) unsigned char bit[3][W];
    explicit PixelLanes(uint32_t unit)
    {
        for (uint32_t k = 0; k < 3; ++k)
            for (uint32_t i = 0; i < W; ++i) {
                const uint32_t p = (W * k + i) / unit;
                index[k][i] = static_cast<unsigned char>(p / 8);
                bit[k][i] = static_cast<unsigned char>(0x80u >> (p % 8));
            }
    }
};
using Spread = PixelLanes<32>;

// Pixels repeated over `rep` device bytes each (3 at 24 bits per pixel, 6
// at 16), computed 96 device bytes at a time without a table: the source
// bytes are spread over every 128-bit lane, a byte shuffle gives each
// device byte the source byte holding its pixel, and comparing that pixel's
// bit with itself yields 0xFF or 0x00. Answers how many source bytes were
// done (whole groups of 32 / rep pixels); the caller does the rest.

template <uint32_t rep>
__attribute__((target("avx2"))) uint32_t spreadAvx2(const unsigned char* src, uint32_t bytes,
                                                    unsigned char* dst, const Spread& t,
                                                    uint32_t copies = 1, size_t spacing = 0)
{
    const uint32_t groupBytes = 12 / rep; // 96 bytes: 4 source bytes at rep 3, 2 at rep 6
    const __m256i i0 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.index[0]));
    const __m256i i1 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.index[1]));
    const __m256i i2 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.index[2]));
    const __m256i b0 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.bit[0]));
    const __m256i b1 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.bit[1]));
    const __m256i b2 = _mm256_load_si256(reinterpret_cast<const __m256i*>(t.bit[2]));
    uint32_t done = 0;
    for (; done + groupBytes <= bytes; done += groupBytes, dst += 96) {
        uint32_t word = 0;
        memcpy(&word, src + done, groupBytes);
        const __m256i v = _mm256_set1_epi32(static_cast<int>(word));
        const __m256i s0 = _mm256_and_si256(_mm256_shuffle_epi8(v, i0), b0);
        const __m256i s1 = _mm256_and_si256(_mm256_shuffle_epi8(v, i1), b1);
        const __m256i s2 = _mm256_and_si256(_mm256_shuffle_epi8(v, i2), b2);
        const __m256i v0 = _mm256_cmpeq_epi8(s0, b0);
        const __m256i v1 = _mm256_cmpeq_epi8(s1, b1);
        const __m256i v2 = _mm256_cmpeq_epi8(s2, b2);
        unsigned char* d = dst;
        for (uint32_t c = 0; c < copies; ++c, d += spacing) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v0);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 32), v1);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 64), v2);
        }
    }
    return done;
}

// `cap` is UScreenZQ4's test cap on the vector code (2 all, 1 up to AVX2,
// 0 none), so that one processor can check every path.
bool haveAvx2(int cap)
{
    static const bool yes = __builtin_cpu_supports("avx2");
    return cap >= 1 && yes;
}

// With AVX-512 (byte instructions and the byte permute of VBMI) a whole
// device row comes from one register: the row's buffer bytes (at most 64)
// are loaded under a mask, and each 64-byte store takes its bytes by a
// permute that gives every device byte the buffer byte of its pixel, a
// test of that pixel's bit, and the test's mask expanded to 0xFF or 0x00
// bytes (at 32 bits blended with the alpha byte). The row's last store is
// masked, so nothing past the row's last pixel is read or written and no
// call or scalar tail is left. The pattern repeats every 192 device bytes
// (3 stores), whose pixels lie 192 / unit / 8 buffer bytes further on.
using Permute = PixelLanes<64>;

const uint32_t AVX512_MAX_PIXELS = 512; // 64 buffer bytes in one register

bool haveAvx512(int cap)
{
    static const bool yes =
        __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
    return cap >= 2 && yes;
}

// `rows` buffer rows, `srcStride` bytes apart, of `pixels` pixels each (at
// most AVX512_MAX_PIXELS) into `unit` device bytes a pixel: 6 for 16-bit
// pixels 0xFFFF / 0x0000 three times, 3 for 24-bit 0xFFFFFF / 0x000000, 4
// for 32-bit 0xFF000000 / 0xFFFFFFFF (set bit / clear bit; the 32-bit
// alpha byte is 0xFF either way). Device rows start `dstStride` bytes
// apart; each is written `copies` times, `copySpacing` bytes apart, every
// store going to all copies while its value is in a register.
template <uint32_t unit>
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void
permuteRowsAvx512(const unsigned char* src, size_t srcStride, uint32_t rows, uint32_t pixels,
                  unsigned char* dst, size_t dstStride, uint32_t copies, size_t copySpacing)
{
    static const Permute t(unit);
    if (pixels == 0)
        return;
    const __mmask64 srcMask = ~0ull >> (64 - (pixels + 7) / 8);
    const __m512i b0 = _mm512_load_si512(t.bit[0]);
    const __m512i b1 = _mm512_load_si512(t.bit[1]);
    const __m512i b2 = _mm512_load_si512(t.bit[2]);
    const __m512i step = _mm512_set1_epi8(static_cast<char>(192 / unit / 8));
    const uint32_t bytes = pixels * unit;
    const __m512i alpha = _mm512_set1_epi32(static_cast<int>(0xFF000000u));
    const __m512i ones = _mm512_set1_epi32(-1);
    auto out = [alpha, ones](__m512i s, __m512i index, __m512i bit)
                   __attribute__((target("avx512f,avx512bw,avx512vbmi"))) {
        const __m512i v = _mm512_maskz_permutexvar_epi8(~0ull, index, s);
        if (unit == 4)
            return _mm512_mask_blend_epi8(_mm512_testn_epi8_mask(v, bit), alpha, ones);
        return _mm512_movm_epi8(_mm512_test_epi8_mask(v, bit));
    };
    auto put = [copies, copySpacing](unsigned char* d, __mmask64 m, __m512i v)
                   __attribute__((target("avx512f,avx512bw,avx512vbmi"))) {
        for (uint32_t c = 0; c < copies; ++c, d += copySpacing)
            _mm512_mask_storeu_epi8(d, m, v);
    };
    auto put64 = [copies, copySpacing](unsigned char* d, __m512i v)
                     __attribute__((target("avx512f,avx512bw,avx512vbmi"))) {
        for (uint32_t c = 0; c < copies; ++c, d += copySpacing)
            _mm512_storeu_si512(d, v);
    };
    for (uint32_t r = 0; r < rows; ++r, src += srcStride, dst += dstStride) {
        const __m512i s = _mm512_maskz_loadu_epi8(srcMask, src);
        __m512i i0 = _mm512_load_si512(t.index[0]);
        __m512i i1 = _mm512_load_si512(t.index[1]);
        __m512i i2 = _mm512_load_si512(t.index[2]);
        unsigned char* d = dst;
        uint32_t left = bytes;
        for (; left >= 192; left -= 192, d += 192) {
            put64(d, out(s, i0, b0));
            put64(d + 64, out(s, i1, b1));
            put64(d + 128, out(s, i2, b2));
            i0 = _mm512_add_epi8(i0, step);
            i1 = _mm512_add_epi8(i1, step);
            i2 = _mm512_add_epi8(i2, step);
        }
        // The last 1 to 191 bytes: whole stores, then one under a mask.
        if (left > 128) {
            put64(d, out(s, i0, b0));
            put64(d + 64, out(s, i1, b1));
            put(d + 128, ~0ull >> (192 - left), out(s, i2, b2));
        } else if (left > 64) {
            put64(d, out(s, i0, b0));
            put(d + 64, ~0ull >> (128 - left), out(s, i1, b1));
        } else if (left > 0) {
            put(d, ~0ull >> (64 - left), out(s, i0, b0));
        }
    }
}
#endif

// Rows through the AVX-512 conversion above when this processor has it
// and a row fits in one register; false leaves them to the caller.
template <uint32_t unit>
bool rowsAvx512(int cap, const unsigned char* src, size_t srcStride, uint32_t rows, uint32_t pixels,
                void* dst, size_t dstStride, uint32_t copies = 1, size_t copySpacing = 0)
{
#ifdef UTK_AVX2_STORES
    if (pixels <= AVX512_MAX_PIXELS && haveAvx512(cap)) {
        permuteRowsAvx512<unit>(src, srcStride, rows, pixels, static_cast<unsigned char*>(dst),
                                dstStride, copies, copySpacing);
        return true;
    }
#else
    (void)cap, (void)src, (void)srcStride, (void)rows, (void)pixels, (void)dst, (void)dstStride;
    (void)copies, (void)copySpacing;
#endif
    return false;
}

// How many of `rows` device rows, `spacing` bytes apart from byte
// `first` on and at most `devRows`, have all their `bytes` bytes inside
// the device mapping.
uint32_t wholeRows(uint64_t first, uint64_t spacing, uint64_t bytes, uint32_t rows,
                   uint64_t devRows)
{
    uint64_t n = std::min<uint64_t>(rows, devRows);
    if (n == 0 || first + bytes > s_mapLength)
        return 0;
    if (spacing > 0)
        n = std::min<uint64_t>(n, (s_mapLength - first - bytes) / spacing + 1);
    return static_cast<uint32_t>(n);
}

// `bytes` whole source bytes, eight 32-bit pixels each.
void expand32(int cap, const unsigned char* src, uint32_t bytes, uint32_t* dst)
{
    (void)cap; // unused where there is no vector code
    const Argb& t = argbTable();
#ifdef UTK_AVX2_STORES
    if (haveAvx2(cap))
        return expand32Avx2(src, bytes, dst, t);
#endif
    for (uint32_t b = 0; b < bytes; ++b)
        memcpy(dst + 8 * b, t.v[src[b]], 32);
}

// `bytes` whole source bytes, 24 device bytes each. Every store but the
// last writes 32 bytes; the 8 beyond its pixels are rewritten at once by
// the next one, so nothing past the last pixel is touched.
void expand24(int cap, const unsigned char* src, uint32_t bytes, unsigned char* dst)
{
    (void)cap; // unused where there is no vector code
    if (bytes == 0)
        return;
#ifdef UTK_AVX2_STORES
    if (haveAvx2(cap)) {
        static const Spread spread(3);
        const uint32_t done = spreadAvx2<3>(src, bytes, dst, spread);
        src += done;
        dst += 24 * done;
        bytes -= done;
        if (bytes == 0)
            return;
    }
#endif
    const Rgb& t = rgbTable();
    for (uint32_t b = 0; b + 1 < bytes; ++b)
        memcpy(dst + 24 * b, t.v[src[b]], 32);
    memcpy(dst + 24 * (bytes - 1), t.v[src[bytes - 1]], 24);
}

// `bytes` whole source bytes, 24 16-bit pixels each, written `copies`
// times, `spacing` pixels apart; answers the bytes done.
void expand16(int cap, const unsigned char* src, uint32_t bytes, unsigned short* dst,
              uint32_t copies, size_t spacing)
{
    (void)cap; // unused where there is no vector code
#ifdef UTK_AVX2_STORES
    if (haveAvx2(cap)) {
        static const Spread spread(6);
        const uint32_t done = spreadAvx2<6>(src, bytes, reinterpret_cast<unsigned char*>(dst),
                                            spread, copies, spacing * 2);
        src += done;
        dst += 24 * done;
        bytes -= done;
    }
#endif
    const Hw& t = hwTable();
    for (uint32_t c = 0; c < copies; ++c, dst += spacing)
        for (uint32_t b = 0; b < bytes; ++b)
            memcpy(dst + 24 * b, t.v[src[b]], 48);
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
        s_drawBuffer = m_buffer;
        if (m_buffer)
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
    }
    // Attaching follows even without a segment, as the construction steps
    // go; the system refuses the invalid id and that is reported too.
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

bool UScreenZQ4::fillRect(unsigned short x1, unsigned short y1, unsigned short x2,
                          unsigned short y2, unsigned char value)
{
    if (!m_enabled || !m_buffer)
        return true;
    if (x1 > x2)
        std::swap(x1, x2);
    if (y1 > y2)
        std::swap(y1, y2);
    // The pixels setPixel() would reach: x below xres and inside the row.
    const uint64_t rowPixels = static_cast<uint64_t>(m_finfo.line_length) * 8;
    const uint32_t columns = static_cast<uint32_t>(std::min<uint64_t>(m_vinfo.xres, rowPixels));
    if (x1 >= columns || y1 >= m_vinfo.yres)
        return true;
    const uint32_t right = std::min<uint32_t>(x2, columns - 1);
    const uint32_t bottom = std::min<uint32_t>(y2, m_vinfo.yres - 1);

    const unsigned char pattern = value ? 0xFF : 0x00;
    const uint32_t first = x1 / 8u;
    const uint32_t last = right / 8u;
    const unsigned char headMask = static_cast<unsigned char>(0xFFu >> (x1 % 8u));
    const unsigned char tailMask = static_cast<unsigned char>(0xFF00u >> (right % 8u + 1));
    const size_t stride = m_finfo.line_length;
    unsigned char* row = m_buffer + static_cast<size_t>(y1) * stride;
    const uint32_t rows = bottom - y1 + 1;

    auto blend = [pattern](unsigned char& byte, unsigned char mask) {
        byte = static_cast<unsigned char>((byte & ~mask) | (pattern & mask));
    };
    if (first == last) {
        const unsigned char mask = headMask & tailMask;
        for (uint32_t r = 0; r < rows; ++r, row += stride)
            blend(row[first], mask);
        return true;
    }
    if (first == 0 && last + 1 == stride && rows > 1) {
        // Whole rows: one store over the block, the partial end bytes put
        // back from copies taken before it.
        const size_t kChunk = 64;
        unsigned char heads[kChunk];
        unsigned char tails[kChunk];
        for (uint32_t done = 0; done < rows;) {
            const uint32_t n = std::min<uint32_t>(rows - done, kChunk);
            for (uint32_t r = 0; r < n; ++r) {
                heads[r] = row[r * stride];
                tails[r] = row[r * stride + last];
            }
            memset(row, pattern, n * stride);
            for (uint32_t r = 0; r < n; ++r) {
                unsigned char& h = row[r * stride];
                unsigned char& t = row[r * stride + last];
                h = static_cast<unsigned char>((heads[r] & ~headMask) | (pattern & headMask));
                t = static_cast<unsigned char>((tails[r] & ~tailMask) | (pattern & tailMask));
            }
            done += n;
            row += n * stride;
        }
        return true;
    }
    for (uint32_t r = 0; r < rows; ++r, row += stride) {
        blend(row[first], headMask);
        memset(row + first + 1, pattern, last - first - 1);
        blend(row[last], tailMask);
    }
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

// scan_line_hw() into `copies` device rows, `spacing` pixels apart.
static void scanLine16(int cap, const unsigned char* src, uint32_t count, unsigned short* dst,
                       uint32_t copies, size_t spacing)
{
    if (rowsAvx512<6>(cap, src, 0, 1, count, dst, 0, copies, spacing * 2))
        return;
    const uint32_t whole = count / 8;
    expand16(cap, src, whole, dst, copies, spacing);
    for (uint32_t c = 0; c < copies; ++c, dst += spacing)
        tripleBits<unsigned short>(src, whole * 8, count, 0xFFFF, 0x0000, dst + 24 * whole);
}

void UScreenZQ4::scan_line_hw(int count, unsigned char* src, unsigned short* dst)
{
    if (count > 0)
        scanLine16(s_vectorCap, src, static_cast<uint32_t>(count), dst, 1, 0);
}

void UScreenZQ4::flush()
{
    if (!m_enabled || !m_buffer || !s_drawBuffer || !s_deviceMemory)
        return;

    const unsigned char* buf = s_drawBuffer;
    const int cap = s_vectorCap;
    const uint32_t rows = vinfo_ram.yres;
    const uint32_t rowBytes = finfo_ram.line_length;
    const uint32_t devW = vinfo_real.xres;
    const uint32_t devH = vinfo_real.yres;
    const uint64_t bitsPerRow = static_cast<uint64_t>(rowBytes) * 8;
    uint32_t x0 = 0;
    uint32_t y0 = 0;

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
        // Rows wholly inside the mapping in one go where the processor
        // allows, the rest (and every row elsewhere) one by one.
        const uint64_t first = static_cast<uint64_t>(y0) * devW + x0;
        const uint32_t full = static_cast<uint32_t>(std::min<uint64_t>(wanted, bitsPerRow));
        uint32_t r = wholeRows(first * 4, devW * 4ull, full * 4ull, rows, devH - y0);
        if (!rowsAvx512<4>(cap, buf, rowBytes, r, full, dev + first, devW * 4ull))
            r = 0;
        for (; r < rows && y0 + r < devH; ++r) {
            const uint64_t start = static_cast<uint64_t>(y0 + r) * devW + x0;
            uint32_t cols = fitInMapping(start * 4, 4, wanted);
            if (cols > bitsPerRow)
                cols = static_cast<uint32_t>(bitsPerRow);
            const unsigned char* src = buf + static_cast<size_t>(r) * rowBytes;
            uint32_t* d = dev + start;
            const uint32_t whole = cols / 8;
            expand32(cap, src, whole, d);
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
        const uint64_t first = static_cast<uint64_t>(y0) * devLine + x0 * 3u;
        const uint32_t full = static_cast<uint32_t>(std::min<uint64_t>(wanted, bitsPerRow));
        uint32_t r = wholeRows(first, devLine, full * 3ull, rows, devH - y0);
        if (!rowsAvx512<3>(cap, buf, rowBytes, r, full, s_deviceMemory + first, devLine))
            r = 0;
        for (; r < rows && y0 + r < devH; ++r) {
            const uint64_t start = static_cast<uint64_t>(y0 + r) * devLine + x0 * 3u;
            uint32_t cols = fitInMapping(start, 3, wanted);
            if (cols > bitsPerRow)
                cols = static_cast<uint32_t>(bitsPerRow);
            const unsigned char* src = buf + static_cast<size_t>(r) * rowBytes;
            unsigned char* d = s_deviceMemory + start;
            const uint32_t whole = cols / 8;
            expand24(cap, src, whole, d);
            tripleBits<unsigned char>(src, whole * 8, cols, 0xFF, 0x00, d + 24 * whole);
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
        // The buffer rows whose three device rows are all on the device
        // and wholly in the mapping: with vector code each is converted
        // once and every store goes to all three rows (AVX-512 does them
        // all in one call); copying the first device row would be slower,
        // memcpy of rows this short being slower than the stores. The
        // rows cut short are converted one device row at a time.
        const uint64_t first = static_cast<uint64_t>(y0) * devW + x0;
        const uint32_t whole = wholeRows((first + 2ull * devW) * 2, devW * 6ull, wanted * 6ull,
                                         rows, (devH - y0) / 3);
        uint32_t r = 0;
        if (rowsAvx512<6>(cap, buf, rowBytes, whole, wanted, dev + first, devW * 6ull, 3,
                          devW * 2ull))
            r = whole;
        for (; r < whole; ++r)
            scanLine16(cap, buf + static_cast<size_t>(r) * rowBytes, wanted,
                       dev + first + 3ull * devW * r, 3, devW);
        for (; r < rows; ++r) {
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
