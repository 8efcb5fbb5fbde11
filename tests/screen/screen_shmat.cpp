// shmat() for the screen tests: the program's own definition wins over the
// C library's for the toolkit too (ELF interposition), so a test can make
// attaching fail after the segment was found, which the system alone only
// does for a user without access.
#include <atomic>
#include <cerrno>

#include <dlfcn.h>
#include <sys/shm.h>

namespace {
std::atomic<int> s_shmatError{0};
}

void failShmat(int error)
{
    s_shmatError = error;
}

extern "C" void* shmat(int id, const void* address, int flags) noexcept
{
    if (const int e = s_shmatError.load()) {
        errno = e;
        return reinterpret_cast<void*>(-1);
    }
    using Shmat = void* (*)(int, const void*, int);
    static const Shmat next = reinterpret_cast<Shmat>(dlsym(RTLD_NEXT, "shmat"));
    return next(id, address, flags);
}
