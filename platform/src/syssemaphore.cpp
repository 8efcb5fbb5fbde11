#include "syssemaphore.h"

#include <cerrno>
#include <ctime>

// Built on a POSIX semaphore: an uncontended give or take is a single
// atomic operation, with no system call and no lock.
SysSemaphore::SysSemaphore(int initialCount, int maxCount, bool /*fifo*/)
    : m_max(maxCount < 1 ? 1 : maxCount)
{
    int count = initialCount < 0 ? 0 : initialCount;
    if (count > m_max)
        count = m_max;
    sem_init(&m_sem, 0, static_cast<unsigned int>(count));
}

SysSemaphore::~SysSemaphore()
{
    sem_destroy(&m_sem);
}

int SysSemaphore::take(int timeoutMs)
{
    if (timeoutMs < 0) {
        while (sem_wait(&m_sem) != 0) {
            if (errno != EINTR)
                return TIMED_OUT;
        }
        return OK;
    }
    if (timeoutMs == 0)
        return sem_trywait(&m_sem) == 0 ? OK : TIMED_OUT;
    struct timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += timeoutMs / 1000;
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    while (sem_clockwait(&m_sem, CLOCK_MONOTONIC, &deadline) != 0) {
        if (errno != EINTR)
            return TIMED_OUT;
    }
    return OK;
}

void SysSemaphore::give()
{
    // The maximum is checked before the post, so concurrent gives may pass
    // it by the number of racing threads; the count is never lost.
    int value = 0;
    if (sem_getvalue(&m_sem, &value) == 0 && value >= m_max)
        return;
    sem_post(&m_sem);
}

int SysSemaphore::count() const
{
    int value = 0;
    sem_getvalue(const_cast<sem_t*>(&m_sem), &value);
    return value < 0 ? 0 : value;
}

// Out-of-line definitions, so the constants may be bound to references
// (e.g. by test assertions) without an undefined symbol at link time.
const int SysSemaphore::NOT_AVAILABLE;
const int SysSemaphore::OK;
const int SysSemaphore::TIMED_OUT;
