// Phonelet: what the example phonelets of the simulated phone (utk-phone)
// have in common.
//
// - The screen: a UScreenZQ4 on "/dev/fb0", whatever device that is (the
//   phone's LCD, or the simulated one that utk-phone preloads), and the
//   fonts utk-text-12 and utk-icons-10 as "text" and "icons", taken from
//   $UTK_FONT_DIR (set by utk-phone) or else the build tree's fonts/.
// - The window: built by buildWindow() when the server first shows the
//   phonelet and destroyed again when it hides it. A hidden phonelet thus
//   draws nothing at all: hiding never erases the screen, which the new
//   owner is painting at the same moment from another process. What a
//   phonelet must remember across a hide (the current row, a number) lives
//   in the phonelet object, not in its widgets.
// - Keys: every enabled phonelet receives every key, on screen or not (the
//   server fans them out to all). On screen they go to the window; off
//   screen to hiddenKey(), which ignores them unless a phonelet overrides
//   it (the launcher wakes up on the menu key). A key belongs to the
//   phonelet that was on screen when it went down: its release and repeats
//   reach no other window, even one shown in between (see keyEvent).
// - Screen requests: REQUEST_SCREEN must come from the phonelet's
//   registered port, so it goes through the client
//   (UAppClient::requestScreen()). GIVE_SCREEN may come from anywhere and
//   uses a socket of its own.
// - Ending: SIGTERM or SIGINT stop the event loop (checked every 50 ms with
//   the front requests below), so that main returns and the application
//   and its threads are torn down in order.
// - Being brought to the front: the server knows the seven phonelets only
//   by their full names, and GIVE_SCREEN carries two characters of a name,
//   so GIVE_SCREEN reaches only the one phonelet registered under the empty
//   name (any name that is none of the seven). A named phonelet is brought
//   forward by SIGUSR1 (sendToFront()): it answers with REQUEST_SCREEN from
//   its own port. Only phonelets started by the same utk-phone (the same
//   parent process) are signalled.
#ifndef UTK_EXAMPLES_PHONELET_H
#define UTK_EXAMPLES_PHONELET_H

#include <functional>
#include <string>
#include <vector>

#include "uapplication.h"
#include "utimer.h"
#include "uwidget.h"

class UListWidget;
class ULabel;
class UKeyEvent;
class UEvent;
class UTimerEvent;
class PhoneWindow;

class Phonelet : public UApplication {
public:
    Phonelet(const UString& name, UApplication::UIMode mode);
    ~Phonelet() override;

    // Loads the fonts, takes the signals, enables keys, then runs the
    // event loop (UApplication::run).
    void run();

    void event(UEvent* event) override;
    bool keyEvent(UKeyEvent* event) override;
    void timerEvent(UTimerEvent* event) override;

    bool onScreen() const { return m_window != nullptr; }

    // Drops the window without a word to the server: the phonelet stays
    // where it is in the stacking order but draws nothing until the next
    // SHOW.
    void hideWindow();
    // Rebuilds the window from the phonelet's state (on screen only).
    void rebuild();

    // REQUEST_SCREEN from this phonelet's port.
    void requestScreen();
    // RELEASE_SCREEN through the toolkit's client.
    void releaseScreen();
    // Makes the left key (on release) give the screen back.
    void backOnLeft(PhoneWindow* window);
    // GIVE_SCREEN naming `name`: its first two characters go on the wire.
    static void giveScreen(const std::string& name);
    // SIGUSR1 to the sibling phonelet running `program`; false when there
    // is none.
    // `value` reaches the phonelet's frontRequested().
    static bool sendToFront(const std::string& program, int value = 0);

    // Rows of lists become windows of their own when stepped; the list
    // owner registers them so they go with the window.
    void adoptStray(UWidget* row);

protected:
    // A full-screen window with the phonelet's widgets; owned by the caller
    // from then on (Phonelet deletes it on hide).
    virtual UWidget* buildWindow() = 0;
    // Called before the window is deleted: forget pointers into it.
    virtual void windowGone() {}
    virtual bool hiddenKey(UKeyEvent*) { return false; }
    // After the window was shown by a SHOW from the server.
    virtual void shown() {}
    // Called when another phonelet asked this one to come forward.
    virtual void frontRequested(int value) { (void)value; requestScreen(); }
    // Events of the window's list: type 5 (current row changed, `index` the
    // new row) and 6 (row selected).
    virtual void listEvent(int type, unsigned index) { (void)type; (void)index; }


private:
    void dropWindow();

    UWidget* m_window = nullptr;
    std::vector<UWidget*> m_rows;
    std::vector<unsigned short> m_keysDown; // pressed while on screen
    UTimer m_poll;
};

// A full-screen window with a title line; keys go to onKey first, then to
// the children.
class PhoneWindow : public UWidget {
public:
    explicit PhoneWindow(const char* title);
    bool keyEvent(UKeyEvent* event) override;
    std::function<bool(UKeyEvent*)> onKey;
};

// A one-row list under the title (rows 14 to 33) with scroll arrows, its
// events going to `owner`, showing row `current`. Rows are registered with
// the owner (see adoptStray).
UListWidget* addList(Phonelet* owner, UWidget* window, const std::vector<std::string>& rows,
                     const std::vector<unsigned short>& icons, unsigned current);
// Soft-key labels on the bottom line: left, middle and right (null: none).
void addSoftKeys(UWidget* window, const char* left, const char* middle, const char* right);
// A text line at row `y`.
ULabel* addLine(UWidget* window, unsigned short y, const std::string& text,
                int alignment = 0);

#endif
