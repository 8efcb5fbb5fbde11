// The whole phone, run by utk-phone as real processes on real sockets, the
// real key pipe and the simulated LCD: headless with a key script and
// golden pictures (a client killed on the way), with its desktop killed,
// in a terminal under tmux and in an SDL window under Xvfb. Each run must
// leave no process, pipe, segment or LCD file behind.
#include <png.h>
#include <signal.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "lcdart.h"
#include "sysudpsocket.h"
#include "textart.h"

namespace {

const std::string PHONE = std::string(UTK_BINARY_DIR) + "/phone/utk-phone";
const char* const TIME = "UTK_PHONE_TIME=2026-11-23 09:41";
// For the phonelets of a ThreadSanitizer build (ignored by the others).
const std::string TSAN = "TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1";

using textart::readFile;

int shell(const std::string& command)
{
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// No phonelet of the log's "started ... (pid N)" lines runs, and the pipe,
// the segment, the LCD file and the server's port are gone.
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
    SysUdpSocket probe;
    EXPECT_EQ(probe.open(65529, SysAddressFamilyIPv4, "probe", "127.0.0.1"), 0) << "port 65529 is still bound";
}

// The picture of a golden text-art file.
snapshot::Picture goldenPicture(const std::string& name)
{
    snapshot::Picture p;
    for (char c : readFile(textart::goldenPath(name)))
        if (c == '\n')
            ++p.height;
        else
            p.rgb.insert(p.rgb.end(), 3, c == '#' ? 0 : 255);
    p.width = p.height ? uint32_t(p.rgb.size() / 3 / p.height) : 0;
    return p;
}

// Each test in a temporary folder of its own, removed after.
class Phone : public ::testing::Test {
protected:
    void SetUp() override
    {
#ifdef UTK_PHONE_NO_PROCESSES
        GTEST_SKIP() << "cannot start the phone's programs here";
#endif
        char name[] = "/tmp/utk-phone-test-XXXXXX";
        dir = mkdtemp(name) ? name : "";
        ASSERT_NE(dir, "");
    }
    void TearDown() override
    {
        if (!dir.empty())
            shell("rm -rf " + dir);
    }
    // utk-phone with `args`, the key script `script` and the log in the
    // folder, more environment entries and a wrapper command; its exit code.
    int phone(std::vector<std::string> args, const std::string& script, int seconds,
              std::vector<std::string> env = {}, const std::string& wrapper = "")
    {
        std::ofstream(dir + "/script") << script;
        env.insert(env.end(), {TIME, TSAN});
        args.insert(args.begin(), PHONE);
        args.insert(args.end(), {"--script", dir + "/script", "--log", dir + "/log"});
        std::string command = "timeout " + std::to_string(seconds) + " " + wrapper + " env";
        for (const std::string& word : env)
            command += " '" + word + "'";
        for (const std::string& word : args)
            command += " '" + word + "'";
        return shell(command); // 124 when it had to be stopped

    }
    std::string log() { return readFile(dir + "/log"); }

    std::string dir;
};

TEST_F(Phone, ScriptWalksThroughThePhoneletsAndLeavesNothing)
{
    const int code = phone({"--headless", "--snap", dir},
                           readFile(std::string(UTK_SOURCE_DIR) + "/tests/phone/walk.script"), 120);
    const std::string log = this->log();
    ASSERT_EQ(code, 0) << log;
    for (const char* stop : {"desktop", "launcher", "calllog", "calllog-second", "callview",
                             "desktop-again", "directory", "launcher-again"})
        EXPECT_TRUE(textart::matchesGolden(readFile(dir + "/" + stop + ".txt"),
                                           std::string("phone_") + stop))
            << stop;
    // Every change was written as a picture of its own.
    EXPECT_EQ(access((dir + "/screen-0001.png").c_str(), F_OK), 0);
    // Every other phonelet ran to the end and stopped cleanly when asked
    // (under the sanitizers, a finding ends a phonelet with another status).
    size_t clean = 0;
    for (size_t at = 0; (at = log.find(" exited with 0\n", at)) != std::string::npos; ++at)
        ++clean;
    EXPECT_EQ(clean, 4u) << log;
    EXPECT_NE(log.find("utk-phone: phone-calllog killed by signal 9\n"), std::string::npos) << log;
    expectNothingLeft(log);
}

// The desktop hosts the server: when it dies, the phone stops by itself.
TEST_F(Phone, KilledDesktopStopsThePhoneAndItCleansUp)
{
    EXPECT_EQ(phone({"--headless"}, "settle 800\nkill phone-desktop\nwait 30000\nquit\n", 25), 1)
        << log();
    EXPECT_NE(log().find("the phone stops"), std::string::npos) << log();
    expectNothingLeft(log());
}

// Polls `probe` every 0.1 s, about `seconds` long.
template <typename F>
bool eventually(F probe, int seconds)
{
    for (int tenths = 0; !probe(); ++tenths) {
        if (tenths >= seconds * 10)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return true;
}

TEST_F(Phone, TerminalViewInTmuxFollowsKeys)
{
    if (shell("command -v tmux >/dev/null") != 0)
        GTEST_SKIP() << "tmux is not installed";
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
        for (const std::string& line : lcdart::halfBlocks(goldenPicture(name)))
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
    // The session ends once the phone has stopped every phonelet and
    // cleaned up (its pane runs the phone, then "sleep 1").
    EXPECT_TRUE(eventually([&] { return shell(tmux + " has-session 2>/dev/null") != 0; }, 20)) << log();
    shell(tmux + " kill-server 2>/dev/null");
    expectNothingLeft(log());
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

TEST_F(Phone, WindowViewUnderXvfbShowsTheLcd)
{
    if (shell("command -v xvfb-run >/dev/null") != 0)
        GTEST_SKIP() << "xvfb-run is not installed";
    const int code = phone({"--window", "--scale", "4", "--read-back", dir + "/window.png"},
                           "settle 800\ntap menu\nawait\nquit\n", 60,
                           {"SDL_AUDIODRIVER=dummy",
                            // SDL's D-Bus connection is never freed.
                            "LSAN_OPTIONS=report_objects=1:suppressions=" +
                                std::string(UTK_SOURCE_DIR) + "/tests/phone/lsan.supp"},
                           "xvfb-run -a -s '-screen 0 800x600x24 -nolisten tcp'");
    const std::string log = this->log();
    ASSERT_EQ(code, 0) << log;
    snapshot::Picture window;
    ASSERT_TRUE(readPng(dir + "/window.png", window));
    // The LCD sits 16 pixels from the top, centred, each pixel a 4 x 4
    // block whose top and left edges carry the grid: its inside is the
    // pixel's own colour.
    ASSERT_GE(window.width, 199u * 4);
    const uint32_t x0 = (window.width - 199 * 4) / 2, y0 = 16;
    std::string seen;
    for (uint32_t y = 0; y < 48; ++y, seen += '\n')
        for (uint32_t x = 0; x < 199; ++x)
            seen += window.rgb[(size_t(y0 + y * 4 + 2) * window.width + x0 + x * 4 + 2) * 3] < 128 ? '#' : '.';
    EXPECT_TRUE(textart::matchesGolden(seen, "phone_launcher"));
    // The grid line between two light pixels is grey, not white.
    const uint8_t* edge = &window.rgb[(size_t(y0 + 4 * 1) * window.width + x0 + 4 * 100 + 2) * 3];
    EXPECT_EQ(edge[0], 128);
    expectNothingLeft(log);
}

} // namespace
