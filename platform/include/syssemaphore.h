// Stand-in for the phone platform's counting semaphore.
#ifndef SYSSEMAPHORE_H
#define SYSSEMAPHORE_H

#include <semaphore.h>

class SysSemaphore {
public:
    // Initial count meaning "nothing available yet".
    static const int NOT_AVAILABLE = 0;
    // take() results.
    static const int OK = 0;
    static const int TIMED_OUT = -1;

    // initialCount: starting count (NOT_AVAILABLE for an empty semaphore);
    // maxCount: give() never raises the count beyond it (extra gives are
    // dropped); fifo: accepted for compatibility with the phone's
    // platform and ignored here.
    SysSemaphore(int initialCount, int maxCount, bool fifo);
    ~SysSemaphore();
    SysSemaphore(const SysSemaphore&) = delete;
    SysSemaphore& operator=(const SysSemaphore&) = delete;

    // Waits until the count is positive and decrements it. timeoutMs -1
    // waits without limit, 0 only tries. Returns OK, or TIMED_OUT when the
    // time ran out first.
    int take(int timeoutMs);
    void give();
    int count() const;

private:
    sem_t m_sem;
    int m_max;
};

#endif
