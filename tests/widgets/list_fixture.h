// Fixture for the list, line edit and date-time label tests: the widget
// fixture's recording application, with the project's fonts loaded (when
// present) and the timer manager paused so that time moves only through
// tick(). Also a recorder of the events that these widgets emit.
#ifndef UTK_TESTS_LIST_FIXTURE_H
#define UTK_TESTS_LIST_FIXTURE_H

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
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
#define UTK_TEXT_FONT_FILE "fonts/utk-text-12.bdf"
#endif
#ifndef UTK_ICON_FONT_FILE
#define UTK_ICON_FONT_FILE "fonts/utk-icons-10.bdf"
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

// Icons of the project's icon font.
enum : unsigned short {
    ICON_CALL_MISSED = 0xE105,
    ICON_CALL_INCOMING = 0xE106,
    ICON_CALL_OUTGOING = 0xE107
};

// One golden picture: the positioning mode and the style flags given to
// the widgets under test.
struct GoldenCase {
    UWidget::PositioningMode mode;
    uint8_t flags;
    const char* name;
};

inline std::vector<GoldenCase> goldenCases()
{
    const uint8_t bb = UWidget::Background | UWidget::Border;
    return {{UWidget::Absolute, 0, "absolute_plain"},
            {UWidget::Absolute, bb, "absolute_background_border"},
            {UWidget::Absolute, static_cast<uint8_t>(bb | UWidget::Inverted),
             "absolute_background_border_inverted"},
            {UWidget::Relative, 0, "relative_plain"},
            {UWidget::Relative, bb, "relative_background_border"},
            {UWidget::Relative, static_cast<uint8_t>(bb | UWidget::Inverted),
             "relative_background_border_inverted"}};
}

inline std::string goldenCaseName(const ::testing::TestParamInfo<GoldenCase>& info)
{
    return info.param.name;
}

// A full-screen window holding a panel whose top-left corner is at screen
// (8, 4); the widgets under test go into the panel, placed at the same
// screen position in both positioning modes.
class SceneTest : public PaintedWidgetTest, public ::testing::WithParamInterface<GoldenCase> {
protected:
    void SetUp() override
    {
        PaintedWidgetTest::SetUp();
        UWidget::setPositioningMode(GetParam().mode);
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        panel = new UWidget(root.get());
        panel->setRect(URect(8, 4, 183, 40));
    }
    void TearDown() override
    {
        root.reset();
        PaintedWidgetTest::TearDown();
    }
    // The rectangle for screen position (x, y) and size (w, h) inside the
    // panel, in the current positioning mode.
    URect at(int x, int y, int w, int h) const
    {
        const bool relative = GetParam().mode == UWidget::Relative;
        return URect(static_cast<uint16_t>(relative ? x - 8 : x),
                     static_cast<uint16_t>(relative ? y - 4 : y), static_cast<uint16_t>(w),
                     static_cast<uint16_t>(h));
    }
    void style(UWidget* w) const
    {
        for (uint8_t f : {UWidget::Background, UWidget::Border, UWidget::Inverted})
            if (GetParam().flags & f)
                w->enableStyleFlag(static_cast<UWidget::StyleFlag>(f));
    }
    // Clears the screen, repaints the active window and processes what
    // follows; the whole screen as text art.
    std::string picture()
    {
        drain();
        screen->clear();
        wm->repaint();
        drain();
        return screen->art();
    }
    std::string goldenName(const char* widget) const
    {
        return std::string(widget) + "_" + GetParam().name;
    }

    std::unique_ptr<UWidget> root;
    UWidget* panel = nullptr;
};

#define REQUIRE_FONTS()                                                                            \
    do {                                                                                           \
        if (!fontsLoaded)                                                                          \
            GTEST_SKIP() << "fonts not found under fonts/";                                       \
    } while (0)

#endif
