// Stand-in for the phone platform's mutex.
#ifndef SYSMUTEX_H
#define SYSMUTEX_H

#include <mutex>

// Initial state of a SysMutex: 0 created locked by the creating thread,
// 1 created unlocked (the value the toolkit always passes).
enum SysMutexInitialState {
    SysMutexLocked = 0,
    SysMutexUnlocked = 1
};

// A non-recursive mutex with the platform's take/give vocabulary. A mutex
// created locked is held by the creating thread, which must give it.
class SysMutex {
public:
    explicit SysMutex(SysMutexInitialState state = SysMutexUnlocked);
    ~SysMutex();
    SysMutex(const SysMutex&) = delete;
    SysMutex& operator=(const SysMutex&) = delete;

    void take();
    void give();

private:
    std::mutex m_mutex;
};

// Scope guard: takes on construction, gives on destruction.
class SysMutexLocker {
public:
    explicit SysMutexLocker(SysMutex& m) : m_m(m) { m_m.take(); }
    ~SysMutexLocker() { m_m.give(); }
    SysMutexLocker(const SysMutexLocker&) = delete;
    SysMutexLocker& operator=(const SysMutexLocker&) = delete;
private:
    SysMutex& m_m;
};

#endif
