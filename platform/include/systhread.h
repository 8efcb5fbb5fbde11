// Stand-in for the phone platform's threads: a thread body (SysThreadable)
// and a spawner (SysThreader) that runs a body's run() on a new thread.
//
// Every order of use a caller may choose is safe on this stand-in:
// - the spawner may go before the thread;
// - the handle is stored before the new thread can look at it (the thread
//   starts run() only once spawn() has finished with the body);
// - a body whose run() has returned can be spawned again (the finished
//   thread is joined first); one still inside run() is refused;
// - a body destroyed from its own thread (run() deleting its object)
//   detaches that thread instead of aborting the process; the thread then
//   touches nothing of the body after run() returns;
// - a body destroyed from another thread waits for its thread first.
// What the stand-in cannot do is keep a derived part alive: a class derived
// from a body has to make run() return, and wait for it, before its own
// members go.
#ifndef SYSTHREAD_H
#define SYSTHREAD_H

#include <atomic>
#include <memory>
#include <mutex>
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
    // Waits for a thread still running on this body (detaches it when the
    // body is destroyed from that very thread).
    virtual ~SysThreadable();
    virtual void run() = 0;
    virtual int getThreadPriorityForPlatform();
    virtual std::string type();

    // Blocks until the thread spawned on this body has returned from
    // run(). Returns at once when no thread was spawned, it was already
    // waited for, another caller is already waiting for it, or it is
    // called from the body's own thread.
    void waitForThreadCompletion();
    // True from spawn() until run() has returned on the spawned thread.
    bool isThreadRunning() const;

private:
    friend class SysThreader;
    mutable std::mutex m_handleMutex;          // guards m_thread and m_finished
    std::thread m_thread;
    // Set by the thread once run() has returned. Shared with the thread so
    // that a body deleted by its own run() is never written after the fact.
    std::shared_ptr<std::atomic<bool>> m_finished;
};

class SysThreader {
public:
    SysThreader();
    ~SysThreader();
    // Starts a thread that calls body->run(). id receives an identifier of
    // the new thread (may be null). name is informative only; priority and
    // flags are accepted and ignored on this stand-in. Returns 0 on
    // success, -1 when the body is null, its previous thread is still
    // inside run(), or the thread could not be created.
    int spawn(SysThreadId* id, SysThreadable* body, const std::string& name,
              SysThreadPriority priority, int flags);
};

#endif
