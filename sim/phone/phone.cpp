#include "phone.h"

#include <fcntl.h>
#include <limits.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "keymap.h"
#include "simframebuffer.h"
#include "snapshot.h"
#include "views.h"

namespace {

const char* const KEY_PIPE = "/tmp/kiv_keyboard";
const int32_t SEGMENT_KEY = 200555;
const unsigned short SERVER_PORT = 65529;
const char* const LCD_FILE = "/utk-phone";

std::atomic<int> g_signal(0);

extern "C" void onSignal(int sig)
{
    g_signal.store(sig);
}

int64_t nowMs()
{
    timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return int64_t(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

struct Options {
    bool window = false;
    bool headless = false;
    int scale = 6;
    std::string snapDir;
    std::string script;
    std::string log;
    std::string readBack;
    std::string lcd = "st7525fb";
    uint32_t width = 199, height = 48, depth = 1;
    bool sizeGiven = false, depthGiven = false;
    int model = 62;
    bool bundled = true;
    std::vector<std::string> extra;
};

const char* const USAGE =
    "usage: utk-phone [--window [--scale N]] [--headless] [--snap DIR] [--script FILE]\n"
    "                 [--log FILE] [--lcd ID] [--size WxH] [--depth BPP] [--model N]\n"
    "                 [--phonelet PROGRAM]... [--no-examples]\n";

bool parseOptions(int argc, char** argv, Options& o)
{
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc)
                return false;
            out = argv[++i];
            return true;
        };
        std::string v;
        if (a == "--window")
            o.window = true;
        else if (a == "--headless")
            o.headless = true;
        else if (a == "--scale" && value(v))
            o.scale = std::atoi(v.c_str());
        else if (a == "--snap" && value(v))
            o.snapDir = v;
        else if (a == "--script" && value(v))
            o.script = v;
        else if (a == "--log" && value(v))
            o.log = v;
        else if (a == "--read-back" && value(v))
            o.readBack = v;
        else if (a == "--lcd" && value(v))
            o.lcd = v;
        else if (a == "--size" && value(v)) {
            if (std::sscanf(v.c_str(), "%ux%u", &o.width, &o.height) != 2)
                return false;
            o.sizeGiven = true;
        } else if (a == "--depth" && value(v)) {
            o.depth = uint32_t(std::atoi(v.c_str()));
            o.depthGiven = true;
        } else if (a == "--model" && value(v))
            o.model = std::atoi(v.c_str());
        else if (a == "--phonelet" && value(v))
            o.extra.push_back(v);
        else if (a == "--no-examples")
            o.bundled = false;
        else
            return false;
    }
    if (o.scale < 1 || o.scale > 16)
        return false;
    // An emulated LCD is a colour display the one-bit screen is drawn on.
    const bool native = o.lcd == "st7525fb" || o.lcd == "st7526fb" || o.lcd == "ST7529 FB";
    if (!native) {
        if (!o.sizeGiven)
            o.width = 320, o.height = 240;
        if (!o.depthGiven)
            o.depth = 32;
    }
    return true;
}

std::string dirOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string selfDir()
{
    char buf[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0)
        return ".";
    buf[n] = 0;
    return dirOf(buf);
}

bool exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

struct Child {
    std::string program;
    pid_t pid = -1;
    bool server = false;
};

class Phone {
public:
    explicit Phone(const Options& o) : m_o(o) {}
    ~Phone() { shutdown(); }

    bool start();
    int run();
    void shutdown();

private:
    void say(const std::string& text);
    bool portFree();
    bool makePipe();
    bool makeSegment();
    pid_t spawn(const std::string& program, bool preload);
    void reap();
    void pollScreen();
    bool pressKey(int raw, bool down);
    bool step();
    void snap(const std::string& name);

