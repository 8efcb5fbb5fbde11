// Helpers for the screen-sharing and key-input tests: the independent wire
// peer (peer.py, a host Python program that runs directly, also when the
// tests themselves run under an emulator), a plain UDP endpoint, and
// polling with a deadline.
#ifndef UTK_TESTS_SHARING_SUPPORT_H
#define UTK_TESTS_SHARING_SUPPORT_H

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "sysudpsocket.h"

extern char** environ;

// Runs peer.py on a scenario in the background; finish() returns its
// output once it has ended.
class Peer {
public:
    explicit Peer(const std::string& scenario)
    {
        char path[] = "/tmp/utk-peer-XXXXXX";
        int fd = ::mkstemp(path);
        m_scenario = path;
        if (fd >= 0) {
            (void)!::write(fd, scenario.data(), scenario.size());
            ::close(fd);
        }
        int out[2];
        if (::pipe(out) != 0)
            return;
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_addclose(&actions, out[0]);
        std::string script = std::string(UTK_SOURCE_DIR) + "/tests/sharing/peer.py";
        std::string python = pythonPath();
        char* argv[] = {const_cast<char*>(python.c_str()), const_cast<char*>(script.c_str()),
                        const_cast<char*>(m_scenario.c_str()), nullptr};
        if (posix_spawn(&m_pid, python.c_str(), &actions, nullptr, argv, environ) != 0)
            m_pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        m_out = out[0];
    }
    ~Peer() { finish(); }

    std::string finish()
    {
        if (m_out >= 0) {
            char buf[4096];
            ssize_t n;
            while ((n = ::read(m_out, buf, sizeof buf)) > 0)
                m_output.append(buf, static_cast<size_t>(n));
            ::close(m_out);
            m_out = -1;
        }
        if (m_pid > 0) {
            int status = 0;
            ::waitpid(m_pid, &status, 0);
            m_pid = -1;
        }
        if (!m_scenario.empty()) {
            ::unlink(m_scenario.c_str());
            m_scenario.clear();
        }
        return m_output;
    }

    static std::string run(const std::string& scenario) { return Peer(scenario).finish(); }

private:
    // The host's interpreter by its full path: under a user-mode emulator
    // a bare name could resolve inside the target's root file system.
    static std::string pythonPath()
    {
        for (const char* p : {"/usr/bin/python3", "/usr/local/bin/python3", "/bin/python3"})
            if (::access(p, X_OK) == 0)
                return p;
        return "/usr/bin/python3";
    }

    std::string m_scenario;
    std::string m_output;
    pid_t m_pid = -1;
    int m_out = -1;
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

// A UDP endpoint on 127.0.0.1 with receive-with-timeout, for the tests that
// play a client next to a whole ServerMode application.
class UdpEndpoint {
public:
    UdpEndpoint() { m_socket.open(0, SysAddressFamilyIPv4, "TestPeer", "127.0.0.1"); }
    unsigned short port() const { return m_socket.localPort(); }
    void send(std::vector<unsigned char> bytes, unsigned short port = 65529)
    {
        m_socket.write(bytes.data(), static_cast<int>(bytes.size()), 0x7F000001u, port);
    }
    // One datagram as "aa bb cc", or "" after `ms` milliseconds of silence.
    std::string receive(int ms = 5000)
    {
        pollfd p = {m_socket.socketHandle(), POLLIN, 0};
        if (::poll(&p, 1, ms) <= 0)
            return "";
        unsigned char buf[16];
        int n = m_socket.read(buf, sizeof buf, nullptr, nullptr);
        std::string out;
        for (int i = 0; i < n; ++i) {
            char h[4];
            std::snprintf(h, sizeof h, i ? " %02x" : "%02x", buf[i]);
            out += h;
        }
        return out;
    }

private:
    SysUdpSocket m_socket;
};

// The key pipe that the tests create and remove; the toolkit never makes it.
struct KeyFifo {
    static constexpr const char* path = "/tmp/kiv_keyboard";
    int writer = -1;
    KeyFifo()
    {
        ::unlink(path);
        if (::mkfifo(path, 0600) == 0)
            writer = -2; // opened on demand, once a reader may exist
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

#endif

#include <mutex>

#include "uappclient.h"
#include "uapplication.h"
#include "ukeyevent.h"

// An application that records every key, show and hide event posted to it
// (from the client thread) as "k<code>/<state>", "show" or "hide", and
// passes every other event on to the event loop.
class RecordingApp : public UApplication {
public:
    RecordingApp(const UString& name, UScreenIfc* screen, UApplication::UIMode mode)
        : UApplication(name, screen, mode)
    {
        // Complete: the client may call our postEvent from now on.
        if (appClient())
            appClient()->beginDelivery();
    }
    // Our members go before UApplication's destructor halts the client.
    ~RecordingApp() override
    {
        if (appClient())
            appClient()->halt();
    }
    void postEvent(UEvent* e) override
    {
        if (e->getTarget() == this && (e->getType() == UEvent::Key || e->getType() == UEvent::AppShow ||
                                       e->getType() == UEvent::AppHide)) {
            std::string what = e->getType() == UEvent::AppShow ? "show"
                               : e->getType() == UEvent::AppHide
                                   ? "hide"
                                   : "k" + std::to_string(static_cast<UKeyEvent*>(e)->m_key) + "/" +
                                         std::to_string(static_cast<UKeyEvent*>(e)->m_state);
            delete e;
            std::lock_guard<std::mutex> lock(m_mutex);
            m_events.push_back(what);
            return;
        }
        UApplication::postEvent(e);
    }
    std::vector<std::string> events()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_events;
    }
    size_t eventCount() { return events().size(); }
    void clearEvents()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_events.clear();
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_events;
};

inline std::string joined(const std::vector<std::string>& v)
{
    std::string out;
    for (const std::string& s : v)
        out += s + " ";
    return out;
}

#include <sstream>

// "" when the texts are equal, else the first line where they differ (long
// logs stay readable when a test fails).
inline std::string firstDifference(const std::string& expected, const std::string& actual)
{
    std::istringstream e(expected), a(actual);
    std::string le, la;
    for (int line = 1;; ++line) {
        bool me = static_cast<bool>(std::getline(e, le));
        bool ma = static_cast<bool>(std::getline(a, la));
        if (!me && !ma)
            return expected == actual ? "" : "the texts differ in their last line end";
        if (!me || !ma || le != la)
            return "line " + std::to_string(line) + ": expected \"" + (me ? le : "<end>") +
                   "\", got \"" + (ma ? la : "<end>") + "\"";
    }
}

// True while some socket holds 127.0.0.1:port.
inline bool portTaken(unsigned short port)
{
    SysUdpSocket probe;
    // open() prints a line when the bind fails; keep it out of the logs.
    int saved = ::dup(2);
    int null = ::open("/dev/null", O_WRONLY);
    ::dup2(null, 2);
    bool taken = probe.open(port, SysAddressFamilyIPv4, "Probe", "127.0.0.1") != 0;
    ::dup2(saved, 2);
    ::close(saved);
    ::close(null);
    return taken;
}
