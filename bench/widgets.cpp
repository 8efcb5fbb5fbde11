// Widget costs on an in-memory LCD, against raw drawer primitives measured
// in the same run:
//
//   BM_ListKeyPress        one key press on a call-log list, the way the
//                          screen-sharing client delivers it: a press and a
//                          release posted to the application, routed to the
//                          list, the row stepped, the three paint events
//                          that follow processed (each a traversal of its
//                          tree and a flush)
//   BM_FullScreenRepaint   the window manager's repaint() of a full screen
//                          of widgets (title, date and clock labels, rules,
//                          a list with its row and arrows, a prompt and a
//                          digit field), processed and flushed
//   BM_RawScreenEquivalent the same picture drawn straight with one drawer
//   BM_RawFillRect         one full-screen fillRect
//   BM_RawTextLine         one 20-character line of text
//
// The report ends with the medians and the ratios against the references:
// the repaint against its raw equivalent is the widget layer's overhead.
// Everything runs on the calling thread, so the ratios use CPU time, which
// other load on the machine disturbs less than wall time.
// The timer manager is paused so that the field's and the clocks' timers
// post nothing while the benchmarks run.
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "medianreporter.h"
#include "memoryscreen.h"
#include "uapplication.h"
#include "udatetimelabel.h"
#include "udrawer.h"
#include "ueventloop.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulabel.h"
#include "ulineedit.h"
#include "ulistwidget.h"
#include "ustandardlistitem.h"
#include "utimermanager.h"
#include "uwidget.h"
#include "uwindowmanager.h"

namespace {

const char* const LINE = "Missed call: 0123456"; // 20 characters

// The call log screen of the examples, in Relative positioning mode.
struct Screenful {
    explicit Screenful()
    {
        root.reset(new UWidget(nullptr));
        root->setRect(URect(0, 0, 199, 48));
        ULabel* title = new ULabel(root.get(), ULabel::AlignLeft);
        title->setRect(URect(0, 0, 56, 12));
        title->setText("Call log", false);
        date = new UDateTimeLabel(root.get());
        date->setRect(URect(64, 0, 84, 12));
        date->setDate(29, 2, 2024);
        date->update();
        clock = new UDateTimeLabel(root.get());
        clock->setRect(URect(152, 0, 47, 12));
        clock->setMode(UDateTimeLabel::ShowTime);
        clock->setTime(9, 4, 59);
        clock->update();
        UWidget* rule = new UWidget(root.get());
        rule->setRect(URect(0, 12, 199, 1));
        rule->enableStyleFlag(UWidget::Border);
        list = new UListWidget(root.get());
        list->setRect(URect(0, 14, 199, 20));
        const char* const texts[] = {"Anna Berg       09:12", "0301 998877     08:47"};
        const unsigned short icons[] = {0xE106, 0xE105};
        for (int i = 0; i < 2; ++i) {
            rows[i] = new UStandardListItem(texts[i], icons[i]);
            list->appendItem(rows[i]);
        }
        rows[1]->setVisible(false);
        UWidget* rule2 = new UWidget(root.get());
        rule2->setRect(URect(0, 34, 199, 1));
        rule2->enableStyleFlag(UWidget::Border);
        UWidget* bar = new UWidget(root.get());
        bar->setRect(URect(0, 35, 199, 13));
        ULabel* prompt = new ULabel(bar, ULabel::AlignLeft);
        prompt->setRect(URect(0, 0, 30, 13));
        prompt->setText("Dial:", false);
        UWidget* box = new UWidget(bar);
        box->setRect(URect(32, 0, 167, 13));
        ULineEdit* entry = new ULineEdit(box);
        entry->setRect(URect(0, 0, 167, 13));
        entry->enableStyleFlag(UWidget::Background);
        entry->setText("0301234");
        entry->timerEvent(nullptr); // cursor shown
    }
    ~Screenful()
    {
        root.reset();
        // The row that stepping left as a window, if any.
        for (UStandardListItem* r : rows)
            if (!r->getParent())
                delete r;
    }

