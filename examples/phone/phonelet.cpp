#include "phonelet.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "uappclient.h"
#include "ufontmanager.h"
#include "uevent.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "ulabel.h"
#include "ulistevent.h"
#include "ulistwidget.h"
#include "ustandardlistitem.h"
#include "uscreenzq4.h"
#include "uwidget.h"
#include "uwindowmanager.h"

namespace {

const unsigned short SERVER_PORT = 65529;
const unsigned char GIVE_SCREEN = 0x20;

// Our own event type: drop the window (see hideWindow).
const unsigned short DROP_WINDOW = 200;

std::atomic<bool> g_frontRequested(false);
std::atomic<int> g_frontValue(0);
std::atomic<bool> g_stopRequested(false);

extern "C" void onStopSignal(int)
{
    g_stopRequested.store(true);
}

extern "C" void onFrontSignal(int, siginfo_t* info, void*)
{
    g_frontValue.store(info->si_code == SI_QUEUE ? info->si_value.sival_int : 0);
    g_frontRequested.store(true);
}

std::string fontDir()
{
    const char* dir = std::getenv("UTK_FONT_DIR");
    if (dir && *dir)
        return std::string(dir) + "/";
    return std::string(UTK_BINARY_DIR) + "/fonts/";
}

sockaddr_in loopback(unsigned short port)
{
    sockaddr_in a = sockaddr_in();
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return a;
}

void sendThrough(int fd, unsigned char command, unsigned char a, unsigned char b)
{
    const unsigned char datagram[3] = {command, a, b};
    const sockaddr_in server = loopback(SERVER_PORT);
    if (sendto(fd, datagram, sizeof datagram, 0, reinterpret_cast<const sockaddr*>(&server),
               sizeof server)
        != 3)
        std::perror("phonelet: sendto");
}

} // namespace

Phonelet::Phonelet(const UString& name, UApplication::UIMode mode)
    : UApplication(name, new UScreenZQ4(), mode), m_poll(this, 50)
{
    // Nothing else here: the screen client's thread already posts through
    // this object's virtual postEvent, so the constructors of the derived
    // classes should end as soon as they can. The rest is run()'s.
}

void Phonelet::run()
{
    const std::string fonts = fontDir();
    fontManager()->loadFont(UString(fonts + "utk-text-12.bdf"), UString("text"));
    fontManager()->loadFont(UString(fonts + "utk-icons-10.bdf"), UString("icons"));
    setFont(UString("text"));
    setIconFont(UString("icons"));
    UWidget::setPositioningMode(UWidget::Relative);

    struct sigaction sa = {};
    sa.sa_sigaction = onFrontSignal;
    sa.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGUSR1, &sa, nullptr);
    // SIGTERM and SIGINT end the event loop, so that the phonelet returns
    // from main and tears everything down like on the phone.
    struct sigaction stop = {};
    stop.sa_handler = onStopSignal;
    sigemptyset(&stop.sa_mask);
    sigaction(SIGTERM, &stop, nullptr);
    sigaction(SIGINT, &stop, nullptr);
    // The timer thread posts through the virtual postEvent too: only now
    // that the whole object is built.
    m_poll.start();
    setEnabled(true);
    UApplication::run();
}

Phonelet::~Phonelet()
{
    m_poll.stop();
    dropWindow();
}

void Phonelet::hideWindow()
{
    // Usually called from the window's own key handling: the window goes
    // once that has returned.
    postEvent(new UEvent(this, DROP_WINDOW));
}

void Phonelet::dropWindow()
{
    if (!m_window)
        return;
    windowGone();
    // Rows that stepping left as windows of their own go first (which also
    // takes them out of their lists); the others go with the window.
    std::vector<UWidget*> rows;
    rows.swap(m_rows);
    for (UWidget* row : rows)
        if (!row->getParent())
            delete row;
    UWidget* window = m_window;
    m_window = nullptr;
    delete window;
}

void Phonelet::adoptStray(UWidget* row)
{
    m_rows.push_back(row);
}

void Phonelet::rebuild()
{
    if (!m_window)
        return;
    dropWindow();
    m_window = buildWindow();
    m_window->show();
}

void Phonelet::event(UEvent* e)
{
    switch (e->getType()) {
    case 8: // SHOW: the screen is ours
        if (!m_window) {
            m_window = buildWindow();
            m_window->show();
        } else {
            m_window->refresh();
        }
        shown();
        break;
    case 7: // HIDE: draw nothing more; the new owner paints the screen
    case DROP_WINDOW:
        dropWindow();
        m_keysDown.clear();
        break;
    case 5:
    case 6:
        if (UListEvent* le = dynamic_cast<UListEvent*>(e))
            listEvent(e->getType(), le->index());
        break;
    default:
        UApplication::event(e);
        break;
    }
}

bool Phonelet::keyEvent(UKeyEvent* e)
{
    // A key belongs to whoever is on screen when it goes down. The server
    // sends every key to each phonelet in turn, so the phonelet on screen
    // may hand the screen over on a release before the next phonelet has
    // even received that release: the new owner must not act on it.
    const auto down = std::find(m_keysDown.begin(), m_keysDown.end(), e->m_key);
    const bool ours = down != m_keysDown.end();
    if (e->m_state == KEY_PRESSED && m_window && !ours)
        m_keysDown.push_back(e->m_key);
    else if (e->m_state == KEY_RELEASED && ours)
        m_keysDown.erase(down);
    if (!m_window) {
        if (e->m_state == KEY_RELEASED && ours)
            return true;
        return hiddenKey(e);
    }
    if (e->m_state != KEY_PRESSED && !ours)
        return true;
    return UApplication::keyEvent(e);
}

