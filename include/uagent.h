// UAgent: the receiver of events. An agent emits events to its listener (or
// to a target it names); events always travel through the application's
// event loop and are delivered on the main thread.
//
// Each agent keeps the set of agents that have it as listener, so whichever
// of two linked agents is destroyed first cuts the link on both sides.
//
// An emit() that finds a receiver while no application exists (a timer that
// fires after the application is gone, say) destroys the event instead of
// posting it.
//
// Threads: agents are built, linked and destroyed on the main thread; only
// the emit() forms may be used from other threads (the timer thread emits).
// The listener links and the emitter set have no lock. The one thing a
// destructor does that touches shared state, clearing the target of the
// agent's queued events, is safe from any thread against the application
// being destroyed at the same time (UApplication::removeQueuedEventsFor),
// but an agent destroyed on another thread while the main thread may be
// delivering one of its events is the caller's race to avoid.
#ifndef UAGENT_H
#define UAGENT_H

#include "utkexport.h"

#include <set>

class UEvent;
class UKeyEvent;
class UTimerEvent;

class UTK_EXPORT UAgent {
public:
    explicit UAgent(UAgent* listener = nullptr);
    virtual ~UAgent();
    UAgent(const UAgent&) = delete;
    UAgent& operator=(const UAgent&) = delete;

    virtual void setListener(UAgent* listener);
    virtual void removeListener(UAgent* listener);
    virtual void removeEmitter(UAgent* emitter);
    virtual void event(UEvent* event);
    virtual bool keyEvent(UKeyEvent* event);
    virtual void timerEvent(UTimerEvent* event);

    UAgent* getListener() const { return m_listener; }
    const std::set<UAgent*>& getEmitters() const { return m_emitters; }

    void emit(unsigned short type);
    void emit(unsigned short type, UAgent* target);
    void emit(UEvent* event);
    void emit(UEvent* event, UAgent* target);

private:
    UTK_LOCAL static void post(UEvent* event);

    UAgent* m_listener;
    std::set<UAgent*> m_emitters;
};

#endif