    Options m_o;
    std::string m_bin, m_fonts, m_simfb;
    bool m_pipeMade = false;
    int m_pipe = -1;
    int m_segment = -1;
    bool m_lcdMade = false;
    int m_logFd = -1;
    std::vector<Child> m_children;
    std::unique_ptr<View> m_terminal, m_window;
    // The screen as last seen, and when it last changed.
    uint32_t m_syncs = 0;
    std::vector<unsigned char> m_memory;
    snapshot::Picture m_picture;
    int64_t m_changedAt = 0;
    int m_frames = 0;
    // Script state.
    std::vector<ScriptStep> m_steps;
    size_t m_next = 0;
    int64_t m_stepAt = 0;   // when the step in progress may go on
    int64_t m_settleFrom = 0;
    bool m_stepHalf = false; // a tap's release is due
    bool m_quit = false;
    int m_exit = 0;
    std::vector<std::pair<int64_t, int>> m_releases; // terminal taps
    bool m_down = false;
};

void Phone::say(const std::string& text)
{
    if (m_terminal)
        m_terminal->status(text);
    else
        std::fprintf(stderr, "utk-phone: %s\n", text.c_str());
    if (m_logFd >= 0) {
        const std::string line = "utk-phone: " + text + "\n";
        if (::write(m_logFd, line.data(), line.size()) < 0) {
        }
    }
}

bool Phone::portFree()
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0)
        return true;
    sockaddr_in a = sockaddr_in();
    a.sin_family = AF_INET;
    a.sin_port = htons(SERVER_PORT);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool free = bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    close(fd);
    return free;
}

bool Phone::makePipe()
{
    struct stat st;
    if (lstat(KEY_PIPE, &st) == 0) {
        // No server is running (the port is free), so a pipe left there is
        // a crashed phone's: take it over and remove it at the end.
        if (!S_ISFIFO(st.st_mode)) {
            say(std::string(KEY_PIPE) + " exists and is not a named pipe");
            return false;
        }
        unlink(KEY_PIPE);
    }
    if (mkfifo(KEY_PIPE, 0600) != 0) {
        say(std::string("cannot create ") + KEY_PIPE + ": " + std::strerror(errno));
        return false;
    }
    m_pipeMade = true;
    // Read-write, so that opening never waits for the reader and the pipe
    // never reports its end to the key listener.
    m_pipe = open(KEY_PIPE, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    return m_pipe >= 0;
}

bool Phone::makeSegment()
{
    const bool buffered = m_o.lcd == "st7525fb" || m_o.lcd == "st7526fb";
    if (m_o.lcd == "ST7529 FB")
        return true; // the drawing buffer is the device memory itself
    size_t size;
    if (buffered)
        size = size_t((m_o.width * m_o.depth + 7) / 8) * m_o.height;
    else
        size = m_o.model == 49 || m_o.model == 61 ? 1008 : m_o.model == 62 ? 1200 : 1152;
    const int old = shmget(SEGMENT_KEY, 0, 0);
    if (old >= 0) {
        shmid_ds ds;
        if (shmctl(old, IPC_STAT, &ds) == 0 && ds.shm_nattch > 0) {
            say("shared-memory segment 200555 is in use by another process");
            return false;
        }
        shmctl(old, IPC_RMID, nullptr); // a crashed phone's
    }
    m_segment = shmget(SEGMENT_KEY, size, IPC_CREAT | IPC_EXCL | 0600);
    if (m_segment < 0) {
        say(std::string("cannot create shared-memory segment 200555: ") + std::strerror(errno));
        return false;
    }
    void* p = shmat(m_segment, nullptr, 0);
    if (p != reinterpret_cast<void*>(-1)) {
        std::memset(p, 0xFF, size);
        shmdt(p);
    }
    return true;
}

pid_t Phone::spawn(const std::string& program, bool preload)
{
    const std::string path = program.find('/') == std::string::npos ? m_bin + "/" + program : program;
    if (!exists(path)) {
        say("no phonelet " + path);
        return -1;
    }
    const pid_t parent = getpid();
    const pid_t pid = fork();
    if (pid < 0) {
        say(std::string("fork: ") + std::strerror(errno));
        return -1;
    }
    if (pid == 0) {
        setpgid(0, 0); // Ctrl-C in the terminal is the phone's alone
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent)
            _exit(127);
        const int null = open("/dev/null", O_RDONLY);
        if (null >= 0)
            dup2(null, STDIN_FILENO);
        if (m_logFd >= 0) {
            dup2(m_logFd, STDOUT_FILENO);
            dup2(m_logFd, STDERR_FILENO);
        }
        signal(SIGINT, SIG_DFL);
        signal(SIGTERM, SIG_DFL);
        setenv("UTKSIM_FB_SHM", LCD_FILE, 1);
        setenv("UTKSIM_FB_ATTACH", "1", 1);
        setenv("UTKSIM_MODEL", std::to_string(m_o.model).c_str(), 1);
        setenv("UTK_FONT_DIR", m_fonts.c_str(), 1);
        if (preload && !m_simfb.empty()) {
            const char* before = getenv("LD_PRELOAD");
            setenv("LD_PRELOAD", (m_simfb + (before && *before ? std::string(":") + before : "")).c_str(), 1);
            const char* asan = getenv("ASAN_OPTIONS");
            setenv("ASAN_OPTIONS",
                   (std::string(asan && *asan ? std::string(asan) + ":" : "") + "verify_asan_link_order=0").c_str(), 1);
        }
        execl(path.c_str(), path.c_str(), static_cast<char*>(nullptr));
        std::perror(path.c_str());
        _exit(127);
    }
    Child c;
    c.program = program.substr(program.rfind('/') + 1);
    c.pid = pid;
    m_children.push_back(c);
    say("started " + c.program + " (pid " + std::to_string(pid) + ")");
    return pid;
}

