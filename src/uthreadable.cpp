#include "uthreadable.h"

UThreadable::UThreadable() : m_keepRunning(false) {}

UThreadable::~UThreadable()
{
    stop();
}

void UThreadable::start()
{
    m_keepRunning.store(true);
    SysThreadId id = 0;
    SysThreader threader;
    threader.spawn(&id, this, std::string(), static_cast<SysThreadPriority>(1), 0);
}

void UThreadable::stop()
{
    m_keepRunning.store(false);
}

void UThreadable::join()
{
    waitForThreadCompletion();
}

void UThreadable::run() {}
