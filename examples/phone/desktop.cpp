// The desktop: date, clock and the soft-key labels. It runs in ServerMode,
// so its process hosts the screen server and the key listener, and it owns
// the screen at start. It never receives keys (the screen client keeps
// them from the desktop); the menu key is the launcher's.
//
// Whenever the server shows it (at start, or when a full-screen phonelet
// gives the screen back) it asks for the screen as well, so that it is the
// owner whenever it is visible and the next phonelet to come forward hides
// it.
//
// UTK_PHONE_TIME="YYYY-MM-DD HH:MM" fixes the time shown (for pictures that
// must not change from run to run): the clock starts from that minute
// each time the desktop is shown.
#include <cstdio>
#include <cstdlib>

#include "phonelet.h"
#include "udatetime.h"
#include "udatetimelabel.h"
#include "ulabel.h"

namespace {

struct Moment {
    unsigned year, month, day, hour, minute;
};

bool fixedMoment(Moment& m)
{
    const char* text = std::getenv("UTK_PHONE_TIME");
    return text && std::sscanf(text, "%u-%u-%u %u:%u", &m.year, &m.month, &m.day, &m.hour, &m.minute) == 5
           && m.month >= 1 && m.month <= 12 && m.day >= 1 && m.day <= 31 && m.hour < 24 && m.minute < 60;
}

class Desktop : public Phonelet {
public:
    Desktop() : Phonelet(UApplication::DESKTOPPHONELET, UApplication::ServerMode) {}

protected:
    UWidget* buildWindow() override
    {
        Moment m;
        if (!fixedMoment(m)) {
            const UDateTime now = UDateTime::now();
            m = {now.year(), now.month(), now.day(), now.hour(), now.minute()};
        }
        PhoneWindow* window = new PhoneWindow("utk phone");
        UDateTimeLabel* clock = new UDateTimeLabel(window);
        clock->setRect(URect(150, 0, 49, 12));
        clock->setMode(UDateTimeLabel::ShowTime);
        clock->setUseFlash(false);
        clock->setTime(m.hour, m.minute, 0);
        clock->update();
        UDateTimeLabel* date = new UDateTimeLabel(window);
        date->setRect(URect(40, 17, 120, 12));
        date->setDate(m.day, m.month, m.year);
        date->update();
        addSoftKeys(window, "Menu", nullptr, nullptr);
        return window;
    }

    void shown() override { requestScreen(); }
};

} // namespace

int main()
{
    Desktop desktop;
    desktop.run();
    return 0;
}
