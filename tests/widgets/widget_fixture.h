// Shared fixture for the widget base, window manager and label tests: an
// application on an in-memory screen that records every event posted
// through it, and a probe widget that logs what it is asked to do.
#ifndef UTK_TESTS_WIDGET_FIXTURE_H
#define UTK_TESTS_WIDGET_FIXTURE_H

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "memoryscreen.h"
#include "uapplication.h"
#include "udrawer.h"
#include "uevent.h"
#include "ueventloop.h"
#include "ukeyevent.h"
#include "upaintevent.h"
#include "uwidget.h"
#include "uwindowmanager.h"

// Records the type and target of every event posted, then posts it.
class RecordingApp : public UApplication {
public:
    struct Post {
        unsigned short type;
        UAgent* target;
    };
    RecordingApp(UScreenIfc* screen, UApplication::UIMode mode = UApplication::UIMode(0))
        : UApplication("WidgetTest", screen, mode)
    {
    }
    void postEvent(UEvent* e) override
    {
        posted.push_back(Post{e->getType(), e->getTarget()});
        UApplication::postEvent(e);
    }
    std::vector<Post> posted;
};

// A widget that logs its paint calls (with the drawer state it was handed)
// and its key events into a shared log.
class ProbeWidget : public UWidget {
public:
    ProbeWidget(UWidget* parent, std::string name, std::vector<std::string>* log)
        : UWidget(parent), m_name(std::move(name)), m_log(log)
    {
    }
    void paintEvent(UPaintEvent*, UDrawer& d) override
    {
        if (m_log)
            m_log->push_back(m_name + ":paint");
        seenPen = d.pen();
        seenBrush = d.brush();
        seenTranslation = d.translation();
        seenFont = d.font();
        ++paints;
        if (inkPixel)
            d.drawPixel(getRect().getLeft(), getRect().getTop());
    }
    void postPaintEvent(UPaintEvent*, UDrawer&) override
    {
        if (m_log)
            m_log->push_back(m_name + ":post");
    }
    bool keyEvent(UKeyEvent* e) override
    {
        if (m_log)
            m_log->push_back(m_name + ":key" + std::to_string(e->m_key));
        if (onKey)
            onKey();
        if (consumeKeys)
            return true;
        return UWidget::keyEvent(e);
    }

    std::function<void()> onKey;
    bool consumeKeys = false;
    bool inkPixel = false;
    int paints = 0;
    unsigned char seenPen = 0xAA;
    unsigned char seenBrush = 0xAA;
    UPoint seenTranslation;
    UString seenFont;

private:
    std::string m_name;
    std::vector<std::string>* m_log;
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

    // Processes every queued event, and those they post.
    unsigned int drain() { return app->eventLoop()->processPendingEvents(); }

    // Targets of the paint events posted since the last forget().
    std::vector<UAgent*> paints() const
    {
        std::vector<UAgent*> out;
        for (const RecordingApp::Post& p : app->posted) {
            if (p.type == UEvent::Paint)
                out.push_back(p.target);
        }
        return out;
    }
    // Drops the record of what was posted, and the events themselves.
    void forget()
    {
        drain();
        app->posted.clear();
    }

    MemoryScreen* screen = nullptr; // owned by the application
    RecordingApp* app = nullptr;
    UWindowManager* wm = nullptr;
};

#endif
