// The screen sharing across real processes: a ServerMode desktop (screen
// server, key listener and its own client) and client phonelets, each a
// process of its own, talking over loopback UDP, with key records written
// into the real named pipe and the picture read from the shared drawing
// buffer (System V key 200555). Each phonelet draws on a simulated LCD of
// its own (buffered "st7525fb" controller, 199 x 48 at one bit per pixel,
// so all draw into the shared buffer). The pipe, the buffer and the LCD
// files are removed after; phonelets still running are killed, and on
// failure their output is printed.
#include <sys/mman.h>
#include <sys/shm.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "sharing_support.h"
#include "textart.h"

using harness::PhoneletProcess;

namespace {

// Key records: bit 7 set for a release, raw key number below.
const unsigned char DOWN = 13, HASH = 11, DIGIT_5 = 5, DIGIT_7 = 7, UNMAPPED = 17;
const unsigned char RELEASE = 0x80;

void removeDrawingBuffer()
{
    const int id = shmget(200555, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

class ProcessSharing : public ::testing::Test {
protected:
    void SetUp() override
    {
        removeDrawingBuffer();
        fifo.reset(new KeyFifo);
        ASSERT_TRUE(fifo->made);
    }
    void TearDown() override
    {
        for (auto& p : m_procs) {
            if (HasFailure())
                std::printf("%s", p->transcript().c_str());
            shm_unlink(lcd(p->label()).c_str());
        }
        m_procs.clear(); // kills what still runs
        fifo.reset();
        removeDrawingBuffer();
    }
    static std::string lcd(const std::string& label)
    {
        return "/utk-e2e-" + std::to_string(getpid()) + "-" + label;
    }
    // A phonelet; a client (with a name) is enabled while it has the
    // screen, and returns once the server has it registered and it is ready.
    PhoneletProcess& start(const std::string& label, const std::string& name = "",
                           const std::string& title = "")
    {
        const std::vector<std::string> args = name.empty() ? std::vector<std::string>{UTK_PHONELET_DESKTOP}
            : std::vector<std::string>{UTK_PHONELET_LISTER, name, title, "--enable-on-show"};
        m_procs.emplace_back(new PhoneletProcess(label, args,
            {"UTKSIM_FB_ID=st7525fb", "UTKSIM_FB_XRES=199", "UTKSIM_FB_YRES=48", "UTKSIM_FB_BPP=1",
             "UTKSIM_FB_SHM=" + lcd(label)}));
        if (!name.empty()) {
            EXPECT_GE(m_procs.front()->waitLine("New client connected: " + name), 0);
            EXPECT_GE(m_procs.back()->waitLine("ready"), 0);
        }
        return *m_procs.back();
    }
    // The picture in the shared buffer (25 bytes a row) matches the golden
    // file within a few seconds (the field's cursor blinks, so it is
    // sampled until then).
    void expectPicture(const std::string& golden)
    {
        if (std::getenv("UTK_UPDATE_GOLDEN"))
            std::this_thread::sleep_for(std::chrono::seconds(1)); // let it settle
        std::string art;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        for (; std::chrono::steady_clock::now() < end;
             std::this_thread::sleep_for(std::chrono::milliseconds(50))) {
            const int id = shmget(200555, 0, 0);
            void* p = id < 0 ? reinterpret_cast<void*>(-1) : shmat(id, nullptr, SHM_RDONLY);
            if (p == reinterpret_cast<void*>(-1))
                continue;
            art = textart::fromBuffer(static_cast<unsigned char*>(p), 25, 0, 0, 199, 48);
            shmdt(p);
            if (textart::matchesGolden(art, golden))
                return;
        }
        EXPECT_TRUE(textart::matchesGolden(art, golden));
    }

    std::unique_ptr<KeyFifo> fifo;
    std::vector<std::unique_ptr<PhoneletProcess>> m_procs;
};

} // namespace

// Registration, hand-over, full screen and keys from the pipe, with the
// order of the server's registry (desktop, call log, messages) deciding
// who gets the screen, keys reaching only the enabled owner, and a held
// key repeating.
TEST_F(ProcessSharing, KeysFollowTheScreenAcrossProcesses)
{
    PhoneletProcess& desktop = start("desktop");
    EXPECT_GE(desktop.waitLine("New client connected: DesktopPhonelet"), 0);
    EXPECT_GE(desktop.waitLine("show"), 0); // the first registrant gets the screen
    PhoneletProcess& calllog = start("calllog", "CallLogPhonelet", "Call log");
    PhoneletProcess& messages = start("messages", "MessagesPhonelet", "Messages");
    ASSERT_FALSE(HasFailure());

    // The desktop gives the screen to the next in line, the call log.
    desktop.send("release");
    ASSERT_GE(desktop.waitLine("hide"), 0);
    ASSERT_GE(calllog.waitLine("show"), 0);

    // The listener reads a byte only once the previous key has gone to
    // every client, so when the call log has the last key (a lone '#'
    // release), everything before it has reached every client's socket.
    fifo->write({DOWN, DOWN | RELEASE, DIGIT_5, DIGIT_5 | RELEASE, DIGIT_7, DIGIT_7 | RELEASE,
          UNMAPPED, UNMAPPED | RELEASE, HASH | RELEASE});
    ASSERT_GE(calllog.waitLine("key 35 0"), 0);
    ASSERT_GE(calllog.waitLine("list 1"), 0); // list events queue behind the keys
    EXPECT_EQ(calllog.lines("key "),
              (std::vector<std::string>{"key 4 1", "key 4 0", "key 53 1", "key 53 0", "key 55 1",
                                        "key 55 0", "key 0 1", "key 0 0", "key 35 0"}));
    EXPECT_EQ(calllog.lines("list "), std::vector<std::string>{"list 1"});
    EXPECT_EQ(calllog.lines("edit "), (std::vector<std::string>{"edit 5", "edit 57"}));
    EXPECT_GE(desktop.waitLine("UWARNING: Key is not mapped: 17"), 0);

    // Full screen hides the desktop (that hide follows the keys on its
    // port, so it has seen them: none was delivered), and the release
    // shows it again, over its own rows only.
    calllog.send("fullscreen");
    const int hidden = desktop.waitLine("hide", 20, desktop.waitLine("hide") + 1);
    ASSERT_GE(hidden, 0);
    calllog.send("unfullscreen");
    ASSERT_GE(desktop.waitLine("show", 20, hidden), 0);
    EXPECT_EQ(desktop.lines("key "), std::vector<std::string>{});
    expectPicture("sharing_desktop_and_calllog");

    // Messages never had the screen and stayed disabled. A datagram it
    // does not accept, sent to its port after the keys, is logged once
    // the keys before it were handled: none was delivered.
    messages.send("port");
    ASSERT_GE(messages.waitLine("port ", 20, 0, true), 0);
    Peer::run("open Q\nsend Q 01 00 00 @" + messages.lines("port ")[0].substr(5) + "\n");
    ASSERT_GE(messages.waitLine("UAppClient MessagesPhonelet: unrecognized message: 0x100"), 0);
    EXPECT_EQ(messages.lines("key "), std::vector<std::string>{});
    EXPECT_EQ(messages.lines("show"), std::vector<std::string>{});

    // A key held in the pipe repeats through the whole chain (listener's
    // timer thread, server, client); its timing is checked tick by tick in
    // keys_test.cpp. No repeat follows the release.
    fifo->write({DIGIT_7});
    const int held = calllog.waitLine("key 55 2", 5, calllog.waitLine("key 35 0"));
    ASSERT_GE(held, 0);
    fifo->write({DIGIT_7 | RELEASE});
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    fifo->write({DIGIT_5});
    ASSERT_GE(calllog.waitLine("key 53 1", 20, static_cast<size_t>(held)), 0);
    const std::vector<std::string> keys = calllog.lines("key ");
    EXPECT_EQ(std::vector<std::string>(keys.end() - 4, keys.end()),
              (std::vector<std::string>{"key 55 1", "key 55 2", "key 55 0", "key 53 1"}));
    // Clients first, the server's process last.
    for (auto it = m_procs.rbegin(); it != m_procs.rend(); ++it) {
        (*it)->send("quit");
        EXPECT_EQ((*it)->waitExit(30), 0) << (*it)->label() << " did not end cleanly";
    }
}
