// UApplication: the per-process hub. Each phonelet creates exactly one,
// with its name, the screen it draws on (owned from then on) and its UI
// mode. Every part of the toolkit reaches the process's services through
// UApplication::instance().
//
// Construction order: event loop, window manager, font manager; in
// ServerMode the screen server first (waited for) and the key listener
// after; in ServerMode and ClientMode the screen client last. Destruction
// clears the instance first, then destroys the key listener, the font
// manager, the event loop, the window manager, the screen, the server and
// the client, in that order. Threads of the server, the client and the key
// listener are stopped, woken and joined at the start of the destructor,
// before the instance is cleared, so none of them runs while the
// application is taken apart.
//
// Posting from other threads. instance() returns the application from the
// constructor's fourth step on (the server, key listener and client threads
// started during construction use it). Posting is published separately:
// postThroughInstance() reaches the application only once its event loop
// exists (release/acquire on an atomic), and the destructor withdraws it
// first thing and then waits until every post in flight has left, so a
// post never reaches a missing or dying event loop. No lock is held around
// postEvent() or any other overridable call: a derived postEvent() may
// start and stop timers, post, or do whatever a handler may do.
//
// Derived applications. From a thread other than the one that constructed
// the application, the overriding postEvent() is called only while run()
// is running (or between beginDelivery() and endDelivery()); before run() (the derived constructor may still be running)
// and after run() has returned (the derived destructor may be running)
// other threads' events go straight into the event loop through
// UApplication::postEvent(). A stopped loop never runs again, so the only
// events a derived postEvent() misses are ones that arrive before run()
// from other threads; they are queued in order all the same. On the
// constructing thread the override sees every post. What a phonelet must
// do: make its postEvent() safe to call from any thread while run() runs,
// never wait in it for the main thread (run()'s return and the destructor
// wait for posts in flight), and destroy its application on the thread
// that created it.
#ifndef UAPPLICATION_H
#define UAPPLICATION_H

#include "utkexport.h"

#include <atomic>

#include "uagent.h"
#include "uglobal.h"
#include "ustring.h"

class UScreenIfc;
class UKeyListener;
class UEventLoop;
class UWindowManager;
class UFontManager;
class UAppServer;
class UAppClient;
class UEvent;
class UKeyEvent;

class UTK_EXPORT UApplication : public UAgent {
public:
    enum UIMode : int32_t {
        ServerMode = 1,
        ClientMode = 2
    };

    static const UString DESKTOPPHONELET;
    static const UString APPLAUNCHERPHONELET;
    static const UString CALLVIEWPHONELET;
    static const UString ADMINPHONELET;
    static const UString CALLLOGPHONELET;
    static const UString LDAPPHONELET;
    static const UString MESSAGESPHONELET;

    UApplication(const UString& name, UScreenIfc* screen, UApplication::UIMode mode);
    ~UApplication() override;

    static UApplication* instance();

    void run();
    void stop();

    virtual void postEvent(UEvent* event);
    // Other threads' posts reach an overriding postEvent() only between
    // beginDelivery() and endDelivery(); outside, they go straight into the
    // event loop (in order all the same). run() calls both around the loop.
    // A derived application that wants other threads' posts in its
    // postEvent() before run() (a test driving the loop by hand) calls
    // beginDelivery() at the end of its constructor and endDelivery() first
    // thing in its destructor. endDelivery() returns once no other thread
    // is inside postEvent().
    void beginDelivery();
    void endDelivery();
    void event(UEvent* event) override;
    bool keyEvent(UKeyEvent* event) override;

    void setFont(const UString& font) { m_font = font; }
    UString getFont() const { return m_font; }
    void setIconFont(const UString& font) { m_iconFont = font; }
    UString getIconFont() const { return m_iconFont; }
    void setLocale(UGlobal::ULocale locale) { m_locale = locale; }
    UGlobal::ULocale getLocale() const { return m_locale; }
    void setAppName(const UString& name) { m_appName = name; }
    UString getAppName() const { return m_appName; }
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }
    UApplication::UIMode getUIMode() const { return m_uiMode; }

    UScreenIfc* screen() const { return m_screen; }
    UEventLoop* eventLoop() const { return m_eventLoop; }
    UWindowManager* windowManager() const { return m_windowManager; }
    UFontManager* fontManager() const { return m_fontManager; }
    UAppServer* appServer() const { return m_appServer; }
    UAppClient* appClient() const { return m_appClient; }
    UKeyListener* keyListener() const { return m_keyListener; }

    void requestFullScreen();
    void releaseFullScreen();

    static UString getPhoneletName(char number);

    // Posts through the current application (see the header comment for
    // which postEvent() is called), or destroys the event when no
    // application accepts posts. Safe from any thread; every thread other
    // than the main thread posts through here.
    static void postThroughInstance(UEvent* event);
    // Clears the target of the queued events addressed to `agent`, when an
    // application with an event loop exists. Safe from any thread against
    // the application's destruction (agents are destroyed on the main
    // thread in normal use; see uagent.h).
    static void removeQueuedEventsFor(UAgent* agent);

private:
    UTK_LOCAL static std::atomic<UApplication*> appInstance;

    UScreenIfc* m_screen;
    UKeyListener* m_keyListener;
    UEventLoop* m_eventLoop;
    UWindowManager* m_windowManager;
    UFontManager* m_fontManager;
    UAppServer* m_appServer;
    UAppClient* m_appClient;
    UApplication::UIMode m_uiMode;
    UString m_appName;
    UString m_font;
    UString m_iconFont;
    UGlobal::ULocale m_locale;
    // Read by the screen client's thread.
    std::atomic<bool> m_enabled;
};

#endif
