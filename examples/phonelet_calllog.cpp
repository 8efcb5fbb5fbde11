// A first phonelet: the call log. A title bar with the date and a ticking
// clock, a list of calls (an icon and a text per row, arrows at the right
// edge) and a digit entry field at the bottom. A script presses keys the
// way the screen-sharing client delivers them, a press and a release posted
// to the application: down, down, up, select (which copies the selected
// call's number into the entry field), then 5, 5, left.
//
// It runs on the simulated LCD (the phone's "ST7529 FB" controller, 199 x 48
// at one bit per pixel, in the shared-memory file "/utk-calllog") and
// prints every repaint in the terminal; each repaint that changed the
// screen is also written as a PNG, four times magnified.
//
//   phonelet_calllog [--ascii] [--out DIR] [--keep]
//
// --ascii   print repaints as '#' (dark) and '.' (light), one line a row,
//           instead of two rows a line in block characters
// --out     directory for the PNG snapshots (default calllog-snapshots)
// --keep    leave the simulated display in place for
//           `utk-snap --shm /utk-calllog`
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "simframebuffer.h"
#include "snapshot.h"
#include "syshardwareversion.h"
#include "uapplication.h"
#include "udatetime.h"
#include "udatetimelabel.h"
#include "udrawer.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulabel.h"
#include "ulineedit.h"
#include "ulistevent.h"
#include "ulistwidget.h"
#include "uscreenzq4.h"
#include "ustandardlistitem.h"
#include "utimer.h"
#include "utimerevent.h"
#include "uwidget.h"

namespace {

const unsigned short ICON_CALL_MISSED = 0xE105;
const unsigned short ICON_CALL_INCOMING = 0xE106;
const unsigned short ICON_CALL_OUTGOING = 0xE107;

struct Options {
    bool ascii = false;
    bool keep = false;
    std::string out = "calllog-snapshots";
};
Options g_options;

// Prints the screen after every flush, and writes a PNG when it changed.
class Viewer {
public:
    void show(UScreenIfc& screen)
    {
        ++m_repaints;
        const unsigned char* buf = screen.buffer();
        if (!buf)
            return;
        const size_t size = static_cast<size_t>(screen.stride()) * screen.height();
        std::vector<unsigned char> now(buf, buf + size);
        if (now == m_last) {
            std::printf("repaint %d: unchanged\n", m_repaints);
            return;
        }
        m_last = now;
        ++m_frames;
        std::printf("repaint %d:\n%s", m_repaints, art(screen).c_str());
        char name[64];
        std::snprintf(name, sizeof name, "/calllog-%02d.png", m_frames);
        const snapshot::Picture picture =
            snapshot::fromOneBit(buf, screen.stride(), screen.width(), screen.height());
        if (snapshot::writePng(picture, g_options.out + name, 4))
            m_written.push_back(g_options.out + name);
        std::fflush(stdout);
    }
    const std::vector<std::string>& written() const { return m_written; }

private:
    static std::string art(UScreenIfc& s)
    {
        if (g_options.ascii)
            return snapshot::textArt(s.buffer(), s.stride(), s.width(), s.height());
        // Two rows a line: upper half, lower half, both or none.
        std::string out = "+" + std::string(s.width(), '-') + "+\n";
        for (unsigned short y = 0; y < s.height(); y += 2) {
            out += '|';
            for (unsigned short x = 0; x < s.width(); ++x) {
                const bool top = s.pixel(x, y) == 0;
                const bool bottom = y + 1 < s.height() && s.pixel(x, y + 1) == 0;
                out += top && bottom ? "\u2588" : top ? "\u2580" : bottom ? "\u2584" : " ";
            }
            out += "|\n";
        }
        return out + "+" + std::string(s.width(), '-') + "+\n";
    }

