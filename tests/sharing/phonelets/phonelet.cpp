// The test phonelets that the process tests and the sharing benchmarks
// start: built with UTK_SHARING_DESKTOP, the ServerMode "DesktopPhonelet"
// with a status bar over the top 12 rows, enabled from the start (so a
// key reaching it would be printed: its client must drop them all);
// without, a ClientMode phonelet NAME whose window covers the screen below
// the bar: a title, three calls shown one at a time and, unless --no-edit,
// a digit field. Both windows show when the server gives the screen.
//
//   utk_sharing_desktop [--enabled] [--enable-on-show] [--key-counter SHM]
//   utk_sharing_lister NAME [TITLE] [same options] [--no-edit]
//
// Standard output, flushed per line: "show", "hide", "key <code> <state>"
// (unless keys are counted in the POSIX shared-memory word SHM), "list
// <row>", "edit <text>" after a key that changed the field, "ready" once
// the loop runs. Standard input, one command a line, run on the main
// thread: release, fullscreen, unfullscreen, port (answers "port <n>") and
// quit (also at the end of input).
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "uappclient.h"
#include "uapplication.h"
#include "ufontmanager.h"
#include "ukeyevent.h"
#include "ulabel.h"
#include "ulineedit.h"
#include "ulistevent.h"
#include "ulistwidget.h"
#include "uscreenzq4.h"
#include "ustandardlistitem.h"
#include "uwidget.h"

namespace {

void say(const char* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    std::vprintf(fmt, ap);
    va_end(ap);
    std::putchar('\n');
    std::fflush(stdout);
}

// One line of standard input, for the main thread.
class CommandEvent : public UEvent {
public:
    CommandEvent(UAgent* target, const std::string& line) : UEvent(target, 200), command(line) {}
    std::string command;
};

class ReportingApp : public UApplication {
public:
    ReportingApp(const UString& name, UApplication::UIMode mode, bool enabled, bool enableOnShow,
                 const char* counter)
        : UApplication(name, new UScreenZQ4(), mode), m_enableOnShow(enableOnShow)
    {
        const int fd = counter ? shm_open(counter, O_RDWR, 0) : -1;
        if (fd >= 0) {
            void* p = mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            m_counter = p == MAP_FAILED ? nullptr : static_cast<uint32_t*>(p);
            close(fd);
        }
        setEnabled(enabled);
        const std::string dir = std::string(UTK_BINARY_DIR) + "/fonts/";
        fontManager()->loadFont(UString(dir + "utk-text-12.bdf"), UString("text"));
        fontManager()->loadFont(UString(dir + "utk-icons-10.bdf"), UString("icons"));
        setFont(UString("text"));
        setIconFont(UString("icons"));
        UWidget::setPositioningMode(UWidget::Relative);
    }
    ~ReportingApp() override
    {
        // The client thread calls our postEvent(): end it before this part
        // of the object goes.
        if (appClient())
            appClient()->halt();
        if (m_counter)
            munmap(m_counter, sizeof(uint32_t));
    }

    void event(UEvent* e) override
    {
        const unsigned short type = e->getType();
        if (type == 200)
            return command(static_cast<CommandEvent*>(e)->command);
        const bool show = type == UEvent::AppShow;
        if (show && m_enableOnShow)
            setEnabled(true);
        UApplication::event(e);
        if (type == UEvent::AppHide && m_enableOnShow)
            setEnabled(false);
        if (show || type == UEvent::AppHide)
            say(show ? "show" : "hide");
    }

    bool keyEvent(UKeyEvent* e) override
    {
        if (m_counter)
            __atomic_fetch_add(m_counter, 1u, __ATOMIC_RELEASE);
        else
            say("key %u %d", static_cast<unsigned>(e->m_key), static_cast<int>(e->m_state));
        const bool used = UApplication::keyEvent(e);
        if (m_edit && !(m_edit->getText() == m_text)) {
            m_text = m_edit->getText();
            say("edit %s", m_text.toUTF8().c_str());
        }
        return used;
    }

    void command(const std::string& c)
    {
        if (c == "quit")
            stop();
        else if (c == "release" && appClient())
            appClient()->releaseScreen();
        else if (c == "fullscreen")
            requestFullScreen();
        else if (c == "unfullscreen")
            releaseFullScreen();
        else if (c == "port")
            say("port %u", appClient() ? unsigned(appClient()->localPort()) : 0u);
        else if (c == "ready")
            say("ready");
    }

