#include "simframebuffer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "simfbshared.h"
#include "sysframebuffer.h"
#include "syshardwareversion.h"

const uint32_t SimFbHeader::MAGIC;
const uint32_t SimFbHeader::VERSION;

namespace {

const char* const DEFAULT_SHM_NAME = "/utksimfb";
const uint32_t MAX_SIDE = 8192;
const uint64_t MAX_MEMORY = 256u * 1024u * 1024u;

struct State {
    std::mutex lock;
    std::string shmName = DEFAULT_SHM_NAME;
    bool shmNameSet = false;
    unsigned char* view = nullptr; // the whole file: header page + memory
    size_t viewLength = 0;
    std::vector<int32_t> devices;  // descriptors handed out by open()
    int32_t failures[SimFramebuffer::OperationCount] = {};
    std::string lastOpenPath;
};

State& state()
{
    static State* s = new State; // never destroyed: usable from other static destructors
    return *s;
}

SimFbHeader* header(State& s)
{
    return reinterpret_cast<SimFbHeader*>(s.view);
}

bool isDevice(State& s, int32_t fd)
{
    return std::find(s.devices.begin(), s.devices.end(), fd) != s.devices.end();
}

uint32_t envNumber(const char* name, uint32_t fallback)
{
    const char* text = getenv(name);
    if (!text || !*text)
        return fallback;
    char* end = nullptr;
    errno = 0;
    const unsigned long v = strtoul(text, &end, 10);
    if (errno || *end || v > UINT32_MAX) {
        fprintf(stderr, "utksimfb: ignoring %s=%s\n", name, text);
        return fallback;
    }
    return static_cast<uint32_t>(v);
}

// Creates a fresh file and maps it; s.lock is held.
bool configureLocked(State& s, const char* id, uint32_t xres, uint32_t yres, uint32_t bpp,
                     uint32_t lineLength)
{
    if (bpp != 1 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
        return false;
    if (xres == 0 || yres == 0 || xres > MAX_SIDE || yres > MAX_SIDE)
        return false;
    if (lineLength == 0)
        lineLength = (xres * bpp + 7) / 8;
    const uint64_t memorySize = static_cast<uint64_t>(lineLength) * yres;
    if (memorySize > MAX_MEMORY)
        return false;
    const long page = sysconf(_SC_PAGESIZE);
    const uint32_t offset = static_cast<uint32_t>(std::max<long>(page, sizeof(SimFbHeader)));
    const size_t total = offset + static_cast<size_t>(memorySize);

    shm_unlink(s.shmName.c_str());
    const int fd = shm_open(s.shmName.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd < 0) {
        perror("utksimfb: shm_open");
        return false;
    }
    if (ftruncate(fd, static_cast<off_t>(total)) < 0) {
        perror("utksimfb: ftruncate");
        ::close(fd);
        return false;
    }
    void* view = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    if (view == MAP_FAILED) {
        perror("utksimfb: mmap");
        return false;
    }
    if (s.view)
        munmap(s.view, s.viewLength);
    s.view = static_cast<unsigned char*>(view);
    s.viewLength = total;

    SimFbHeader* h = header(s);
    h->magic = SimFbHeader::MAGIC;
    h->version = SimFbHeader::VERSION;
    memset(h->id, 0, sizeof(h->id));
    strncpy(h->id, id ? id : "", sizeof(h->id));
    h->xres = xres;
    h->yres = yres;
    h->bitsPerPixel = bpp;
    h->lineLength = lineLength;
    h->memoryOffset = offset;
    h->memorySize = static_cast<uint32_t>(memorySize);
    __atomic_store_n(&h->syncCount, 0u, __ATOMIC_SEQ_CST);
    return true;
}

// Maps the file that another process configured (the phone's supervisor),
// so that every phonelet of the phone shows on the one device. The header
// must be valid and the file long enough for the memory it announces.
bool attachLocked(State& s)
{
    const int fd = shm_open(s.shmName.c_str(), O_RDWR, 0);
    if (fd < 0) {
        fprintf(stderr, "utksimfb: no simulated LCD %s to attach to\n", s.shmName.c_str());
        return false;
    }
    struct stat st;
    SimFbHeader h;
    const bool sized = fstat(fd, &st) == 0 && static_cast<uint64_t>(st.st_size) >= sizeof h
                       && pread(fd, &h, sizeof h, 0) == static_cast<ssize_t>(sizeof h);
    if (!sized || h.magic != SimFbHeader::MAGIC || h.version != SimFbHeader::VERSION
        || static_cast<uint64_t>(h.memoryOffset) + h.memorySize > static_cast<uint64_t>(st.st_size)) {
        fprintf(stderr, "utksimfb: %s is not a simulated LCD\n", s.shmName.c_str());
        ::close(fd);
        return false;
    }
    const size_t total = static_cast<size_t>(st.st_size);
    void* view = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    if (view == MAP_FAILED) {
        perror("utksimfb: mmap");
        return false;
    }
    s.view = static_cast<unsigned char*>(view);
    s.viewLength = total;
    return true;
}

// The device of the environment when nobody configured one; s.lock is held.
bool ensureConfigured(State& s)
{
    if (s.view)
        return true;
    if (!s.shmNameSet) {
        const char* name = getenv("UTKSIM_FB_SHM");
        if (name && *name)
            s.shmName = name;
    }
    const char* attach = getenv("UTKSIM_FB_ATTACH");
    if (attach && *attach && strcmp(attach, "0") != 0)
        return attachLocked(s);
    const char* id = getenv("UTKSIM_FB_ID");
    return configureLocked(s, id ? id : "utksim", envNumber("UTKSIM_FB_XRES", 320),
                           envNumber("UTKSIM_FB_YRES", 240), envNumber("UTKSIM_FB_BPP", 32),
                           envNumber("UTKSIM_FB_LINE", 0));
}

bool injected(State& s, SimFramebuffer::Operation op)
{
    if (s.failures[op] == 0)
        return false;
    errno = s.failures[op];
    return true;
}

__attribute__((constructor)) void modelFromEnvironment()
{
    const char* text = getenv("UTKSIM_MODEL");
    if (text && *text)
        SysHardwareVersion::setModel(static_cast<int>(strtol(text, nullptr, 10)));
}

} // namespace

// ---- the seam -------------------------------------------------------------

int32_t SysFramebuffer::open(const char* path)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.lastOpenPath = path ? path : "";
    if (injected(s, SimFramebuffer::Open))
        return -1;
    if (!ensureConfigured(s)) {
        errno = ENODEV;
        return -1;
    }
    const int fd = shm_open(s.shmName.c_str(), O_RDWR, 0);
    if (fd < 0)
        return -1;
    s.devices.push_back(fd);
    return fd;
}

