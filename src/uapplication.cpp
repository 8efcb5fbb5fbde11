#include "uapplication.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "uappclient.h"
#include "uappserver.h"
#include "uevent.h"
#include "ueventloop.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
#include "ukeylistener.h"
#include "uscreenifc.h"
#include "uwidget.h"
#include "uwindowmanager.h"

const UString UApplication::DESKTOPPHONELET("DesktopPhonelet");
const UString UApplication::APPLAUNCHERPHONELET("AppLauncherPhonelet");
const UString UApplication::CALLVIEWPHONELET("CallViewPhonelet");
const UString UApplication::ADMINPHONELET("AdminPhonelet");
const UString UApplication::CALLLOGPHONELET("CallLogPhonelet");
const UString UApplication::LDAPPHONELET("LDAPPhonelet");
const UString UApplication::MESSAGESPHONELET("MessagesPhonelet");

std::atomic<UApplication*> UApplication::appInstance{nullptr};

namespace {

// The application that accepts posts: set once its event loop exists,
// cleared first thing in its destructor.
std::atomic<UApplication*> s_postTarget{nullptr};
// Posts (and queue cleanups) between reading s_postTarget and leaving the
// application. The destructor, and run() on its way out, wait for zero.
// Sequentially consistent with s_postTarget and s_virtualPosts: either the
// poster sees the cleared pointer or the waiter sees the count.
std::atomic<int> s_inFlight{0};
// True while run() runs: other threads may then call the overriding
// postEvent() of a derived application.
std::atomic<bool> s_virtualPosts{false};
// The thread that constructed the current application. Written before the
// application is published for posting, read only after it is seen.
std::thread::id s_mainThread;

void waitForPostsInFlight()
{
    while (s_inFlight.load() != 0)
        std::this_thread::yield();
}

// A failed construction check stops the process in every build type, in
// the C library's own assertion format.
void requireOrDie(bool ok, const char* condition, unsigned int line, const char* function)
{
    if (ok)
        return;
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name,
                 "src/uapplication.cpp", line, function, condition);
    std::fflush(stderr);
    std::abort();
}

} // namespace

UApplication::UApplication(const UString& name, UScreenIfc* screen, UApplication::UIMode mode)
    : UAgent(nullptr), m_screen(nullptr), m_keyListener(nullptr), m_eventLoop(nullptr),
      m_windowManager(nullptr), m_fontManager(nullptr), m_appServer(nullptr),
      m_appClient(nullptr), m_uiMode(mode), m_appName(name), m_locale(UGlobal::Latin),
      m_enabled(false)
{
    m_screen = screen;
    requireOrDie(appInstance == nullptr,
                 "appInstance == nullptr && \"UERROR: UApplication is already created\"",
                 __LINE__, __PRETTY_FUNCTION__);
    requireOrDie(screen != nullptr, "screen != nullptr && \"UERROR: Screen is NUL\"", __LINE__,
                 __PRETTY_FUNCTION__);
    appInstance.store(this);
    s_mainThread = std::this_thread::get_id();

    // ServerMode: the screen server is listening before anything else
    // exists, so that the first registration finds it.
    if (m_uiMode == ServerMode) {
        m_appServer = new UAppServer();
        m_appServer->start();
        m_appServer->waitForStart();
    }

    m_eventLoop = new UEventLoop();
    // Everything a post touches exists now: open the application to posts.
    s_postTarget.store(this);
    m_windowManager = new UWindowManager();
    m_fontManager = new UFontManager();

    if (m_uiMode == ServerMode) {
        m_keyListener = new UKeyListener();
        m_keyListener->start();
    }

    m_windowManager->init();

    // The screen client starts last, once the event loop and the window
    // manager exist for the events it posts.
    if (m_uiMode == ServerMode || m_uiMode == ClientMode) {
        m_appClient = new UAppClient();
        m_appClient->start();
    }
}