    std::unique_ptr<UWidget> root;
    UDateTimeLabel* date;
    UDateTimeLabel* clock;
    UListWidget* list;
    UStandardListItem* rows[2];
};

// One application for the whole program.
struct Fixture {
    Fixture()
    {
        UTimerManager::instance()->setPaused(true);
        screen = new MemoryScreen();
        app = new UApplication("WidgetBench", screen, UApplication::UIMode(0));
        const std::string fonts = std::string(UTK_SOURCE_DIR) + "/fonts/";
        app->fontManager()->loadFont(fonts + "utk-text-12.bdf", "text");
        app->fontManager()->loadFont(fonts + "utk-icons-10.bdf", "icons");
        app->setFont("text");
        app->setIconFont("icons");
        UWidget::setPositioningMode(UWidget::Relative);
        std::printf("UDateTimeLabel lines below come from building the screen once.\n");
        widgets.reset(new Screenful());
        app->windowManager()->repaint();
        app->eventLoop()->processPendingEvents();
    }
    ~Fixture()
    {
        widgets.reset();
        delete app;
    }
    MemoryScreen* screen;
    UApplication* app;
    std::unique_ptr<Screenful> widgets;
};

Fixture& fixture()
{
    static Fixture f;
    return f;
}

void postKey(UApplication* app, unsigned short key, int state)
{
    UKeyEvent* e = new UKeyEvent(app, UEvent::Key);
    e->m_key = key;
    e->m_state = state;
    app->postEvent(e);
}

void BM_ListKeyPress(benchmark::State& state)
{
    Fixture& f = fixture();
    UListWidget* list = f.widgets->list;
    for (auto _ : state) {
        // Two rows: down from the first, up from the second.
        const unsigned short key = list->currentIndex() == 0 ? KEY_DOWN : KEY_UP;
        postKey(f.app, key, KEY_PRESSED);
        postKey(f.app, key, KEY_RELEASED);
        f.app->eventLoop()->processPendingEvents();
    }
    if (f.screen->inkCount() == 0)
        state.SkipWithError("nothing was drawn");
}

void BM_FullScreenRepaint(benchmark::State& state)
{
    Fixture& f = fixture();
    for (auto _ : state) {
        f.app->windowManager()->repaint();
        f.app->eventLoop()->processPendingEvents();
    }
}

void BM_RawScreenEquivalent(benchmark::State& state)
{
    fixture();
    const UString title("Call log"), date("THU 29.02.24"), clock("09:05  ");
    const UString row("0301 998877     08:47"), prompt("Dial:"), digits("0301234");
    const UString text("text");
    for (auto _ : state) {
        UDrawer d;
        d.setFont(text);
        d.fillRect(0, 0, 55, 11);
        d.drawText(title, 1, 1, false);
        d.fillRect(64, 0, 147, 11);
        d.drawText(date, 65, 1, false);
        d.fillRect(152, 0, 198, 11);
        d.drawText(clock, 153, 1, false);
        d.drawRect(0, 12, 198, 12);
        d.fillRect(193, 14, 198, 33);
        for (unsigned short y = 0; y < 3; ++y)
            for (unsigned short x = 0; x <= 2 * y; ++x) {
                d.drawPixel(195 - y + x, 17 + y);
                d.drawPixel(195 - y + x, 31 - y);
            }
        d.drawIcon(0xE105, 2, 16);
        d.drawText(row, UDrawer::iconWidth(0xE105) + 2, 16, false);
        d.drawRect(0, 34, 198, 34);
        d.fillRect(0, 35, 29, 47);
        d.drawText(prompt, 1, 36, false);
        d.fillRect(32, 35, 198, 47);
        d.drawText(digits, 32, 37, false);
        const unsigned short w = UDrawer::textWidth(digits, text);
        d.drawLine(32 + w, 37, 32 + w, 45);
        d.sync();
    }
}

void BM_RawFillRect(benchmark::State& state)
{
    fixture();
    UDrawer d;
    for (auto _ : state)
        d.fillRect(0, 0, 198, 47);
}

void BM_RawTextLine(benchmark::State& state)
{
    fixture();
    UDrawer d;
    d.setFont("text");
    const UString line(LINE);
    for (auto _ : state)
        d.drawText(line, 0, 0, false);
}

const int REPETITIONS = 9;

BENCHMARK(BM_ListKeyPress)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_FullScreenRepaint)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_RawScreenEquivalent)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_RawFillRect)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);
BENCHMARK(BM_RawTextLine)->Repetitions(REPETITIONS)->ReportAggregatesOnly(true);

} // namespace

int main(int argc, char** argv)
{
    const int rc = runBenchmarksWithRatios(argc, argv, {
        {"BM_FullScreenRepaint", "BM_RawScreenEquivalent"},
        {"BM_FullScreenRepaint", "BM_RawFillRect"},
        {"BM_FullScreenRepaint", "BM_RawTextLine"},
        {"BM_ListKeyPress", "BM_FullScreenRepaint"},
        {"BM_ListKeyPress", "BM_RawFillRect"},
        {"BM_ListKeyPress", "BM_RawTextLine"}});
    fixture().widgets.reset(); // before the application goes
    return rc;
}
