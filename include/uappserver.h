// UAppServer: the arbiter of the shared display, a thread of the one
// ServerMode process. It keeps the registry of clients (m_apps, one
// URemoteApp each) whose front entry owns the screen, answers screen
// requests with SHOW and HIDE datagrams, hides the desktop while another
// phonelet runs in full screen, and fans every key event out to all
// clients, front first.
//
// The receive loop (run()) reads one datagram at a time and hands it to
// handleMessage(), which does all the dispatching; the message handlers
// and the registry are used by the server thread alone.
//
// Choices of this implementation:
// - Registry and sendKeyEvent(): every change of m_apps is made on the
//   server thread under m_appsMutex; sendKeyEvent() (key listener thread
//   and event loop thread) copies the ports under the same lock, front to
//   back, then sends with no lock held. A walk never sees a torn list or a
//   freed record; a key racing a reorder goes out in the old or the new
//   order. No user code runs under the lock.
// - Teardown: halt() (also run by the destructor) clears the stop flag,
//   shuts the socket's reading side (which wakes the blocked read at
//   once) and joins the thread. The socket is created by run() under
//   m_socketMutex and only when no stop was asked for, so a halt() racing
//   the thread's start never misses the socket. Records and socket are
//   freed only after the join.
// - Bind failure (port 65529 held by another process): run() prints
//   "UAppServer: cannot listen on 127.0.0.1:65529, screen sharing is off
//   in this process", still signals its start (so the application's
//   constructor never hangs) and ends the thread at once: no read loop,
//   no spin. The application goes on without a server: its own client
//   registers with whichever process holds the port, and the key
//   listener's events are sent from the unbound socket, i.e. dropped
//   (there are no clients in the registry).
// - A read that keeps failing: the failure is logged as a malformed
//   message of -1 bytes and the next read follows at once, but from the
//   second failure in a row on the loop waits 100 ms between reads, so a
//   broken socket costs at most ten log lines a second.
// - onTerminationReceived() is never called: no datagram maps to it, so a
//   client that ends stays registered under its old port.
// - The desktop's first registration clears its area (columns 0 to 190,
//   rows 0 to 46): the server thread posts an event whose processing on the
//   main thread calls the window manager's clearArea(), so all drawing
//   stays on the main thread. It is queued ahead of the SHOW that the
//   desktop's own client posts.
// - GIVE_SCREEN carries two characters of a name, so it can only reach an
//   application registered under a name of at most two characters: among
//   the phonelets, the one registered under the empty name.
#ifndef UAPPSERVER_H
#define UAPPSERVER_H

#include "utkexport.h"

#include <atomic>
#include <list>
#include <mutex>
#include <utility>
#include <vector>

#include "syssemaphore.h"
#include "uappcomms.h"
#include "ukeyevent.h"
#include "uthreadable.h"
#include "ustring.h"

class SysUdpSocket;
class URemoteApp;

class UTK_EXPORT UAppServer : public UThreadable {
public:
    typedef std::list<URemoteApp*> AppList;
    typedef AppList::iterator AppPosition;

    UAppServer();
    // Runs halt(), then frees the socket and every record.
    ~UAppServer() override;

    // Blocks until run() has opened (or failed to open) the socket.
    void waitForStart();
    // Ends the thread: stop, wake the blocked read, join. Idempotent;
    // returns at once when the thread was never started.
    void halt();

    // One 3-byte datagram to 127.0.0.1:port: byte 0 the command, then the
    // first min(length, 2) bytes of data (when data is not null), the rest
    // zero. Nothing is sent before run() has created the socket.
    void sendMessage(UAppComms::UAppCommand command, unsigned short port, char* data, int length);
    // KEY_EVENT (low 8 bits of the key code, low 8 bits of the state) to
    // every registered client, front first. Callable from any thread.
    void sendKeyEvent(UKeyEvent event);

    // Dispatch of one received datagram of `count` bytes (the read's
    // result, possibly negative) from senderPort; `buffer` holds at least
    // 3 readable bytes (zero where nothing was received). Server thread
    // only (or a caller that owns the server while no thread runs).
    void handleMessage(const unsigned char* buffer, int count, unsigned short senderPort);

    AppPosition findApp(unsigned short port);
    AppPosition findApp(const UString& name);
    AppPosition appsEnd() { return m_apps.end(); }

    void onRegisterReceived(const UString& name, unsigned short port);
    void onRequestScreenReceived(AppPosition position);
    void onGiveScreenReceived(AppPosition position);
    void onReleaseScreenReceived(AppPosition position);
    void onRequestFullScreenReceived(AppPosition position);
    void onReleaseFullScreenReceived(AppPosition position);
    void onTerminationReceived(AppPosition position);

    // Snapshot of the registry, front first (for diagnostics and tests).
    std::vector<std::pair<UString, unsigned short>> registry();
    bool isCallViewFullScreen() const { return m_callViewFullScreen.load(); }
    // True once run() has bound the server's port.
    bool isListening() const { return m_listening.load(); }

protected:
    void run() override;

private:
    UTK_LOCAL void removeApp(AppPosition position);

    std::atomic<SysUdpSocket*> m_socket;
    AppList m_apps;
    SysSemaphore m_startSemaphore;
    std::atomic<bool> m_callViewFullScreen;

    std::mutex m_appsMutex;   // guards m_apps changes against sendKeyEvent's walk
    std::mutex m_socketMutex; // creation of the socket against halt()
    std::atomic<bool> m_listening;
};

#endif
