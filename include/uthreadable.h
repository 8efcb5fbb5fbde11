// UThreadable: the base of every toolkit thread. start() spawns a thread
// that runs run(); stop() asks it to end (the body polls shouldStop()),
// join() waits for it.
//
// The destructor only clears the flag. Owners stop and join the thread
// before the object goes: derived classes call stop() and join() in their
// own destructors, after waking the thread if it blocks, so that no thread
// ever runs on a destroyed object. (As a last safety net the platform base
// also waits for a thread still running when it is destroyed.)
#ifndef UTHREADABLE_H
#define UTHREADABLE_H

#include <atomic>
#include <string>

#include "systhread.h"

class UThreadable : private SysThreadable {
public:
    UThreadable();
    ~UThreadable() override;

    void start();
    void stop();
    bool shouldStop() const { return !m_keepRunning.load(); }
    void join();

protected:
    void run() override;
    using SysThreadable::getThreadPriorityForPlatform;
    using SysThreadable::type;

private:
    std::atomic<bool> m_keepRunning;
};

#endif