int32_t SysFramebuffer::getVarInfo(int32_t fd, fb_var_screeninfo* info)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (!isDevice(s, fd) || !s.view) {
        errno = EBADF;
        return -1;
    }
    if (injected(s, SimFramebuffer::VarInfo))
        return -1;
    const SimFbHeader* h = header(s);
    fb_var_screeninfo v = fb_var_screeninfo();
    v.xres = v.xres_virtual = h->xres;
    v.yres = v.yres_virtual = h->yres;
    v.bits_per_pixel = h->bitsPerPixel;
    switch (h->bitsPerPixel) {
    case 1:
    case 8:
        v.grayscale = 1;
        v.red.length = v.green.length = v.blue.length = h->bitsPerPixel;
        break;
    case 16:
        v.red = {11, 5, 0};
        v.green = {5, 6, 0};
        v.blue = {0, 5, 0};
        break;
    default:
        v.red = {16, 8, 0};
        v.green = {8, 8, 0};
        v.blue = {0, 8, 0};
        if (h->bitsPerPixel == 32)
            v.transp = {24, 8, 0};
        break;
    }
    *info = v;
    return 0;
}

int32_t SysFramebuffer::getFixInfo(int32_t fd, fb_fix_screeninfo* info)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (!isDevice(s, fd) || !s.view) {
        errno = EBADF;
        return -1;
    }
    if (injected(s, SimFramebuffer::FixInfo))
        return -1;
    const SimFbHeader* h = header(s);
    fb_fix_screeninfo f = fb_fix_screeninfo();
    memcpy(f.id, h->id, sizeof(f.id));
    f.smem_len = h->memorySize;
    f.type = FB_TYPE_PACKED_PIXELS;
    f.visual = h->bitsPerPixel == 1 ? FB_VISUAL_MONO10 : FB_VISUAL_TRUECOLOR; // a set bit is light
    f.line_length = h->lineLength;
    *info = f;
    return 0;
}

