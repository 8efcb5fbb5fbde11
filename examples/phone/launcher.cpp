// The launcher: a list of the other phonelets. It waits hidden until the
// menu key (raw key 18, code 14) and then asks for the screen; up and down
// step the list, select brings the chosen phonelet to the front, left gives
// the screen back (RELEASE_SCREEN: the phonelet behind, normally the
// desktop, shows again).
//
// How a phonelet is brought forward depends on its name (see phonelet.h):
// the directory is registered under the empty name, which GIVE_SCREEN with
// a zero first byte reaches; the call log and the call view are named
// phonelets, which are asked to send REQUEST_SCREEN themselves.
#include <cstdio>

#include "phonelet.h"
#include "ukeyevent.h"
#include "ukeys.h"

namespace {

const unsigned short KEY_MENU = 14;

struct Entry {
    const char* title;
    const char* program; // signalled to come forward; null: GIVE_SCREEN
    unsigned short icon;
};
const Entry ENTRIES[] = {
    {"Call log", "phone-calllog", 0xE10A},
    {"Call view", "phone-callview", 0xE104},
    {"Directory", nullptr, 0xE109},
};

class Launcher : public Phonelet {
public:
    Launcher() : Phonelet(UApplication::APPLAUNCHERPHONELET, UApplication::ClientMode) {}

protected:
    UWidget* buildWindow() override
    {
        PhoneWindow* window = new PhoneWindow("Menu");
        std::vector<std::string> rows;
        std::vector<unsigned short> icons;
        for (const Entry& e : ENTRIES) {
            rows.push_back(e.title);
            icons.push_back(e.icon);
        }
        addList(this, window, rows, icons, m_current);
        addSoftKeys(window, "Back", "Open", nullptr);
        backOnLeft(window);
        return window;
    }

    bool hiddenKey(UKeyEvent* e) override
    {
        if (e->m_key == KEY_MENU && e->m_state == KEY_RELEASED)
            requestScreen();
        return true;
    }

    void listEvent(int type, unsigned index) override
    {
        if (type == 5) {
            m_current = index;
            return;
        }
        const Entry& entry = ENTRIES[index < 3 ? index : 0];
        if (!entry.program)
            giveScreen(""); // the one phonelet known under the empty name
        else if (!sendToFront(entry.program))
            std::printf("launcher: %s is not running\n", entry.program);
    }

private:
    unsigned m_current = 0;
};

} // namespace

int main()
{
    Launcher launcher;
    launcher.run();
    return 0;
}
