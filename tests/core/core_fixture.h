// Shared fixture for core tests: an application on a do-nothing screen,
// and helpers to drain its event loop deterministically.
#ifndef UTK_TESTS_CORE_FIXTURE_H
#define UTK_TESTS_CORE_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "memoryscreen.h"
#include "uapplication.h"
#include "uevent.h"
#include "ueventloop.h"
#include "ukeyevent.h"
#include "utimerevent.h"

using Log = std::vector<std::string>;

// Records every delivery as "<name>:<kind><type>" in a shared log.
struct Recorder : UAgent {
    std::vector<std::string>* log;
    std::string name;
    Recorder(std::vector<std::string>* l, std::string n, UAgent* listener = nullptr)
        : UAgent(listener), log(l), name(std::move(n)) {}
    void event(UEvent* e) override { log->push_back(name + ":e" + std::to_string(e->m_type)); }
    bool keyEvent(UKeyEvent* e) override
    {
        log->push_back(name + ":k" + std::to_string(e->m_key) + "/" + std::to_string(e->m_state));
        return true;
    }
    void timerEvent(UTimerEvent* e) override
    {
        log->push_back(name + ":t" + std::to_string(e->m_timerId));
    }
};

// Stops the application when it receives any event.
struct Stopper : UAgent {
    void event(UEvent*) override { UApplication::instance()->stop(); }
};

class CoreTest : public ::testing::Test {
protected:
    void SetUp() override { app = new UApplication("CoreTest", new MemoryScreen, UApplication::UIMode(0)); }
    void TearDown() override { delete app; }

    // Processes every event queued so far, and those they post.
    unsigned int drain() { return app->eventLoop()->processPendingEvents(); }

    UApplication* app = nullptr;
};

#endif
