// Shared fixture for core tests: an application on a do-nothing screen,
// and helpers to drain its event loop deterministically.
#ifndef UTK_TESTS_CORE_FIXTURE_H
#define UTK_TESTS_CORE_FIXTURE_H

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "uapplication.h"
#include "uevent.h"
#include "ueventloop.h"
#include "ukeyevent.h"
#include "uscreenifc.h"
#include "utimerevent.h"

struct StubScreen : UScreenIfc {
    unsigned char buf[1] = {0xFF};
    unsigned short width() const override { return 0; }
    unsigned short height() const override { return 0; }
    unsigned short stride() const override { return 0; }
    unsigned char* buffer() override { return buf; }
    unsigned char* scanLine(unsigned short) override { return buf; }
    unsigned char pixel(unsigned short, unsigned short) const override { return 255; }
    void setPixel(unsigned short, unsigned short, unsigned char) override {}
    bool fill(unsigned short, unsigned short, unsigned char, int) override { return true; }
};

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
    void SetUp() override { app = new UApplication("CoreTest", new StubScreen, UApplication::UIMode(0)); }
    void TearDown() override { delete app; }

    // Processes every event queued so far, and those they post.
    unsigned int drain() { return app->eventLoop()->processPendingEvents(); }

    UApplication* app = nullptr;
};

#endif