    ULineEdit* m_edit = nullptr;

private:
    bool m_enableOnShow;
    uint32_t* m_counter = nullptr;
    UString m_text;
};

class Window : public UWidget {
public:
    Window() : UWidget(nullptr) {}
    ~Window() override
    {
        // Rows that stepping left behind are windows of their own.
        for (UListItem* r : rows)
            if (!r->getParent())
                delete r;
    }
    void event(UEvent* e) override
    {
        if (e->getType() == UEvent::ListCurrentChanged)
            say("list %u", static_cast<UListEvent*>(e)->index());
    }
    std::vector<UListItem*> rows;
};

} // namespace

int main(int argc, char** argv)
{
#ifdef UTK_SHARING_DESKTOP
    const int first = 1;
    bool enabled = true;
    const char* usage = "[OPTIONS]";
    const UString name = UApplication::DESKTOPPHONELET;
    const UApplication::UIMode mode = UApplication::ServerMode;
#else
    const bool titled = argc > 2 && std::strncmp(argv[2], "--", 2) != 0;
    const int first = titled ? 3 : 2;
    bool enabled = false;
    const char* usage = "NAME [TITLE] [OPTIONS]";
    const UString name(argc >= 2 ? argv[1] : "");
    const UApplication::UIMode mode = UApplication::ClientMode;
#endif
    bool usable = argc >= first, enableOnShow = false, edit = true;
    const char* counter = nullptr;
    for (int i = first; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--enabled"))
            enabled = true;
        else if (!std::strcmp(argv[i], "--enable-on-show"))
            enableOnShow = true;
        else if (!std::strcmp(argv[i], "--no-edit"))
            edit = false;
        else if (!std::strcmp(argv[i], "--key-counter") && i + 1 < argc)
            counter = argv[++i];
        else
            usable = false;
    }
    if (!usable) {
        std::fprintf(stderr, "usage: %s %s\n", argv[0], usage);
        return 2;
    }
    ReportingApp app(name, mode, enabled, enableOnShow, counter);
    std::unique_ptr<Window> window(new Window);
    ULabel* label = new ULabel(window.get(), ULabel::AlignLeft);
#ifdef UTK_SHARING_DESKTOP
    (void)edit;
    window->setRect(URect(0, 0, 199, 12));
    window->enableStyleFlag(UWidget::Inverted);
    window->enableStyleFlag(UWidget::Background);
    label->setRect(URect(0, 0, 199, 12));
    label->enableStyleFlag(UWidget::Inverted);
    label->setText(UString("Desktop"), false);
#else
    window->setRect(URect(0, 0, 199, 48));
    label->setRect(URect(0, 12, 199, 12));
    label->setText(UString(titled ? argv[2] : argv[1]), false);
    UListWidget* list = new UListWidget(window.get());
    list->setRect(URect(0, 24, 199, 12));
    list->setListener(window.get());
    for (const char* caller : {"Anna Berg", "Bert Cole", "Carl Dahl"}) {
        UStandardListItem* row = new UStandardListItem(UString(caller), 0xE106);
        window->rows.push_back(row);
        list->appendItem(row);
        if (list->count() > 1)
            row->setVisible(false); // one row at a time
    }
    if (edit) {
        // The field draws at its parent's origin: a box of its own.
        UWidget* box = new UWidget(window.get());
        box->setRect(URect(0, 36, 199, 12));
        app.m_edit = new ULineEdit(box);
        app.m_edit->setRect(URect(0, 0, 199, 12));
        app.m_edit->enableStyleFlag(UWidget::Background);
    }
#endif
    window->setVisible(false); // until the server gives it the screen

    app.postEvent(new CommandEvent(&app, "ready"));
    // Joined before the application goes: it ends after "quit" or at the
    // end of input.
    std::thread reader([&app] {
        std::string line;
        while (std::getline(std::cin, line) && line != "quit")
            app.postEvent(new CommandEvent(&app, line));
        app.postEvent(new CommandEvent(&app, "quit"));
    });
    app.run();
    reader.join();
    return 0;
}
