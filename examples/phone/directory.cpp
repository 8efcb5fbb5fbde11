// The directory: contacts, one row at a time. Its name is none of the
// phone's seven phonelet names, so it registers under the empty name and
// is the phonelet that GIVE_SCREEN with an empty name brings forward (the
// launcher does so). Left gives the screen back (RELEASE_SCREEN).
#include "phonelet.h"
#include "ukeyevent.h"
#include "ukeys.h"

namespace {

class Directory : public Phonelet {
public:
    Directory() : Phonelet(UString("Directory"), UApplication::ClientMode) {}

protected:
    UWidget* buildWindow() override
    {
        PhoneWindow* window = new PhoneWindow("Directory");
        addList(this, window, {"Anna Berg", "Carl Dahl", "Dora Ek", "Erik Falk"},
                {0xE109, 0xE109, 0xE109, 0xE109}, m_current);
        addSoftKeys(window, "Back", nullptr, nullptr);
        backOnLeft(window);
        return window;
    }

    void listEvent(int type, unsigned index) override
    {
        if (type == 5)
            m_current = index;
    }

private:
    unsigned m_current = 0;
};

} // namespace

int main()
{
    Directory directory;
    directory.run();
    return 0;
}
