// The whole phone, run by utk-phone as real processes on real sockets, the
// real key pipe and the simulated LCD: headless with a key script and
// golden pictures, with a phonelet killed on the way, in a terminal under
// tmux and in an SDL window under Xvfb. Each run must leave no process,
// pipe, segment or LCD file behind.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <png.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "keymap.h"
#include "lcdart.h"
#include "phone.h"
#include "textart.h"

namespace {

const std::string PHONE = std::string(UTK_BINARY_DIR) + "/phone/utk-phone";
const char* const TIME = "UTK_PHONE_TIME=2026-11-23 09:41";
// For the phonelets of a ThreadSanitizer build (ignored by the others).
const std::string TSAN = "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1";

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string tempDir()
{
    char name[] = "/tmp/utk-phone-test-XXXXXX";
    const char* d = mkdtemp(name);
    return d ? d : "/tmp";
}

// Runs a command with extra environment entries; its exit code, or -1 when
// it had to be killed after `seconds`.
int run(const std::vector<std::string>& argv, const std::vector<std::string>& env, int seconds)
{
    const pid_t pid = fork();
    if (pid == 0) {
        for (const std::string& e : env)
            putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> args;
        for (const std::string& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > until) {
            kill(pid, SIGTERM);
            waitpid(pid, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int shell(const std::string& command)
{
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool portFree()
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in a = sockaddr_in();
    a.sin_family = AF_INET;
    a.sin_port = htons(65529);
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool free = bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    close(fd);
    return free;
}

// No phonelet of the log's "started ... (pid N)" lines runs, and the pipe,
// the segment and the LCD file are gone.
void expectNothingLeft(const std::string& log)
{
    std::istringstream in(log);
    int started = 0;
    for (std::string line; std::getline(in, line);) {
        const size_t at = line.find("(pid ");
        if (line.find("utk-phone: started ") != 0 || at == std::string::npos)
            continue;
        ++started;
        const pid_t pid = std::atoi(line.c_str() + at + 5);
        EXPECT_TRUE(kill(pid, 0) == -1 && errno == ESRCH) << "still running: " << line;
    }
    EXPECT_GT(started, 0) << log;
    struct stat st;
    EXPECT_NE(lstat("/tmp/kiv_keyboard", &st), 0) << "the key pipe is left";
    EXPECT_LT(shmget(200555, 0, 0), 0) << "segment 200555 is left";
    EXPECT_NE(stat("/dev/shm/utk-phone", &st), 0) << "the LCD file is left";
    EXPECT_TRUE(portFree()) << "port 65529 is still bound";
}

// The picture of a golden text-art file.
snapshot::Picture fromTextArt(const std::string& art)
{
    snapshot::Picture p;
    std::istringstream in(art);
    std::vector<std::string> rows;
    for (std::string line; std::getline(in, line);)
        rows.push_back(line);
    p.width = rows.empty() ? 0 : uint32_t(rows[0].size());
    p.height = uint32_t(rows.size());
    for (const std::string& r : rows)
        for (char c : r)
            p.rgb.insert(p.rgb.end(), 3, c == '#' ? 0 : 255);
    return p;
}

std::string golden(const std::string& name)
{
    return readFile(textart::goldenPath(name));
}

#ifdef UTK_PHONE_NO_PROCESSES
#define SKIP_WITHOUT_PROCESSES() GTEST_SKIP() << "cannot start the phone's programs here"
#else
#define SKIP_WITHOUT_PROCESSES() (void)0
#endif

TEST(Phone, ScriptWalksThroughThePhoneletsAndLeavesNothing)
{
    SKIP_WITHOUT_PROCESSES();
    const std::string dir = tempDir();
    const int code = run({PHONE, "--headless", "--snap", dir, "--script",
                          std::string(UTK_SOURCE_DIR) + "/tests/phone/walk.script", "--log", dir + "/log"},
                         {TIME, TSAN}, 120);
    const std::string log = readFile(dir + "/log");
    ASSERT_EQ(code, 0) << log;
    for (const char* stop : {"desktop", "launcher", "calllog", "calllog-second", "callview",
                             "desktop-again", "directory", "launcher-again"})
        EXPECT_TRUE(textart::matchesGolden(readFile(dir + "/" + stop + ".txt"),
                                           std::string("phone_") + stop))
            << stop;
    // Every change was written as a picture of its own.
    struct stat st;
    EXPECT_EQ(stat((dir + "/screen-0001.png").c_str(), &st), 0);
    for (const char* name : {"DesktopPhonelet", "AppLauncherPhonelet", "CallLogPhonelet",
                             "CallViewPhonelet"})
        EXPECT_NE(log.find(std::string("New client connected: ") + name), std::string::npos) << log;
    // Every phonelet ran to the end and stopped cleanly when asked (under
    // the sanitizers, a finding ends a phonelet with another status).
    size_t clean = 0;
    for (size_t at = 0; (at = log.find(" exited with 0\n", at)) != std::string::npos; ++at)
        ++clean;
    EXPECT_EQ(clean, 5u) << log;
    EXPECT_EQ(log.find("killed by"), std::string::npos) << log;
    expectNothingLeft(log);
    shell("rm -rf " + dir);
}

TEST(Phone, KilledPhoneletsAreReportedAndCleanedUp)
{
    SKIP_WITHOUT_PROCESSES();
    const std::string dir = tempDir();
    {
        // A client dies: the phone goes on without it.
        std::ofstream(dir + "/client.script") << "settle 800\nkill phone-calllog\nwait 300\n"
                                                 "tap menu\nawait\nsnap launcher\nquit\n";
        const int code = run({PHONE, "--headless", "--snap", dir, "--script", dir + "/client.script",
                              "--log", dir + "/log"},
                             {TIME, TSAN}, 60);
        const std::string log = readFile(dir + "/log");
        EXPECT_EQ(code, 0) << log;
        EXPECT_NE(log.find("utk-phone: phone-calllog killed by signal 9"), std::string::npos) << log;
        EXPECT_TRUE(textart::matchesGolden(readFile(dir + "/launcher.txt"), "phone_launcher"));
        expectNothingLeft(log);
    }
    {
        // The desktop hosts the server: the phone stops by itself.
        std::ofstream(dir + "/server.script") << "settle 800\nkill phone-desktop\nwait 30000\nquit\n";
        const int code = run({PHONE, "--headless", "--script", dir + "/server.script", "--log",
                              dir + "/log"},
                             {TIME, TSAN}, 25);
        const std::string log = readFile(dir + "/log");
        EXPECT_EQ(code, 1) << log;
        EXPECT_NE(log.find("the phone stops"), std::string::npos) << log;
        expectNothingLeft(log);
    }
    shell("rm -rf " + dir);
}

// Polls `probe` for up to `seconds`.
template <typename F>
bool eventually(F probe, int seconds)
{
    const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (std::chrono::steady_clock::now() < until) {
        if (probe())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return probe();
}

TEST(Phone, TerminalViewInTmuxFollowsKeys)
{
    SKIP_WITHOUT_PROCESSES();
    if (shell("command -v tmux >/dev/null") != 0)
        GTEST_SKIP() << "tmux is not installed";
    const std::string dir = tempDir();
    const std::string tmux = "tmux -L utk-phone-test-" + std::to_string(getpid());
    ASSERT_EQ(shell(tmux + " new-session -d -x 210 -y 40 \"env '" + TIME + "' '" + TSAN + "' " + PHONE + " --log " + dir
                    + "/log; sleep 1\""),
              0);
    auto pane = [&] {
        shell(tmux + " capture-pane -p > " + dir + "/pane");
        return readFile(dir + "/pane");
    };
    // The pane shows the LCD as half blocks, line for line.
    auto shows = [&](const std::string& name) {
        const std::string screen = pane();
        for (const std::string& line : lcdart::halfBlocks(fromTextArt(golden(name))))
            if (screen.find(line) == std::string::npos)
                return false;
        return true;
    };
    EXPECT_TRUE(eventually([&] { return shows("phone_desktop"); }, 30)) << pane();
    shell(tmux + " send-keys F1");
    EXPECT_TRUE(eventually([&] { return shows("phone_launcher"); }, 20)) << pane();
    shell(tmux + " send-keys Down");
    EXPECT_TRUE(eventually([&] { return !shows("phone_launcher"); }, 20)) << pane();
    shell(tmux + " send-keys q");
    EXPECT_TRUE(eventually([&] { return readFile(dir + "/log").find("phone-desktop exited with 0") != std::string::npos; }, 20));
    shell(tmux + " kill-server 2>/dev/null");
    expectNothingLeft(readFile(dir + "/log"));
    shell("rm -rf " + dir);
}

// The pixels of a PNG file as RGB.
bool readPng(const std::string& path, snapshot::Picture& out)
{
    png_image image = png_image();
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str()))
        return false;
    image.format = PNG_FORMAT_RGB;
    out.width = image.width;
    out.height = image.height;
    out.rgb.resize(PNG_IMAGE_SIZE(image));
    return png_image_finish_read(&image, nullptr, out.rgb.data(), 0, nullptr) != 0;
}

TEST(Phone, WindowViewUnderXvfbShowsTheLcd)
{
    SKIP_WITHOUT_PROCESSES();
    if (shell("command -v Xvfb >/dev/null") != 0)
        GTEST_SKIP() << "Xvfb is not installed";
    const std::string dir = tempDir();
    const int display = 90 + getpid() % 100;
    const pid_t x = fork();
    if (x == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        dup2(null, 2);
        execl("/usr/bin/Xvfb", "Xvfb", (":" + std::to_string(display)).c_str(), "-screen", "0",
              "800x600x24", "-nolisten", "tcp", static_cast<char*>(nullptr));
        _exit(127);
    }
    const std::string socket = "/tmp/.X11-unix/X" + std::to_string(display);
    struct stat st;
    ASSERT_TRUE(eventually([&] { return stat(socket.c_str(), &st) == 0; }, 20));
    std::ofstream(dir + "/script") << "settle 800\ntap menu\nawait\nquit\n";
    const int code = run({PHONE, "--window", "--scale", "4", "--read-back", dir + "/window.png", "--script",
                          dir + "/script", "--log", dir + "/log"},
                         {TIME, TSAN, "DISPLAY=:" + std::to_string(display), "SDL_AUDIODRIVER=dummy",
                          // SDL's D-Bus connection is never freed.
                          "LSAN_OPTIONS=report_objects=1:suppressions=" + std::string(UTK_SOURCE_DIR)
                              + "/tests/phone/lsan.supp"},
                         60);
    kill(x, SIGTERM);
    waitpid(x, nullptr, 0);
    const std::string log = readFile(dir + "/log");
    ASSERT_EQ(code, 0) << log;
    snapshot::Picture window;
    ASSERT_TRUE(readPng(dir + "/window.png", window));
    // The LCD sits 16 pixels from the top, centred, each pixel a 4 x 4
    // block whose top and left edges carry the grid: its inside is the
    // pixel's own colour.
    const snapshot::Picture lcd = fromTextArt(golden("phone_launcher"));
    ASSERT_GE(window.width, lcd.width * 4);
    const uint32_t x0 = (window.width - lcd.width * 4) / 2, y0 = 16;
    snapshot::Picture seen;
    seen.width = lcd.width;
    seen.height = lcd.height;
    for (uint32_t y = 0; y < lcd.height; ++y)
        for (uint32_t x = 0; x < lcd.width; ++x) {
            const uint8_t* p = &window.rgb[(size_t(y0 + y * 4 + 2) * window.width + x0 + x * 4 + 2) * 3];
            seen.rgb.insert(seen.rgb.end(), p, p + 3);
        }
    EXPECT_TRUE(textart::matchesGolden(snapshot::textArt(seen), "phone_launcher"));
    // The grid line between two light pixels is grey, not white.
    const uint8_t* edge = &window.rgb[(size_t(y0 + 4 * 1) * window.width + x0 + 4 * 100 + 2) * 3];
    EXPECT_EQ(edge[0], 128);
    expectNothingLeft(log);
    shell("rm -rf " + dir);
}

} // namespace