bool Phone::start()
{
    // Where the phonelets, the fonts and the simulated LCD's library are:
    // next to this program in the build tree, or in the installation.
    m_bin = selfDir();
    if (exists(m_bin + "/phone-desktop")) {
        m_fonts = UTK_BUILD_FONTS;
        m_simfb = UTK_BUILD_SIMFB;
    } else {
        m_bin = dirOf(selfDir()) + "/libexec/utk";
        m_fonts = dirOf(selfDir()) + "/share/utk/fonts";
        m_simfb = dirOf(selfDir()) + "/lib/libutksimfb.so";
    }

    if (!m_o.log.empty()) {
        m_logFd = open(m_o.log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_APPEND, 0644);
        if (m_logFd < 0) {
            std::perror(m_o.log.c_str());
            return false;
        }
    }
    if (!m_o.script.empty()) {
        std::ifstream in(m_o.script);
        std::stringstream text;
        text << in.rdbuf();
        std::string error;
        if (!in || !parseScript(text.str(), m_steps, error)) {
            std::fprintf(stderr, "utk-phone: %s: %s\n", m_o.script.c_str(),
                         in ? error.c_str() : "cannot read");
            return false;
        }
    }
    if (!m_o.snapDir.empty() && mkdir(m_o.snapDir.c_str(), 0755) != 0 && errno != EEXIST) {
        std::perror(m_o.snapDir.c_str());
        return false;
    }

    struct sigaction sa = {};
    sa.sa_handler = onSignal;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    sigaction(SIGHUP, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);

    if (!m_o.headless && m_o.script.empty())
        m_terminal = makeTerminalView();
    if (m_terminal && m_o.log.empty()) {
        // The phonelets' lines would spoil the picture: they go to a file.
        m_o.log = "utk-phone.log";
        m_logFd = open(m_o.log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_APPEND, 0644);
    }
    if (m_o.window) {
        m_window = makeWindowView(m_o.scale, m_o.readBack);
        if (!m_window)
            return false;
    }

    if (!portFree()) {
        say("UDP port 65529 is taken: is another phone running?");
        return false;
    }
    if (!makePipe() || !makeSegment())
        return false;
    SimFramebuffer::setShmName(LCD_FILE);
    if (!SimFramebuffer::configure(m_o.lcd.c_str(), m_o.width, m_o.height, m_o.depth)) {
        say("cannot create the simulated LCD");
        return false;
    }
    m_lcdMade = true;

    // The desktop first: its server must be listening, and its own client
    // registered (it owns the screen then), before any other registers.
    if (m_o.bundled) {
        if (spawn("phone-desktop", false) < 0)
            return false;
        m_children.back().server = true;
        const int64_t until = nowMs() + 20000;
        while (SimFramebuffer::syncCount() == 0) {
            reap();
            if (m_children.empty() || m_children.front().pid < 0 || g_signal.load() || nowMs() > until) {
                say("the desktop did not come up");
                return false;
            }
            usleep(10000);
        }
        for (const char* p : {"phone-launcher", "phone-calllog", "phone-callview", "phone-directory"})
            spawn(p, false);
    }
    for (const std::string& p : m_o.extra)
        spawn(p, true);
    m_changedAt = nowMs();
    m_stepAt = nowMs();
    return true;
}

