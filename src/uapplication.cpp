#include "uapplication.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>

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

UApplication* UApplication::appInstance = nullptr;

namespace {

// Guards the instance pointer against posts from other threads while the
// destructor clears it. Recursive, because a derived postEvent() may post.
std::recursive_mutex& instanceMutex()
{
    static std::recursive_mutex* m = new std::recursive_mutex;
    return *m;
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

void writeLine(const std::string& text)
{
    std::ostringstream os;
    os << text;
    std::cout << os.str() << std::endl;
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
    {
        std::lock_guard<std::recursive_mutex> lock(instanceMutex());
        appInstance = this;
    }

    // ServerMode: the screen server is listening before anything else
    // exists, so that the first registration finds it.
    if (m_uiMode == ServerMode) {
        m_appServer = new UAppServer();
        m_appServer->start();
        m_appServer->waitForStart();
    }

    m_eventLoop = new UEventLoop();
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
    {
        std::lock_guard<std::recursive_mutex> lock(instanceMutex());
        appInstance = nullptr;
    }
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
    return appInstance;
}

void UApplication::postThroughInstance(UEvent* event)
{
    if (!event)
        return;
    std::lock_guard<std::recursive_mutex> lock(instanceMutex());
    if (appInstance)
        appInstance->postEvent(event);
    else
        delete event;
}

void UApplication::run()
{
    // The application is complete now: the screen client may post to it.
    if (m_appClient)
        m_appClient->beginDelivery();
    if (m_eventLoop)
        m_eventLoop->run();
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
        writeLine("No focused widget found, consuming event");
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
        writeLine("No focused widget found, consuming keyEvent");
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
