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
#ifndef UAPPLICATION_H
#define UAPPLICATION_H

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

class UApplication : public UAgent {
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

    // Posts through the current instance's postEvent(), or destroys the
    // event when there is no application. Safe from any thread: it
    // excludes the destructor's clearing of the instance, so an event
    // posted by another thread (a timer firing) never reaches an event loop
    // that is being destroyed.
    static void postThroughInstance(UEvent* event);

private:
    static UApplication* appInstance;

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
