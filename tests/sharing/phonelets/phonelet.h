// Pieces shared by the test phonelets, which the multi-process tests and
// the sharing benchmarks start as processes of their own:
//
// - ReportingApp: the phonelet's UApplication, writing one line to
//   standard output for every show ("show"), hide ("hide") and key
//   ("key <code> <state>") that its screen client hands it, after the
//   toolkit has acted on it. Optionally it follows the screen with its
//   enabled flag (enabled on show, disabled on hide), counts keys in a
//   shared-memory word instead of printing them, and runs a hook after
//   each key.
// - CommandReader: reads standard input line by line on a thread of its
//   own and hands each line to the main thread as an event; end of input
//   counts as "quit". The commands every phonelet knows: "release"
//   (give the screen away), "fullscreen", "unfullscreen", "enable",
//   "disable", "ping" (answers "pong"), "port" (answers "port <n>", the
//   screen client's UDP port) and "quit".
//
// Every line is flushed at once: the tests read them while the phonelet
// runs. The phonelets draw through UScreenZQ4 like any phonelet; the test
// links the simulated LCD ahead of the toolkit and chooses the device with
// the UTKSIM_* environment variables.
#ifndef UTK_TEST_PHONELET_H
#define UTK_TEST_PHONELET_H

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <thread>

#include "uagent.h"
#include "uappclient.h"
#include "uapplication.h"
#include "uevent.h"
#include "ufontmanager.h"
#include "ukeyevent.h"

namespace phonelet {

inline void say(const char* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    std::vprintf(fmt, ap);
    va_end(ap);
    std::putchar('\n');
    std::fflush(stdout);
}

struct Options {
    bool enabled = false;      // --enabled: enabled from the start
    bool enableOnShow = false; // --enable-on-show: enabled while it has the screen
    bool edit = true;          // --no-edit: no digit field (no blinking cursor)
    const char* counter = nullptr; // --key-counter NAME: count keys there, print none

    // Parses the options after argv[first]; false on an unknown one.
    bool parse(int argc, char** argv, int first)
    {
        for (int i = first; i < argc; ++i) {
            if (!std::strcmp(argv[i], "--enabled"))
                enabled = true;
            else if (!std::strcmp(argv[i], "--enable-on-show"))
                enableOnShow = true;
            else if (!std::strcmp(argv[i], "--no-edit"))
                edit = false;
            else if (!std::strcmp(argv[i], "--key-counter") && i + 1 < argc)
                counter = argv[++i];
            else
                return false;
        }
        return true;
    }
};

// A 32-bit count in a POSIX shared-memory file that the starter created.
inline uint32_t* mapCounter(const char* name)
{
    const int fd = shm_open(name, O_RDWR, 0);
    if (fd < 0)
        return nullptr;
    void* p = mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return p == MAP_FAILED ? nullptr : static_cast<uint32_t*>(p);
}

class ReportingApp : public UApplication {
public:
    ReportingApp(const UString& name, UScreenIfc* screen, UApplication::UIMode mode,
                 const Options& options)
        : UApplication(name, screen, mode), m_options(options)
    {
        if (options.counter)
            m_counter = mapCounter(options.counter);
        if (options.enabled)
            setEnabled(true);
    }
    ~ReportingApp() override
    {
        // The client thread calls our postEvent(): end it before this part
        // of the object goes.
        if (appClient())
            appClient()->halt();
        if (m_counter)
            munmap(m_counter, sizeof(uint32_t));
    }

    void loadFonts()
    {
        const std::string dir = std::string(UTK_BINARY_DIR) + "/fonts/";
        fontManager()->loadFont(UString(dir + "utk-text-12.bdf"), UString("text"));
        fontManager()->loadFont(UString(dir + "utk-icons-10.bdf"), UString("icons"));
        setFont(UString("text"));
        setIconFont(UString("icons"));
    }

    void event(UEvent* e) override
    {
        const unsigned short type = e->getType();
        if (type == UEvent::AppShow && m_options.enableOnShow)
            setEnabled(true);
        UApplication::event(e);
        if (type == UEvent::AppHide && m_options.enableOnShow)
            setEnabled(false);
        if (type == UEvent::AppShow)
            say("show");
        else if (type == UEvent::AppHide)
            say("hide");
    }

    bool keyEvent(UKeyEvent* e) override
    {
        if (m_counter)
            __atomic_fetch_add(m_counter, 1u, __ATOMIC_RELEASE);
        else
            say("key %u %d", static_cast<unsigned>(e->m_key), static_cast<int>(e->m_state));
        const bool used = UApplication::keyEvent(e);
        if (afterKey)
            afterKey();
        return used;
    }

    std::function<void()> afterKey;

private:
    Options m_options;
    uint32_t* m_counter = nullptr;
};

// One line of standard input, delivered on the main thread.
class CommandEvent : public UEvent {
public:
    static const unsigned short TYPE = 200;
    CommandEvent(UAgent* target, const std::string& line) : UEvent(target, TYPE), command(line) {}
    std::string command;
};

// Acts on the common commands; `other` gets the rest.
class Commander : public UAgent {
public:
    explicit Commander(ReportingApp& app) : UAgent(nullptr), m_app(app) {}

    void event(UEvent* e) override
    {
        if (e->getType() != CommandEvent::TYPE)
            return;
        const std::string& c = static_cast<CommandEvent*>(e)->command;
        if (c == "quit") {
            m_app.stop();
        } else if (c == "release") {
            if (m_app.appClient())
                m_app.appClient()->releaseScreen();
        } else if (c == "fullscreen") {
            m_app.requestFullScreen();
        } else if (c == "unfullscreen") {
            m_app.releaseFullScreen();
        } else if (c == "enable" || c == "disable") {
            m_app.setEnabled(c == "enable");
            say("%sd", c.c_str());
        } else if (c == "port") {
            say("port %u", m_app.appClient() ? unsigned(m_app.appClient()->localPort()) : 0u);
        } else if (c == "ping" || c == "ready") {
            say(c == "ping" ? "pong" : "ready");
        } else if (other) {
            other(c);
        }
    }

    std::function<void(const std::string&)> other;

private:
    ReportingApp& m_app;
};

// Standard input to the main thread, one line an event. Joined by the
// destructor: the thread ends after "quit" or at the end of input.
class CommandReader {
public:
    explicit CommandReader(Commander& target)
        : m_thread([&target] {
              std::string line;
              while (std::getline(std::cin, line)) {
                  UApplication::instance()->postEvent(new CommandEvent(&target, line));
                  if (line == "quit")
                      return;
              }
              UApplication::instance()->postEvent(new CommandEvent(&target, "quit"));
          })
    {
    }
    ~CommandReader() { m_thread.join(); }

private:
    std::thread m_thread;
};

} // namespace phonelet

#endif
