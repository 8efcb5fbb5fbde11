// Fixture for the list, line edit and date-time label tests: the widget
// fixture's recording application, with the project's fonts loaded (when
// present) and the timer manager paused so that time moves only through
// tick(). Also a recorder of the events that these widgets emit.
#ifndef UTK_TESTS_LIST_FIXTURE_H
#define UTK_TESTS_LIST_FIXTURE_H

#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "textart.h"
#include "uevent.h"
#include "ukeyevent.h"
#include "ufontmanager.h"
#include "ukeys.h"
#include "ulistevent.h"
#include "ulistitem.h"
#include "utimer.h"
#include "utimermanager.h"
#include "widget_fixture.h"

#ifndef UTK_TEXT_FONT_FILE
#define UTK_TEXT_FONT_FILE "fonts/utk-text.bdf"
#endif
#ifndef UTK_ICON_FONT_FILE
#define UTK_ICON_FONT_FILE "fonts/utk-icons.bdf"
#endif

// Logs what a widget emits: "5:<row>:<index>", "6:<row>:<index>" for list
// events (rows named through `names`, "null" for none), "4" for the line
// edit's delete on empty text.
class EmitLog : public UAgent {
public:
    void event(UEvent* e) override
    {
        if (UListEvent* le = dynamic_cast<UListEvent*>(e)) {
            auto it = names.find(le->item());
            const std::string row =
                le->item() ? (it != names.end() ? it->second : std::string("?")) : "null";
            const std::string index =
                le->index() == 0xFFFFFFFFu ? std::string("-1") : std::to_string(le->index());
            log.push_back(std::to_string(e->m_type) + ":" + row + ":" + index);
        } else {
            log.push_back(std::to_string(e->m_type));
        }
    }
    std::vector<std::string> take()
    {
        std::vector<std::string> out;
        out.swap(log);
        return out;
    }
    std::map<const UListItem*, std::string> names;
    std::vector<std::string> log;
};

class PaintedWidgetTest : public WidgetTest {
protected:
    void SetUp() override
    {
        UTimerManager::instance()->setPaused(true);
        WidgetTest::SetUp();
        const std::string dir = UTK_SOURCE_DIR "/";
        fontsLoaded = exists(dir + UTK_TEXT_FONT_FILE) && exists(dir + UTK_ICON_FONT_FILE);
        if (fontsLoaded) {
            app->fontManager()->loadFont(dir + UTK_TEXT_FONT_FILE, "text");
            app->fontManager()->loadFont(dir + UTK_ICON_FONT_FILE, "icons");
            app->setFont("text");
            app->setIconFont("icons");
        }
    }
    void TearDown() override
    {
        WidgetTest::TearDown();
        UTimerManager::instance()->setPaused(false);
    }

    static bool exists(const std::string& path) { return std::ifstream(path).good(); }

    // Hands a key event straight to a widget.
    static bool key(UWidget& w, unsigned short code, int state = KEY_RELEASED)
    {
        UKeyEvent e(&w, UEvent::Key);
        e.m_key = code;
        e.m_state = state;
        return w.keyEvent(&e);
    }
    // Posts a key event to the application, as the screen-sharing client
    // does, and processes everything that follows from it.
    void postKey(unsigned short code, int state)
    {
        UKeyEvent* e = new UKeyEvent(app, UEvent::Key);
        e->m_key = code;
        e->m_state = state;
        app->postEvent(e);
        drain();
    }
    // The periodic timer that a widget owns (its only timer emitter).
    static UTimer* ownTimer(UAgent& owner)
    {
        for (UAgent* a : owner.getEmitters()) {
            if (UTimer* t = dynamic_cast<UTimer*>(a))
                return t;
        }
        return nullptr;
    }
    // Every pixel dark.
    void inkAll() { std::memset(screen->buffer(), 0x00, static_cast<size_t>(screen->stride()) * 48); }

    bool fontsLoaded = false;
};

#define REQUIRE_FONTS()                                                                            \
    do {                                                                                           \
        if (!fontsLoaded)                                                                          \
            GTEST_SKIP() << "fonts not found under fonts/";                                       \
    } while (0)

#endif
