#include "uapplication.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <sstream>

#include "uevent.h"
#include "ueventloop.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
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

    // ServerMode: the screen server is created, started and waited for here,
    // before the event loop exists (the screen-sharing services are not part
    // of this build yet).

    m_eventLoop = new UEventLoop();
    m_windowManager = new UWindowManager();
    m_fontManager = new UFontManager();

    m_windowManager->init();

    // ServerMode: the key listener starts before init(); ServerMode and
    // ClientMode: the screen client starts last, once the event loop and the
    // window manager exist.
}

UApplication::~UApplication()
{
    {
        std::lock_guard<std::recursive_mutex> lock(instanceMutex());
        appInstance = nullptr;
    }
    // The key listener would go first, the screen server and client last.
    delete m_fontManager;
    m_fontManager = nullptr;
    delete m_eventLoop;
    m_eventLoop = nullptr;
    delete m_windowManager;
    m_windowManager = nullptr;
    delete m_screen;
    m_screen = nullptr;
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

void UApplication::requestFullScreen()
{
    // Forwarded to the screen client in ClientMode only; without a client
    // there is nothing to ask.
}

void UApplication::releaseFullScreen()
{
    // As requestFullScreen().
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
