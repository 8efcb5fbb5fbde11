#include "ukeylistener.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>

#include "uappserver.h"
#include "uapplication.h"
#include "utimerevent.h"

const UString UKeyListener::KEYBOARD_DEVICE("/dev/input/keyboards");
const char* const UKeyListener::KEY_FIFO = "/tmp/kiv_keyboard";

namespace {

void setNonBlocking(int fd, bool on)
{
    int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0)
        return;
    ::fcntl(fd, F_SETFL, on ? (flags | O_NONBLOCK) : (flags & ~O_NONBLOCK));
}

} // namespace

UKeyListener::UKeyListener() : UKeyListener(KEYBOARD_DEVICE) {}

UKeyListener::UKeyListener(const UString& path)
    : UThreadable(), UAgent(nullptr), m_devicePath(path), m_repeatTimer(this, 0), m_lastKey(0)
{
    m_wakePipe[0] = m_wakePipe[1] = -1;
    if (::pipe2(m_wakePipe, O_CLOEXEC) != 0) {
        m_wakePipe[0] = m_wakePipe[1] = -1;
    } else {
        setNonBlocking(m_wakePipe[0], true);
        setNonBlocking(m_wakePipe[1], true);
    }
}

UKeyListener::~UKeyListener()
{
    halt();
    m_repeatTimer.stop();
    for (int fd : m_wakePipe)
        if (fd >= 0)
            ::close(fd);
}

void UKeyListener::halt()
{
    stop();
    if (m_wakePipe[1] >= 0) {
        char b = 1;
        (void)!::write(m_wakePipe[1], &b, 1);
    }
    join();
}

bool UKeyListener::pause(int ms)
{
    if (shouldStop())
        return true;
    if (m_wakePipe[0] < 0) {
        ::poll(nullptr, 0, ms);
    } else {
        pollfd p = {m_wakePipe[0], POLLIN, 0};
        ::poll(&p, 1, ms);
    }
    return shouldStop();
}

unsigned short UKeyListener::mapKey(unsigned int raw) const
{
    // Key codes of the raw numbers 10 to 21 and 279 to 294, 0 where a
    // number has none: two small tables instead of a switch.
    static const unsigned char kLow[12] = {42, 35, 2, 4, 1, 3, 13, 0, 14, 15, 16, 17};
    static const unsigned char kHigh[16] = {22, 21, 0, 0, 0, 0, 0, 20, 18, 0, 45, 46, 44, 45, 43, 19};
    if (raw <= 9)
        return static_cast<unsigned short>(raw + 48);
    unsigned char code = 0;
    if (raw <= 21)
        code = kLow[raw - 10];
    else if (raw >= 279 && raw <= 294)
        code = kHigh[raw - 279];
    if (code != 0)
        return code;
    std::cerr << ("UWARNING: Key is not mapped: " + std::to_string(raw) + '\n') << std::flush;
    return 0;
}

void UKeyListener::send(unsigned short key, int state)
{
    UApplication* app = UApplication::instance();
    UKeyEvent event(app, UEvent::Key);
    event.m_key = key;
    event.m_state = state;
    if (app && app->appServer())
        app->appServer()->sendKeyEvent(event);
}

void UKeyListener::handleKeyByte(unsigned char byte)
{
    unsigned int raw = byte & 0x7Fu;
    int state;
    if ((byte & 0x80u) == 0) {
        m_lastKey.store(static_cast<unsigned char>(raw));
        m_repeatTimer.stop();
        m_repeatTimer.setInterval(REPEAT_INTERVAL);
        m_repeatTimer.start();
        state = KEY_PRESSED;
    } else {
        m_lastKey.store(0xFF);
        m_repeatTimer.stop();
        state = KEY_RELEASED;
    }
    send(mapKey(raw), state);
}

void UKeyListener::timerEvent(UTimerEvent*)
{
    send(mapKey(m_lastKey.load()), KEY_HELD);
}

void UKeyListener::run()
{
    // Non-blocking open: a device node that is really a pipe without a
    // writer must not hang the thread before it can be woken.
    int fd = ::open(m_devicePath.toUTF8().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd == 0)
        ::close(fd); // descriptor 0 counts as a failure; do not leak it
    if (fd <= 0) {
        std::fprintf(stderr, "UKeyListener: Didn't find /dev/input/keyboards\n");
        std::fflush(stderr);
        fd = ::open(KEY_FIFO, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (fd == 0)
            ::close(fd);
        if (fd <= 0) {
            int err = errno;
            std::fprintf(stderr, "UKeyListener: Could not open fifo %s", KEY_FIFO);
            std::fflush(stderr);
            errno = err;
            std::perror("open:");
            return;
        }
        std::fprintf(stderr, "UKeyListener: ZOL fifo %s open OK\n", KEY_FIFO);
        std::fflush(stderr);
    }
    setNonBlocking(fd, false);

    for (;;) {
        if (shouldStop())
            break;
        pollfd fds[2] = {{fd, POLLIN, 0}, {m_wakePipe[0], POLLIN, 0}};
        int ready = ::poll(fds, m_wakePipe[0] >= 0 ? 2 : 1, -1);
        if (ready < 0 && errno == EINTR)
            continue;
        if (shouldStop())
            break;
        if (ready > 0 && fds[0].revents == 0) {
            // A wake-up byte without a stop request: drain it.
            char sink[16];
            while (::read(m_wakePipe[0], sink, sizeof sink) > 0) {
            }
            continue;
        }
        unsigned char byte = 0;
        errno = 0;
        ssize_t n = ::read(fd, &byte, 1);
        if (n <= 0) {
            std::perror("Key read error");
            pause(100);
            continue;
        }
        handleKeyByte(byte);
    }
    ::close(fd);
}
