// Helpers of the screen-sharing and key-input tests: the independent wire
// peer (peer.py), the key pipe, an application that
// records what its screen client posts, and polling with a deadline.
#ifndef UTK_TESTS_SHARING_SUPPORT_H
#define UTK_TESTS_SHARING_SUPPORT_H

#include <sys/stat.h>

#include <cstdio>
#include <functional>
#include <mutex>

#include "phoneletprocess.h"
#include "sysudpsocket.h"
#include "uappclient.h"
#include "uapplication.h"
#include "ukeyevent.h"

// peer.py playing a scenario (on its standard input); finish() returns its
// output once it has ended. The host's interpreter runs it directly, also
// when the tests run under an emulator.
class Peer {
public:
    explicit Peer(const std::string& scenario)
        : m_process("peer", {"/usr/bin/python3", UTK_SOURCE_DIR "/tests/sharing/peer.py"}, {}, false)
    {
        m_process.send(scenario);
        m_process.closeInput();
    }
    std::string finish()
    {
        m_process.waitExit(60);
        std::string out;
        for (const std::string& l : m_process.lines())
            out += l + "\n";
        return out;
    }
    static std::string run(const std::string& scenario) { return Peer(scenario).finish(); }

private:
    harness::PhoneletProcess m_process;
};

// Polls `done` every 2 ms until it holds or `ms` milliseconds have passed.
inline bool waitFor(const std::function<bool()>& done, int ms = 5000)
{
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// The key pipe, made and removed by the tests (the toolkit never makes it)
// and written one record at a time as the keypad driver would.
struct KeyFifo {
    static constexpr const char* path = "/tmp/kiv_keyboard";
    bool made = false;
    int writer = -1;
    KeyFifo()
    {
        ::unlink(path);
        made = ::mkfifo(path, 0600) == 0;
    }
    ~KeyFifo()
    {
        if (writer >= 0)
            ::close(writer);
        ::unlink(path);
    }
    void write(std::vector<unsigned char> bytes)
    {
        if (writer < 0)
            writer = ::open(path, O_RDWR | O_CLOEXEC);
        for (unsigned char b : bytes)
            (void)!::write(writer, &b, 1);
    }
};

// An application that records every key, show and hide event posted to it
// (from the client thread) as "k<code>/<state> ", "show " or "hide ", and
// passes every other event on to the event loop.
class RecordingApp : public UApplication {
public:
    RecordingApp(const UString& name, UScreenIfc* screen, UApplication::UIMode mode)
        : UApplication(name, screen, mode)
    {
        beginDelivery(); // complete: other threads may call postEvent now
    }
    // Our members go before UApplication's destructor halts the client.
    ~RecordingApp() override
    {
        endDelivery();
        if (appClient())
            appClient()->halt();
    }
    void postEvent(UEvent* e) override
    {
        const unsigned short type = e->getType();
        if (e->getTarget() != this ||
            (type != UEvent::Key && type != UEvent::AppShow && type != UEvent::AppHide))
            return UApplication::postEvent(e);
        std::string what = type == UEvent::AppShow ? "show " : "hide ";
        if (type == UEvent::Key) {
            UKeyEvent* key = static_cast<UKeyEvent*>(e);
            what = "k" + std::to_string(key->m_key) + "/" + std::to_string(key->m_state) + " ";
        }
        delete e;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events += what;
    }
    std::string events()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    // The events read `want` within 5 s, and still after 100 ms more.
    bool sees(const std::string& want)
    {
        const bool seen = waitFor([&] { return events() == want; });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        return seen && events() == want;
    }

private:
    std::mutex m_mutex;
    std::string m_events;
};

// True while some socket holds 127.0.0.1:port (the probe then says so on
// standard error).
inline bool portTaken(unsigned short port)
{
    SysUdpSocket probe;
    return probe.open(port, SysAddressFamilyIPv4, "probe", "127.0.0.1") != 0;
}

#endif