void Phonelet::timerEvent(UTimerEvent*)
{
    if (g_stopRequested.load()) {
        m_poll.stop();
        stop();
        return;
    }
    if (g_frontRequested.exchange(false))
        frontRequested(g_frontValue.load());
}

void Phonelet::requestScreen()
{
    if (appClient())
        appClient()->requestScreen();
}

void Phonelet::releaseScreen()
{
    if (appClient())
        appClient()->releaseScreen();
}

void Phonelet::backOnLeft(PhoneWindow* window)
{
    window->onKey = [this](UKeyEvent* e) {
        if (e->m_key == KEY_LEFT && e->m_state == KEY_RELEASED) {
            releaseScreen();
            return true;
        }
        return false;
    };
}

void Phonelet::giveScreen(const std::string& name)
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) {
        std::perror("phonelet: socket");
        return;
    }
    const unsigned char a = name.size() > 0 ? static_cast<unsigned char>(name[0]) : 0;
    const unsigned char b = name.size() > 1 ? static_cast<unsigned char>(name[1]) : 0;
    sendThrough(fd, GIVE_SCREEN, a, b);
    close(fd);
}

bool Phonelet::sendToFront(const std::string& program, int value)
{
    DIR* dir = opendir("/proc");
    if (!dir)
        return false;
    const pid_t parent = getppid();
    bool sent = false;
    while (dirent* entry = readdir(dir)) {
        char* end = nullptr;
        const long pid = std::strtol(entry->d_name, &end, 10);
        if (*end || pid <= 0 || pid == getpid())
            continue;
        std::ifstream statFile("/proc/" + std::string(entry->d_name) + "/stat");
        std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
        // pid (comm) state ppid ...: comm may hold spaces, so split at the
        // last parenthesis.
        const size_t open = stat.find('('), close = stat.rfind(')');
        if (open == std::string::npos || close == std::string::npos || close < open)
            continue;
        const std::string comm = stat.substr(open + 1, close - open - 1);
        std::istringstream rest(stat.substr(close + 1));
        std::string state;
        long ppid = 0;
        rest >> state >> ppid;
        if (comm == program.substr(0, 15) && ppid == parent) {
            union sigval v;
            v.sival_int = value;
            sent = sigqueue(pid_t(pid), SIGUSR1, v) == 0;
            break;
        }
    }
    closedir(dir);
    return sent;
}

PhoneWindow::PhoneWindow(const char* title) : UWidget(nullptr)
{
    setRect(URect(0, 0, 199, 48));
    enableStyleFlag(UWidget::Background);
    ULabel* label = new ULabel(this, ULabel::AlignLeft);
    label->setRect(URect(0, 0, 148, 12)); // the desktop's clock is right of it
    label->setText(UString(title), false);
    UWidget* rule = new UWidget(this);
    rule->setRect(URect(0, 12, 199, 1));
    rule->enableStyleFlag(UWidget::Border);
}

bool PhoneWindow::keyEvent(UKeyEvent* e)
{
    if (onKey && onKey(e))
        return true;
    return UWidget::keyEvent(e);
}

UListWidget* addList(Phonelet* owner, UWidget* window, const std::vector<std::string>& rows,
                     const std::vector<unsigned short>& icons, unsigned current)
{
    UListWidget* list = new UListWidget(window);
    list->setRect(URect(0, 15, 199, 18));
    list->setPaintArrowState(true);
    for (size_t i = 0; i < rows.size(); ++i) {
        UStandardListItem* row =
            new UStandardListItem(UString(rows[i]), i < icons.size() ? icons[i] : 0);
        list->appendItem(row);
        owner->adoptStray(row);
        if (list->count() > 1)
            row->setVisible(false); // one row at a time
    }
    for (unsigned i = 0; i < current && i + 1 < rows.size(); ++i)
        list->selectNext();
    list->setListener(owner);
    return list;
}

void addSoftKeys(UWidget* window, const char* left, const char* middle, const char* right)
{
    UWidget* rule = new UWidget(window);
    rule->setRect(URect(0, 35, 199, 1));
    rule->enableStyleFlag(UWidget::Border);
    const struct {
        const char* text;
        unsigned short x;
        ULabel::TextAlignment alignment;
    } keys[] = {{left, 0, ULabel::AlignLeft},
                {middle, 66, ULabel::AlignCenter},
                {right, 132, ULabel::AlignRight}};
    for (const auto& k : keys) {
        if (!k.text)
            continue;
        ULabel* label = new ULabel(window, k.alignment);
        label->setRect(URect(k.x, 36, 67, 12));
        label->setText(UString(k.text), false);
    }
}

ULabel* addLine(UWidget* window, unsigned short y, const std::string& text, int alignment)
{
    ULabel* label = new ULabel(window, ULabel::TextAlignment(alignment));
    label->setRect(URect(0, y, 199, 12));
    label->setText(UString(text), false);
    return label;
}
