// Stand-in for the phone platform's threads: a thread body (SysThreadable)
// and a spawner (SysThreader) that runs a body's run() on a new thread.
#ifndef SYSTHREAD_H
#define SYSTHREAD_H

#include <string>
#include <thread>

typedef unsigned long SysThreadId;

enum SysThreadPriority {
    SysThreadPriorityLow = 0,
    SysThreadPriorityNormal = 1,
    SysThreadPriorityHigh = 2
};

class SysThreader;

// The body of a thread. The spawned thread's handle is kept in the body,
// so the thread can be waited for after the spawner is gone.
class SysThreadable {
public:
    SysThreadable();
    // Waits for a thread still running on this body: a body is never freed
    // under its own thread. Derived classes must make run() return (and
    // wait for it) before their own members go, since they are destroyed
    // before this destructor runs.
    virtual ~SysThreadable();
    virtual void run() = 0;
    virtual int getThreadPriorityForPlatform();
    virtual std::string type();

    // Blocks until the thread spawned on this body has returned from
    // run(). Returns at once when no thread was spawned or it was already
    // waited for. Must not be called from the body's own thread.
    void waitForThreadCompletion();

private:
    friend class SysThreader;
    std::thread m_thread;
};

class SysThreader {
public:
    SysThreader();
    ~SysThreader();
    // Starts a thread that calls body->run(). id receives an identifier of
    // the new thread (may be null). name is informative only; priority and
    // flags are accepted and ignored on this stand-in. Returns 0 on
    // success, -1 when the body is null, already has a thread, or the
    // thread could not be created.
    int spawn(SysThreadId* id, SysThreadable* body, const std::string& name,
              SysThreadPriority priority, int flags);
};

#endif