UApplication::~UApplication()
{
    // The screen-sharing threads end before anything is taken apart, so
    // none of them can reach the application, its event loop or its
    // server while they go. Their objects are destroyed below, in order.
    if (m_keyListener)
        m_keyListener->halt();
    if (m_appClient)
        m_appClient->halt();
    if (m_appServer)
        m_appServer->halt();
    // Withdraw from posting and let every post in flight leave, so nothing
    // reaches the event loop once it starts going.
    if (s_postTarget.load() == this)
        s_postTarget.store(nullptr);
    appInstance.store(nullptr);
    waitForPostsInFlight();
    delete m_keyListener;
    m_keyListener = nullptr;
    delete m_fontManager;
    m_fontManager = nullptr;
    delete m_eventLoop;
    m_eventLoop = nullptr;
    delete m_windowManager;
    m_windowManager = nullptr;
    delete m_screen;
    m_screen = nullptr;
    delete m_appServer;
    m_appServer = nullptr;
    delete m_appClient;
    m_appClient = nullptr;
}

UApplication* UApplication::instance()
{
    return appInstance.load(std::memory_order_acquire);
}

void UApplication::postThroughInstance(UEvent* event)
{
    if (!event)
        return;
    s_inFlight.fetch_add(1);
    UApplication* app = s_postTarget.load();
    if (!app)
        delete event;
    else if (s_virtualPosts.load() || std::this_thread::get_id() == s_mainThread)
        app->postEvent(event);
    else
        app->UApplication::postEvent(event);
    s_inFlight.fetch_sub(1);
}

void UApplication::removeQueuedEventsFor(UAgent* agent)
{
    s_inFlight.fetch_add(1);
    if (UApplication* app = s_postTarget.load())
        app->m_eventLoop->removeEventByTarget(agent);
    s_inFlight.fetch_sub(1);
}

void UApplication::run()
{
    if (!m_eventLoop)
        return;
    beginDelivery();
    m_eventLoop->run();
    endDelivery();
}

void UApplication::beginDelivery()
{
    if (s_postTarget.load() == this)
        s_virtualPosts.store(true);
    // The screen client holds its first post until now.
    if (m_appClient)
        m_appClient->beginDelivery();
}

void UApplication::endDelivery()
{
    if (s_postTarget.load() != this)
        return;
    // The derived part may go from here on: no other thread may still be
    // inside the overriding postEvent().
    s_virtualPosts.store(false);
    waitForPostsInFlight();
}

void UApplication::stop()
{
    if (m_eventLoop)
        m_eventLoop->stop();
}

void UApplication::postEvent(UEvent* event)
{
    if (!event)
        return;
    if (m_eventLoop)
        m_eventLoop->postEvent(event);
    else
        delete event;
}

void UApplication::event(UEvent* e)
{
    UWidget* window = m_windowManager ? m_windowManager->activeWindow() : nullptr;
    if (!window) {
        UAppComms::writeLine("No focused widget found, consuming event");
        return;
    }
    if (e->getType() == UEvent::AppShow) {
        window->setVisible(true);
        window->refresh();
    } else if (e->getType() == UEvent::AppHide) {
        window->setVisible(false);
    }
}

bool UApplication::keyEvent(UKeyEvent* e)
{
    UWidget* window = m_windowManager ? m_windowManager->activeWindow() : nullptr;
    if (!window) {
        UAppComms::writeLine("No focused widget found, consuming keyEvent");
        return false;
    }
    return window->keyEvent(e);
}

// Forwarded to the screen client in ClientMode only: the ServerMode
// process never asks for the full screen, although it has a client.
void UApplication::requestFullScreen()
{
    if (m_uiMode == ClientMode && m_appClient)
        m_appClient->requestFullScreen();
}

void UApplication::releaseFullScreen()
{
    if (m_uiMode == ClientMode && m_appClient)
        m_appClient->releaseFullScreen();
}

UString UApplication::getPhoneletName(char number)
{
    switch (static_cast<signed char>(number)) {
    case 1: return DESKTOPPHONELET;
    case 2: return APPLAUNCHERPHONELET;
    case 3: return CALLVIEWPHONELET;
    case 4: return ADMINPHONELET;
    case 5: return CALLLOGPHONELET;
    case 6: return LDAPPHONELET;
    case 7: return MESSAGESPHONELET;
    default: return UString();
    }
}
