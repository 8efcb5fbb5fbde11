#include "uthreadable.h"

#include "uappcomms.h"

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
    if (threader.spawn(&id, this, std::string(), static_cast<SysThreadPriority>(1), 0) != 0) {
        UAppComms::writeLine("UThreadable: start() ignored, the thread is still running");
    }
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
