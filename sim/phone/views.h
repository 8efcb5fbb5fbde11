// Where utk-phone shows the LCD and where its keys come from.
#ifndef UTK_SIM_PHONE_VIEWS_H
#define UTK_SIM_PHONE_VIEWS_H

#include <memory>
#include <string>
#include <vector>

#include "snapshot.h"

// A key from a view: a raw key number going down or up, or the wish to quit.
struct ViewKey {
    enum Kind { Press, Release, Tap, Quit } kind = Tap;
    int raw = 0;
};

class View {
public:
    virtual ~View() = default;
    virtual void show(const snapshot::Picture& lcd) = 0;
    // Keys since the last call; waits at most `timeoutMs` for the first.
    virtual std::vector<ViewKey> keys(int timeoutMs) = 0;
    // A line for the user (status, errors).
    virtual void status(const std::string& text) = 0;
};

// The terminal: the LCD drawn in place in half blocks, redrawn on change,
// the PC keyboard as the keypad (keymap.h). Null when standard input or
// output is not a terminal.
std::unique_ptr<View> makeTerminalView();

// An SDL window: the LCD magnified `scale` times with a drawn keypad that
// takes clicks and keys. Null (with the reason on standard error) when SDL
// is missing or cannot open a window. `readBack`, when not empty, receives
// a PNG of the whole window after every redraw (for tests).
std::unique_ptr<View> makeWindowView(int scale, const std::string& readBack);

#endif
