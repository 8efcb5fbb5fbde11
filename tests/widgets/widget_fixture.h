// Shared fixture for the widget tests: an application on an in-memory
// screen that records every posted event, the project's fonts loaded, the
// timer manager paused (time moves only through tick()), a probe widget, a
// recorder of emitted events, and the golden scene in both positioning modes.
#ifndef UTK_TESTS_WIDGET_FIXTURE_H
#define UTK_TESTS_WIDGET_FIXTURE_H

#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "memoryscreen.h"
#include "textart.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ueventloop.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulistevent.h"
#include "ulistitem.h"
#include "upaintevent.h"
#include "utimermanager.h"
#include "uwindowmanager.h"

using Log = std::vector<std::string>;
using Targets = std::vector<UAgent*>;

struct RecordingApp : UApplication {
    explicit RecordingApp(UScreenIfc* screen) : UApplication("WidgetTest", screen, UIMode(0)) {}
    void postEvent(UEvent* e) override
    {
        posted.emplace_back(e->getType(), e->getTarget());
        UApplication::postEvent(e);
    }
    std::vector<std::pair<unsigned short, UAgent*>> posted;
};

class ProbeWidget : public UWidget {
public:
    ProbeWidget(UWidget* parent, std::string name, Log* log)
        : UWidget(parent), m_name(std::move(name)), m_log(log)
    {
    }
    void paintEvent(UPaintEvent*, UDrawer& d) override
    {
        m_log->push_back(m_name + ":paint");
        seenPen = d.pen();
        seenBrush = d.brush();
        seenFont = d.font();
    }
    void postPaintEvent(UPaintEvent*, UDrawer&) override { m_log->push_back(m_name + ":post"); }
    bool keyEvent(UKeyEvent* e) override
    {
        m_log->push_back(m_name + ":key" + std::to_string(e->m_key));
        if (onKey)
            onKey();
        return consumeKeys || UWidget::keyEvent(e);
    }
    std::function<void()> onKey;
    bool consumeKeys = false;
    unsigned char seenPen = 0xAA, seenBrush = 0xAA;
    UString seenFont;

private:
    std::string m_name;
    Log* m_log;
};

// Logs what a widget emits: "5:<row>:<index>", "6:<row>:<index>" for list
// events (rows named through `names`, "?" unnamed, "null" for none), "4"
// for the line edit's delete on empty text.
struct EmitLog : UAgent {
    void event(UEvent* e) override
    {
        std::string s = std::to_string(e->m_type);
        if (UListEvent* le = dynamic_cast<UListEvent*>(e)) {
            auto it = names.find(le->item());
            s += ":" + (!le->item() ? "null" : it != names.end() ? it->second : "?") + ":" +
                 (le->index() == 0xFFFFFFFFu ? "-1" : std::to_string(le->index()));
        }
        log.push_back(s);
    }
    Log take() { return std::exchange(log, Log()); }
    std::map<const UListItem*, std::string> names;
    Log log;
};

inline void enableFlags(UWidget* w, uint8_t flags)
{
    for (uint8_t f : {UWidget::Background, UWidget::Border, UWidget::Inverted})
        if (flags & f)
            w->enableStyleFlag(static_cast<UWidget::StyleFlag>(f));
}

class WidgetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        UTimerManager::instance()->setPaused(true);
        UWidget::setPositioningMode(UWidget::Absolute);
        screen = new MemoryScreen;
        app = new RecordingApp(screen);
        wm = app->windowManager();
        const std::string dir = UTK_SOURCE_DIR "/fonts/";
        app->fontManager()->loadFont(dir + "utk-text-12.bdf", "text");
        app->fontManager()->loadFont(dir + "utk-icons-10.bdf", "icons");
        app->setFont("text");
        app->setIconFont("icons");
    }
    void TearDown() override
    {
        root.reset();
        delete app;
        UWidget::setPositioningMode(UWidget::Absolute);
        UTimerManager::instance()->setPaused(false);
    }
    // A full-screen window, destroyed before the application.
    UWidget* makeRoot()
    {
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        return root.get();
    }

    unsigned int drain() { return app->eventLoop()->processPendingEvents(); }
    // Targets of the events of `type` posted since the last forget().
    Targets posts(unsigned short type) const
    {
        Targets out;
        for (const auto& p : app->posted)
            if (p.first == type)
                out.push_back(p.second);
        return out;
    }
    Targets paints() const { return posts(UEvent::Paint); }
    void forget() { drain(); app->posted.clear(); }
    void paint(UWidget& w) { w.refresh(); drain(); }
    void advance(unsigned int ms) { UTimerManager::instance()->tick(ms); drain(); }
    // What `log` received once the queued events are processed.
    Log emitted(EmitLog& log) { drain(); return log.take(); }
    void fillInk(const URect& r)
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(r);
    }
    static UKeyEvent* makeKey(UAgent* target, unsigned short code, int state)
    {
        UKeyEvent* e = new UKeyEvent(target, UEvent::Key);
        e->m_key = code;
        e->m_state = state;
        return e;
    }
    // Hands a key event straight to a widget.
    static bool key(UWidget& w, unsigned short code, int state = KEY_RELEASED)
    {
        std::unique_ptr<UKeyEvent> e(makeKey(&w, code, state));
        return w.keyEvent(e.get());
    }

    MemoryScreen* screen = nullptr; // owned by the application
    RecordingApp* app = nullptr;
    UWindowManager* wm = nullptr;
    std::unique_ptr<UWidget> root;
};

// One golden picture: positioning mode and style flags of the widgets under
// test. Styled absolute and plain relative cover both modes and both paths.
struct GoldenCase {
    UWidget::PositioningMode mode;
    uint8_t flags;
    const char* name;
};

const GoldenCase goldenCases[] = {
    {UWidget::Absolute, UWidget::Background | UWidget::Border | UWidget::Inverted,
     "absolute_background_border_inverted"},
    {UWidget::Relative, 0, "relative_plain"}};
// The case's name, also in the ctest names.
inline void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.name; }

// A full-screen window holding a panel whose top-left corner is at screen
// (8, 4); the widgets under test go into the panel, placed at the same
// screen position in both positioning modes.
class SceneTest : public WidgetTest, public ::testing::WithParamInterface<GoldenCase> {
protected:
    void SetUp() override
    {
        WidgetTest::SetUp();
        UWidget::setPositioningMode(GetParam().mode);
        panel = new UWidget(makeRoot());
        panel->setRect(URect(8, 4, 183, 40));
    }
    // `w` styled with the case's flags at screen position (x, y), size
    // (width, h), in the current positioning mode.
    template <class W>
    W* place(W* w, int x, int y, int width, int h) const
    {
        const int rel = GetParam().mode == UWidget::Relative;
        w->setRect(URect(uint16_t(x - 8 * rel), uint16_t(y - 4 * rel), uint16_t(width), uint16_t(h)));
        style(w);
        return w;
    }
    void style(UWidget* w) const { enableFlags(w, GetParam().flags); }
    // Clears the screen, repaints the active window and compares the whole
    // screen with the golden picture of `widget` for this case.
    ::testing::AssertionResult matches(const char* widget)
    {
        drain();
        screen->clear();
        wm->repaint();
        drain();
        return textart::matchesGolden(screen->art(), std::string(widget) + "_" + GetParam().name);
    }

    UWidget* panel = nullptr;
};

#endif