void* SysFramebuffer::map(int32_t fd, size_t length)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (!isDevice(s, fd) || !s.view) {
        errno = EBADF;
        return nullptr;
    }
    if (injected(s, SimFramebuffer::Map))
        return nullptr;
    const SimFbHeader* h = header(s);
    if (length == 0 || length > h->memorySize) {
        errno = EINVAL;
        return nullptr;
    }
    void* address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                         static_cast<off_t>(h->memoryOffset));
    return address == MAP_FAILED ? nullptr : address;
}

int32_t SysFramebuffer::manualSync(int32_t fd)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (!isDevice(s, fd) || !s.view) {
        errno = EBADF;
        return -1;
    }
    if (injected(s, SimFramebuffer::Sync))
        return -1;
    __atomic_add_fetch(&header(s)->syncCount, 1u, __ATOMIC_SEQ_CST);
    return 0;
}

int32_t SysFramebuffer::unmap(void* address, size_t length)
{
    return munmap(address, length);
}

int32_t SysFramebuffer::close(int32_t fd)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    auto it = std::find(s.devices.begin(), s.devices.end(), fd);
    if (it != s.devices.end())
        s.devices.erase(it);
    return ::close(fd);
}

const char* SysFramebuffer::implementation()
{
    return "sim";
}

// ---- control --------------------------------------------------------------

bool SimFramebuffer::configure(const char* id, uint32_t xres, uint32_t yres, uint32_t bitsPerPixel,
                               uint32_t lineLength)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return configureLocked(s, id, xres, yres, bitsPerPixel, lineLength);
}

void SimFramebuffer::setShmName(const std::string& name)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    s.shmName = name;
    s.shmNameSet = true;
}

std::string SimFramebuffer::shmName()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.shmName;
}

void SimFramebuffer::remove()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (s.view)
        munmap(s.view, s.viewLength);
    s.view = nullptr;
    s.viewLength = 0;
    shm_unlink(s.shmName.c_str());
}

void SimFramebuffer::setFailure(Operation op, int32_t err)
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    if (op >= 0 && op < OperationCount)
        s.failures[op] = err;
}

void SimFramebuffer::clearFailures()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    for (int32_t& f : s.failures)
        f = 0;
}

unsigned char* SimFramebuffer::memory()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.view ? s.view + header(s)->memoryOffset : nullptr;
}

size_t SimFramebuffer::memorySize()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.view ? header(s)->memorySize : 0;
}

uint32_t SimFramebuffer::syncCount()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.view ? __atomic_load_n(&header(s)->syncCount, __ATOMIC_SEQ_CST) : 0;
}

std::string SimFramebuffer::lastOpenPath()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return s.lastOpenPath;
}

int32_t SimFramebuffer::openDevices()
{
    State& s = state();
    std::lock_guard<std::mutex> guard(s.lock);
    return static_cast<int32_t>(s.devices.size());
}
