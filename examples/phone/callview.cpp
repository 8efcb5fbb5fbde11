// The call view: brought forward to dial a call, it takes the full screen
// (REQUEST_FULL_SCREEN: the desktop is told to hide) and shows the call.
// Select or left ends the call: the view draws nothing more and releases
// the full screen (RELEASE_FULL_SCREEN), on which the desktop shows again
// and takes the screen back.
#include "calls.h"
#include "phonelet.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulabel.h"

namespace {

class CallView : public Phonelet {
public:
    CallView() : Phonelet(UApplication::CALLVIEWPHONELET, UApplication::ClientMode) {}

protected:
    UWidget* buildWindow() override
    {
        const Call& call = CALLS[m_call];
        PhoneWindow* window = new PhoneWindow("Calling...");
        addLine(window, 14, call.name, ULabel::AlignCenter);
        addLine(window, 23, call.number, ULabel::AlignCenter);
        addSoftKeys(window, "End", "End", nullptr);
        window->onKey = [this](UKeyEvent* e) {
            if ((e->m_key == KEY_LEFT || e->m_key == KEY_SELECT) && e->m_state == KEY_RELEASED) {
                hideWindow();
                releaseFullScreen();
            }
            return true; // a call owns the keypad
        };
        return window;
    }

    void shown() override { requestFullScreen(); }

    void frontRequested(int value) override
    {
        m_call = value >= 0 && unsigned(value) < CALL_COUNT ? unsigned(value) : 0;
        if (onScreen())
            rebuild();
        requestScreen();
    }

private:
    unsigned m_call = 0;
};

} // namespace

int main()
{
    CallView view;
    view.run();
    return 0;
}
