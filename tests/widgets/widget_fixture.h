// Shared fixture for the widget base, window manager and label tests: an
// application on an in-memory screen that records every event posted
// through it, and a probe widget that logs its paint and key calls.
#ifndef UTK_TESTS_WIDGET_FIXTURE_H
#define UTK_TESTS_WIDGET_FIXTURE_H

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "memoryscreen.h"
#include "uapplication.h"
#include "udrawer.h"
#include "ueventloop.h"
#include "ukeyevent.h"
#include "upaintevent.h"
#include "uwidget.h"
#include "uwindowmanager.h"

using Log = std::vector<std::string>;
using Targets = std::vector<UAgent*>;

class RecordingApp : public UApplication {
public:
    explicit RecordingApp(UScreenIfc* screen)
        : UApplication("WidgetTest", screen, UApplication::UIMode(0))
    {
    }
    struct Post {
        unsigned short type;
        UAgent* target;
    };
    void postEvent(UEvent* e) override
    {
        posted.push_back(Post{e->getType(), e->getTarget()});
        UApplication::postEvent(e);
    }
    std::vector<Post> posted;
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
    unsigned char seenPen = 0xAA;
    unsigned char seenBrush = 0xAA;
    UString seenFont;

private:
    std::string m_name;
    Log* m_log;
};

class WidgetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        UWidget::setPositioningMode(UWidget::Absolute);
        screen = new MemoryScreen;
        app = new RecordingApp(screen);
        wm = app->windowManager();
    }
    void TearDown() override
    {
        delete app;
        UWidget::setPositioningMode(UWidget::Absolute);
    }

    unsigned int drain() { return app->eventLoop()->processPendingEvents(); }
    // Targets of the paint events posted since the last forget().
    Targets paints() const
    {
        Targets out;
        for (const RecordingApp::Post& p : app->posted) {
            if (p.type == UEvent::Paint)
                out.push_back(p.target);
        }
        return out;
    }
    void forget()
    {
        drain();
        app->posted.clear();
    }
    void fillInk(const URect& r)
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(r);
    }

    MemoryScreen* screen = nullptr; // owned by the application
    RecordingApp* app = nullptr;
    UWindowManager* wm = nullptr;
};

#endif