void Phone::reap()
{
    int status = 0;
    pid_t pid;
    while ((pid = waitpid(-1, &status, WNOHANG)) > 0) {
        for (Child& c : m_children) {
            if (c.pid != pid)
                continue;
            c.pid = -1;
            std::string how = WIFSIGNALED(status) ? "killed by signal " + std::to_string(WTERMSIG(status))
                                                  : "exited with " + std::to_string(WEXITSTATUS(status));
            say(c.program + " " + how);
            if (c.server && !m_quit) {
                say("the desktop hosted the screen server: the phone stops");
                m_quit = true;
                m_exit = 1;
            }
        }
    }
}

void Phone::pollScreen()
{
    const uint32_t syncs = SimFramebuffer::syncCount();
    const unsigned char* memory = SimFramebuffer::memory();
    if (!memory)
        return;
    const size_t size = SimFramebuffer::memorySize();
    // Direct LCDs are drawn into before their sync and emulated ones are
    // written by the conversion without one: compare the memory itself.
    if (!m_memory.empty() && std::memcmp(m_memory.data(), memory, size) == 0) {
        m_syncs = syncs;
        return;
    }
    m_syncs = syncs;
    m_memory.assign(memory, memory + size);
    const uint32_t line = size / m_o.height;
    if (!snapshot::fromDevice(m_memory.data(), size, m_o.width, m_o.height, m_o.depth, line, m_picture))
        return;
    m_changedAt = nowMs();
    ++m_frames;
    if (m_terminal)
        m_terminal->show(m_picture);
    if (m_window)
        m_window->show(m_picture);
    if (!m_o.snapDir.empty()) {
        char name[32];
        std::snprintf(name, sizeof name, "/screen-%04d.png", m_frames);
        snapshot::writePng(m_picture, m_o.snapDir + name, 4);
    }
}

bool Phone::pressKey(int raw, bool down)
{
    const unsigned char byte = static_cast<unsigned char>((raw & 0x7F) | (down ? 0 : 0x80));
    return ::write(m_pipe, &byte, 1) == 1;
}

void Phone::snap(const std::string& name)
{
    if (m_picture.width == 0) {
        say("snap " + name + ": no picture yet");
        return;
    }
    const std::string base = (m_o.snapDir.empty() ? std::string(".") : m_o.snapDir) + "/" + name;
    snapshot::writePng(m_picture, base + ".png", 4);
    std::ofstream(base + ".txt", std::ios::binary) << snapshot::textArt(m_picture);
}

// Runs script steps that are due; false when the script has ended.
bool Phone::step()
{
    const int64_t now = nowMs();
    while (m_next < m_steps.size()) {
        const ScriptStep& s = m_steps[m_next];
        if (now < m_stepAt)
            return true;
        switch (s.kind) {
        case ScriptStep::Wait:
            if (!m_stepHalf) {
                m_stepHalf = true;
                m_stepAt = now + s.number;
                return true;
            }
            break;
        case ScriptStep::Press:
        case ScriptStep::Release:
            pressKey(s.number, s.kind == ScriptStep::Press);
            break;
        case ScriptStep::Tap:
            if (!m_stepHalf) {
                pressKey(s.number, true);
                m_stepHalf = true;
                m_stepAt = now + s.hold;
                return true;
            }
            pressKey(s.number, false);
            break;
        case ScriptStep::Settle:
            // Quiet for the whole period, counted from the step's start too,
            // so that a key's effect has had time to begin.
            if (!m_stepHalf) {
                m_stepHalf = true;
                m_settleFrom = now;
            }
            if (now - m_settleFrom < 15000
                && (now - m_changedAt < s.number || now - m_settleFrom < s.number))
                return true;
            break;
        case ScriptStep::Snap:
            snap(s.text);
            break;
        case ScriptStep::Kill: {
            bool found = false;
            for (const Child& c : m_children)
                if (c.program == s.text && c.pid > 0) {
                    kill(c.pid, s.number);
                    found = true;
                }
            if (!found)
                say("kill: no running " + s.text);
            break;
        }
        case ScriptStep::Quit:
            m_next = m_steps.size();
            return false;
        }
        m_stepHalf = false;
        ++m_next;
    }
    return false;
}