    int m_repaints = 0;
    int m_frames = 0;
    std::vector<unsigned char> m_last;
    std::vector<std::string> m_written;
};
Viewer g_viewer;

// The LCD, shown in the terminal at every flush.
class ShownLcd : public UScreenZQ4 {
public:
    void flush() override
    {
        UScreenZQ4::flush();
        g_viewer.show(*this);
    }
};

// Stand-in when the simulated LCD is not available: the same one-bit
// buffer in memory.
class ShownMemoryLcd : public UScreenIfc {
public:
    unsigned short width() const override { return 199; }
    unsigned short height() const override { return 48; }
    unsigned short stride() const override { return 25; }
    unsigned char* buffer() override { return m_buffer; }
    unsigned char* scanLine(unsigned short y) override { return m_buffer + y * 25; }
    unsigned char pixel(unsigned short x, unsigned short y) const override
    {
        if (x >= 199 || y >= 48)
            return 255;
        return (m_buffer[y * 25 + x / 8] & (0x80 >> (x % 8))) ? 1 : 0;
    }
    void setPixel(unsigned short x, unsigned short y, unsigned char v) override
    {
        if (x >= 199 || y >= 48)
            return;
        unsigned char& b = m_buffer[y * 25 + x / 8];
        b = v ? (b | (0x80 >> (x % 8))) : (b & ~(0x80 >> (x % 8)));
    }
    bool fill(unsigned short x, unsigned short y, unsigned char v, int count) override
    {
        for (int i = 0; i < count && y * 25 + x / 8 + i < int(sizeof m_buffer); ++i)
            m_buffer[y * 25 + x / 8 + i] = v;
        return true;
    }
    void flush() override { g_viewer.show(*this); }

private:
    unsigned char m_buffer[25 * 48] = {};
};

// A call: a row that also knows the number to call back.
class CallRow : public UStandardListItem {
public:
    CallRow(const char* text, unsigned short icon, const char* number)
        : UStandardListItem(UString(text), icon), m_number(number)
    {
    }
    UString number() const { return m_number; }

private:
    UString m_number;
};

// The phonelet's screen and its reactions to the list and the entry field.
class CallLog : public UWidget {
public:
    CallLog() : UWidget(nullptr)
    {
        setRect(URect(0, 0, 199, 48));

        title = new ULabel(this, ULabel::AlignLeft);
        title->setRect(URect(0, 0, 56, 12));
        title->setText(UString("Call log"), false);

        const UDateTime now = UDateTime::now();
        date = new UDateTimeLabel(this);
        date->setRect(URect(64, 0, 84, 12));
        date->setDate(now.day(), now.month(), now.year());
        date->update();
        clock = new UDateTimeLabel(this);
        clock->setRect(URect(152, 0, 47, 12));
        clock->setMode(UDateTimeLabel::ShowTime);
        clock->setTime(now.hour(), now.minute(), now.second());
        clock->update();

        UWidget* rule = new UWidget(this);
        rule->setRect(URect(0, 12, 199, 1));
        rule->enableStyleFlag(UWidget::Border);

        list = new UListWidget(this);
        list->setRect(URect(0, 14, 199, 20));
        list->setListener(this);
        const struct {
            const char* text;
            unsigned short icon;
            const char* number;
        } calls[] = {
            {"Anna Berg       09:12", ICON_CALL_INCOMING, "0301234"},
            {"0301 998877     08:47", ICON_CALL_MISSED, "0301998877"},
            {"Carl Dahl       Mon", ICON_CALL_OUTGOING, "5550123"},
            {"Dora Ek         Sun", ICON_CALL_INCOMING, "4471"},
        };
        for (const auto& c : calls) {
            CallRow* row = new CallRow(c.text, c.icon, c.number);
            rows.push_back(row);
            list->appendItem(row);
            if (list->count() > 1)
                row->setVisible(false); // one row at a time
        }

        UWidget* rule2 = new UWidget(this);
        rule2->setRect(URect(0, 34, 199, 1));
        rule2->enableStyleFlag(UWidget::Border);

        UWidget* bar = new UWidget(this);
        bar->setRect(URect(0, 35, 199, 13));
        ULabel* prompt = new ULabel(bar, ULabel::AlignLeft);
        prompt->setRect(URect(0, 0, 30, 13));
        prompt->setText(UString("Dial:"), false);
        // The field draws its text at its parent's origin: give it a
        // parent of its own where the text belongs.
        UWidget* box = new UWidget(bar);
        box->setRect(URect(32, 0, 167, 13));
        entry = new ULineEdit(box);
        entry->setRect(URect(0, 0, 167, 13));
        entry->enableStyleFlag(UWidget::Background);
        entry->setListener(this);
    }

    ~CallLog() override
    {
        // Rows that stepping left behind are windows: ours to destroy.
        std::vector<CallRow*> stray;
        for (CallRow* r : rows)
            if (!r->getParent())
                stray.push_back(r);
        for (CallRow* r : stray)
            delete r;
    }

