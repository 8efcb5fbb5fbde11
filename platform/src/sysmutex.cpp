#include "sysmutex.h"

SysMutex::SysMutex(SysMutexInitialState state)
{
    if (state == SysMutexLocked)
        m_mutex.lock();
}

SysMutex::~SysMutex() = default;

void SysMutex::take() { m_mutex.lock(); }

void SysMutex::give() { m_mutex.unlock(); }
