// The call log: recent calls, one row at a time. Select calls the row's
// number (the call view comes forward and takes the full screen); left
// gives the screen back to the phonelet behind (RELEASE_SCREEN).
#include <cstdio>
#include <string>

#include "calls.h"
#include "phonelet.h"
#include "ukeyevent.h"
#include "ukeys.h"

namespace {

class CallLog : public Phonelet {
public:
    CallLog() : Phonelet(UApplication::CALLLOGPHONELET, UApplication::ClientMode) {}

protected:
    UWidget* buildWindow() override
    {
        PhoneWindow* window = new PhoneWindow("Call log");
        std::vector<std::string> rows;
        std::vector<unsigned short> icons;
        for (const Call& c : CALLS) {
            std::string row = c.name;
            row.resize(14, ' ');
            rows.push_back(row + c.when);
            icons.push_back(c.icon);
        }
        addList(this, window, rows, icons, m_current);
        addSoftKeys(window, "Back", "Call", nullptr);
        backOnLeft(window);
        return window;
    }

    void listEvent(int type, unsigned index) override
    {
        if (type == 5)
            m_current = index;
        else if (!sendToFront("phone-callview", int(index)))
            std::printf("call log: the call view is not running\n");
    }

private:
    unsigned m_current = 0;
};

} // namespace

int main()
{
    CallLog log;
    log.run();
    return 0;
}