int Phone::run()
{
    const bool scripted = !m_o.script.empty();
    while (!m_quit) {
        if (g_signal.load()) {
            say("stopping on signal " + std::to_string(g_signal.load()));
            break;
        }
        reap();
        if (m_quit)
            break;
        pollScreen();
        if (scripted && !step())
            break;
        const int64_t now = nowMs();
        for (size_t i = 0; i < m_releases.size();) {
            if (m_releases[i].first <= now) {
                pressKey(m_releases[i].second, false);
                m_releases.erase(m_releases.begin() + long(i));
            } else {
                ++i;
            }
        }
        std::vector<ViewKey> keys;
        for (View* v : {m_terminal.get(), m_window.get()}) {
            if (!v)
                continue;
            for (const ViewKey& k : v->keys(m_window && v == m_terminal.get() ? 0 : 10))
                keys.push_back(k);
        }
        if (!m_terminal && !m_window)
            usleep(10000);
        for (const ViewKey& k : keys) {
            switch (k.kind) {
            case ViewKey::Quit:
                m_quit = true;
                break;
            case ViewKey::Press:
                pressKey(k.raw, true);
                break;
            case ViewKey::Release:
                pressKey(k.raw, false);
                break;
            case ViewKey::Tap:
                // A terminal tells no releases: let go after 100 ms, or at
                // once when the next key comes first.
                for (const auto& r : m_releases)
                    pressKey(r.second, false);
                m_releases.clear();
                pressKey(k.raw, true);
                m_releases.push_back({nowMs() + 100, k.raw});
                break;
            }
        }
    }
    return m_exit;
}

void Phone::shutdown()
{
    for (const auto& r : m_releases)
        pressKey(r.second, false);
    m_releases.clear();
    for (const Child& c : m_children)
        if (c.pid > 0)
            kill(c.pid, SIGTERM);
    const int64_t until = nowMs() + 2000;
    for (;;) {
        reap();
        bool alive = false;
        for (const Child& c : m_children)
            alive = alive || c.pid > 0;
        if (!alive)
            break;
        if (nowMs() > until) {
            for (Child& c : m_children)
                if (c.pid > 0) {
                    kill(c.pid, SIGKILL);
                    waitpid(c.pid, nullptr, 0);
                    say(c.program + " killed after it did not stop");
                    c.pid = -1;
                }
            break;
        }
        usleep(10000);
    }
    m_children.clear();
    if (m_pipe >= 0)
        close(m_pipe);
    m_pipe = -1;
    if (m_pipeMade)
        unlink(KEY_PIPE);
    m_pipeMade = false;
    if (m_segment >= 0)
        shmctl(m_segment, IPC_RMID, nullptr);
    m_segment = -1;
    if (m_lcdMade)
        SimFramebuffer::remove();
    m_lcdMade = false;
    m_window.reset();
    m_terminal.reset();
    if (m_logFd >= 0)
        close(m_logFd);
    m_logFd = -1;
}

} // namespace

int main(int argc, char** argv)
{
    Options o;
    if (!parseOptions(argc, argv, o)) {
        std::fputs(USAGE, stderr);
        return 2;
    }
    Phone phone(o);
    if (!phone.start()) {
        phone.shutdown();
        return 1;
    }
    const int code = phone.run();
    phone.shutdown();
    return code;
}
