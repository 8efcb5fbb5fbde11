// UAppClient: each ServerMode or ClientMode application's link to the
// screen server. Its thread registers the application under its phonelet
// number, then turns the server's datagrams into events posted to the
// application: SHOW into type 8, HIDE into type 7, KEY_EVENT into a key
// event (only while the application is enabled, never in the desktop).
// Its three requests send RELEASE_SCREEN, REQUEST_FULL_SCREEN and
// RELEASE_FULL_SCREEN from the calling thread.
//
// The receive loop (run()) reads one datagram at a time and hands it to
// handleMessage(), which does all the dispatching.
//
// Choices of this implementation:
// - Teardown: halt() (also run by the destructor) clears the stop flag,
//   shuts the socket's reading side, which wakes the blocked read at once,
//   and joins the thread. UApplication halts its client before it clears
//   its instance, so the thread never posts into an application that is
//   being taken apart, and no lock is held while the application's
//   postEvent() (which a phonelet may override) runs.
// - Open or bind failure: not examined, as for every send; the failed
//   socket's reads fail and are logged as malformed messages, paced at
//   one every 100 ms from the second failure in a row on.
// - Delivery waits for the application to be complete: the thread starts
//   inside UApplication's constructor, while a derived application (one
//   that overrides postEvent, say) is still being built, and calling its
//   virtuals then would race with its construction and could miss its
//   override. So the thread registers and reads at once, but holds the
//   first event it would post until beginDelivery(), which
//   UApplication::beginDelivery() calls (run() does, or a derived
//   application that wants events before run(), such as a test driving
//   the loop by hand, at the end of its own constructor). Posts go through
//   UApplication::postThroughInstance(). Datagrams wait in the socket meanwhile, in order;
//   halt() releases the wait. The mirror case: a derived application's
//   destructor runs before UApplication's halts the client, so one whose
//   postEvent override uses its own members calls appClient()->halt()
//   first thing in its destructor.
// - Datagrams from any sender are obeyed: the protocol trusts every local
//   process (see uappcomms.h).
// - The thread reads the application's enabled flag (atomic) and its name;
//   the name is set at construction and a phonelet does not change it
//   while the client runs.
// - Without an application (instance() null) nothing is posted and the
//   registration carries the number 0.
#ifndef UAPPCLIENT_H
#define UAPPCLIENT_H

#include "utkexport.h"

#include <condition_variable>
#include <mutex>

#include "uappcomms.h"
#include "uthreadable.h"
#include "ustring.h"

class SysUdpSocket;

class UTK_EXPORT UAppClient : public UThreadable {
public:
    // Creates and opens the socket on 127.0.0.1, a port the system picks.
    UAppClient();
    // Runs halt(), then deletes the socket.
    ~UAppClient() override;

    // Ends the thread: stop, wake the blocked read, join. Idempotent.
    void halt();
    // Lets the thread post events to the application from now on.
    void beginDelivery();

    // The phonelet number of a name: 1 to 7 for the seven phonelet names
    // of UApplication, 0 for any other.
    static char getAppName(const UString& name);

    // REQUEST_SCREEN from this application's own port: the server brings it
    // to the front. The server knows a phonelet only by its client's port,
    // so this is the one way a phonelet can ask for the screen for itself.
    void requestScreen();
    void releaseScreen();
    void requestFullScreen();
    void releaseFullScreen();

    // Dispatch of one received datagram of `count` bytes (the read's
    // result, possibly negative); `buffer` holds at least 3 readable bytes
    // (zero where nothing was received).
    void handleMessage(const unsigned char* buffer, int count);

    // The port the system gave the socket (0 when it is not open).
    unsigned short localPort() const;

protected:
    void run() override;

private:
    UTK_LOCAL void sendCommand(UAppComms::UAppCommand command, char argument);
    UTK_LOCAL std::string logPrefix() const;
    // Waits for beginDelivery() or halt(); false when halted.
    UTK_LOCAL bool waitForDelivery();

    SysUdpSocket* m_socket;
    std::mutex m_deliveryMutex;
    std::condition_variable m_deliveryReady;
    bool m_deliveryOpen;
    bool m_halted;
};

#endif
