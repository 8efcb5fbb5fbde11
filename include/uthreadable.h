// UThreadable: the base of every toolkit thread. start() spawns a thread
// that runs run(); stop() asks it to end (the body polls shouldStop()),
// join() waits for it.
//
// The destructor only clears the flag; it does not join. Owners stop and
// join the thread before the object goes: derived classes call stop() and
// join() in their own destructors, after waking the thread if it blocks,
// so that no thread ever runs on a destroyed object. Every thread owner of
// the toolkit does so. As a safety net the platform base still waits for a
// thread it finds running when it is destroyed, and a body that deletes its
// own object from run() is allowed (its thread is let go, not joined).
//
// start() after run() has returned, joined or not, runs the body again on
// a new thread. start() while the thread is still inside run() starts no
// second thread: it only sets the flag again (cancelling a stop() the body
// has not acted on yet) and writes the line "UThreadable: start() ignored,
// the thread is still running" to standard output.
#ifndef UTHREADABLE_H
#define UTHREADABLE_H

#include "utkexport.h"

#include <atomic>
#include <string>

#include "systhread.h"

class UTK_EXPORT UThreadable : private SysThreadable {
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
