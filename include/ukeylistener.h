// UKeyListener: the keypad reader of the ServerMode process. Its thread
// reads one byte per key transition (bit 7 set: released; bits 0 to 6: the
// raw key number) from the key device, or from the named pipe
// /tmp/kiv_keyboard when the device is missing, maps the raw number with
// mapKey() and hands a press or a release to the application's server,
// which sends it to every client. While a key is down, m_repeatTimer sends
// a KEY_HELD event every 1000 ms (from the event loop's thread).
//
// The toolkit never creates the pipe: whoever feeds keys creates it.
//
// Choices of this implementation:
// - The blocked read is woken through a self-pipe: the thread waits in
//   poll() on the key descriptor and the read end of m_wakePipe; halt()
//   (also run by the destructor) clears the stop flag, writes one byte
//   into the pipe and joins the thread. The device is opened non-blocking
//   (so a pipe without a writer cannot hang the open) and then switched
//   back to blocking reads.
// - A read that fails or reports end of file is reported ("Key read
//   error") and the next read waits up to 100 ms for the wake pipe
//   first, so a broken or closed device costs at most ten lines a second
//   and never a whole core, and halt() still ends the wait at once.
// - m_lastKey is atomic: the listener thread writes it, the event loop's
//   thread reads it in timerEvent().
// - Without an application or a server (instance() or appServer() null)
//   the events are built and dropped.
#ifndef UKEYLISTENER_H
#define UKEYLISTENER_H

#include "utkexport.h"

#include <atomic>

#include "uagent.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "uthreadable.h"
#include "ustring.h"
#include "utimer.h"

class UTimerEvent;

class UTK_EXPORT UKeyListener : public UThreadable, public UAgent {
public:
    // The key device "/dev/input/keyboards" and the fallback pipe.
    static const UString KEYBOARD_DEVICE;
    static const char* const KEY_FIFO;
    // Interval of the key repeat in milliseconds.
    static const unsigned long long REPEAT_INTERVAL = 1000;

    UKeyListener();
    explicit UKeyListener(const UString& path);
    ~UKeyListener() override;

    // Ends the thread: stop, wake the blocked wait, join. Idempotent.
    void halt();

    // The key code of a raw key number; 0 with the line "UWARNING: Key is
    // not mapped: <raw>" on standard error when the number has none.
    unsigned short mapKey(unsigned int raw) const;

    // One key record: updates the held key and the repeat timer and sends
    // the press or release to the server. The read loop calls it for every
    // byte read.
    void handleKeyByte(unsigned char byte);

    // The repeat: KEY_HELD for the held key.
    void timerEvent(UTimerEvent* event) override;

    unsigned char lastKey() const { return m_lastKey.load(); }
    const UTimer& repeatTimer() const { return m_repeatTimer; }

protected:
    void run() override;

private:
    UTK_LOCAL void send(unsigned short key, int state);
    // Waits up to `ms` milliseconds for a wake-up; true when halt() asked.
    UTK_LOCAL bool pause(int ms);

    UString m_devicePath;
    UTimer m_repeatTimer;
    std::atomic<unsigned char> m_lastKey;
    int m_wakePipe[2];
};

#endif