    void event(UEvent* e) override
    {
        if (UListEvent* le = dynamic_cast<UListEvent*>(e)) {
            CallRow* row = nullptr;
            for (CallRow* r : rows)
                if (r == le->item())
                    row = r;
            if (e->getType() == UEvent::ListCurrentChanged) {
                std::printf("list: call %u of %u is current\n", le->index() + 1, list->count());
            } else if (e->getType() == UEvent::ListSelected && row) {
                std::printf("list: selected, number %s goes to the entry field\n",
                            row->number().toUTF8().c_str());
                entry->setText(row->number());
                entry->refresh();
            }
        } else if (e->getType() == UEvent::LineEditDelete) {
            std::printf("entry: delete on an empty field\n");
        }
    }

    ULabel* title;
    UDateTimeLabel* date;
    UDateTimeLabel* clock;
    UListWidget* list;
    ULineEdit* entry;
    std::vector<CallRow*> rows;
};

// Presses and releases one key every 700 ms, then stops the application.
class Script : public UAgent {
public:
    Script() : m_timer(this, 700) { m_timer.start(); }

    void timerEvent(UTimerEvent*) override
    {
        static const struct {
            unsigned short key;
            const char* name;
        } steps[] = {{KEY_DOWN, "down"}, {KEY_DOWN, "down"}, {KEY_UP, "up"},
                     {KEY_SELECT, "select"}, {KEY_5, "5"},   {KEY_5, "5"},
                     {KEY_LEFT, "left"}};
        const size_t count = sizeof steps / sizeof steps[0];
        if (m_step == count) {
            m_timer.stop();
            UApplication::instance()->stop();
            return;
        }
        std::printf("key: %s\n", steps[m_step].name);
        post(steps[m_step].key, KEY_PRESSED);
        post(steps[m_step].key, KEY_RELEASED);
        ++m_step;
    }

private:
    static void post(unsigned short key, int state)
    {
        UApplication* app = UApplication::instance();
        UKeyEvent* e = new UKeyEvent(app, UEvent::Key);
        e->m_key = key;
        e->m_state = state;
        app->postEvent(e);
    }

    UTimer m_timer;
    size_t m_step = 0;
};

UScreenIfc* makeScreen()
{
    SysHardwareVersion::setModel(SysHardwareVersion::MODEL_TR480);
    SimFramebuffer::setShmName("/utk-calllog");
    if (SimFramebuffer::configure("ST7529 FB", 199, 48, 1)) {
        ShownLcd* lcd = new ShownLcd();
        if (lcd->buffer() && lcd->width() == 199)
            return lcd;
        delete lcd;
    }
    std::printf("simulated LCD not available: drawing in memory\n");
    return new ShownMemoryLcd();
}

} // namespace

int main(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--ascii")
            g_options.ascii = true;
        else if (arg == "--keep")
            g_options.keep = true;
        else if (arg == "--out" && i + 1 < argc)
            g_options.out = argv[++i];
        else {
            std::fprintf(stderr, "usage: %s [--ascii] [--out DIR] [--keep]\n", argv[0]);
            return 2;
        }
    }
    mkdir(g_options.out.c_str(), 0755);

    {
        UApplication app(UApplication::CALLLOGPHONELET, makeScreen(), UApplication::UIMode(0));
        const std::string fonts = std::string(UTK_BINARY_DIR) + "/fonts/";
        app.fontManager()->loadFont(UString(fonts + "utk-text-12.bdf"), UString("text"));
        app.fontManager()->loadFont(UString(fonts + "utk-icons-10.bdf"), UString("icons"));
        app.setFont(UString("text"));
        app.setIconFont(UString("icons"));
        UWidget::setPositioningMode(UWidget::Relative);

        {
            // A fresh LCD holds no picture yet.
            UDrawer d;
            d.fillRect(0, 0, 198, 47);
        }
        std::unique_ptr<CallLog> calls(new CallLog());
        calls->show(); // the active window, painted once
        Script script;
        app.run();
    }
    std::printf("PNG snapshots:\n");
    for (const std::string& path : g_viewer.written())
        std::printf("  %s\n", path.c_str());
    if (!g_options.keep)
        SimFramebuffer::remove();
    return 0;
}
