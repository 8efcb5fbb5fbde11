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
        for (auto& p : m_procs)
            if (HasFailure())
                std::printf("%s", p->transcript().c_str());
        m_procs.clear(); // kills what still runs
        fifo.reset();
        removeDrawingBuffer();
        for (const std::string& name : m_shmNames)
            shm_unlink(name.c_str());
    }
    PhoneletProcess& start(const std::string& label, const std::vector<std::string>& args)
    {
        const std::string shm = "/utk-e2e-" + std::to_string(getpid()) + "-" + label;
        m_shmNames.push_back(shm);
        m_procs.emplace_back(new PhoneletProcess(label, args,
            {"UTKSIM_FB_ID=st7525fb", "UTKSIM_FB_XRES=199", "UTKSIM_FB_YRES=48", "UTKSIM_FB_BPP=1",
             "UTKSIM_FB_SHM=" + shm}));
        EXPECT_EQ(m_procs.back()->problem(), "") << label;
        return *m_procs.back();
    }
    // A client phonelet that is enabled while it has the screen; returns
    // once the server has it registered and it is ready.
    PhoneletProcess& startClient(PhoneletProcess& desktop, const std::string& label,
                                 const std::string& name, const std::string& title)
    {
        PhoneletProcess& c = start(label, {UTK_PHONELET_LISTER, name, title, "--enable-on-show"});
        EXPECT_GE(desktop.waitLine("New client connected: " + name), 0);
        EXPECT_GE(c.waitLine("ready"), 0);
        return c;
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
    void quitAll()
    {
        // Clients first, the server's process last.
        for (auto it = m_procs.rbegin(); it != m_procs.rend(); ++it) {
            (*it)->send("quit");
            EXPECT_EQ((*it)->waitExit(30), 0) << (*it)->label() << " did not end cleanly";
        }
    }

    std::unique_ptr<KeyFifo> fifo;
    std::vector<std::unique_ptr<PhoneletProcess>> m_procs;
    std::vector<std::string> m_shmNames;
};

} // namespace

// Registration, hand-over, full screen and keys from the pipe, with the
// order of the server's registry (desktop, call log, messages) deciding
// who gets the screen, and keys reaching only the enabled owner.
TEST_F(ProcessSharing, KeysFollowTheScreenAcrossProcesses)
{
    PhoneletProcess& desktop = start("desktop", {UTK_PHONELET_DESKTOP});
    EXPECT_GE(desktop.waitLine("New client connected: DesktopPhonelet"), 0);
    EXPECT_GE(desktop.waitLine("show"), 0); // the first registrant gets the screen
    PhoneletProcess& calllog = startClient(desktop, "calllog", "CallLogPhonelet", "Call log");
    PhoneletProcess& messages = startClient(desktop, "messages", "MessagesPhonelet", "Messages");
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
    EXPECT_TRUE(waitFor([&] {
        return desktop.errText().find("UWARNING: Key is not mapped: 17\n") != std::string::npos;
    })) << desktop.errText();

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
    UdpEndpoint().send({0x01, 0x00, 0x00},
                       static_cast<unsigned short>(std::stoi(messages.lines("port ")[0].substr(5))));
    ASSERT_GE(messages.waitLine("UAppClient MessagesPhonelet: unrecognized message: 0x100"), 0);
    EXPECT_EQ(messages.lines("key "), std::vector<std::string>{});
    EXPECT_EQ(messages.lines("show"), std::vector<std::string>{});

    quitAll();
}

// A key held in the pipe repeats once a second through the whole chain
// (listener's timer, server, client): the one test that waits on the wall
// clock, with wide bounds; no repeat follows the release.
TEST_F(ProcessSharing, HeldKeyRepeatsOnceASecond)
{
    PhoneletProcess& desktop = start("desktop", {UTK_PHONELET_DESKTOP});
    // A registration sent before the server listens is lost for good.
    ASSERT_GE(desktop.waitLine("show"), 0);
    PhoneletProcess& calllog = startClient(desktop, "calllog", "CallLogPhonelet", "Call log");
    ASSERT_FALSE(HasFailure());
    desktop.send("release");
    ASSERT_GE(calllog.waitLine("show"), 0);

    using clock = std::chrono::steady_clock;
    const clock::time_point pressed = clock::now();
    fifo->write({DOWN});
    const int first = calllog.waitLine("key 4 2", 5);
    const double t1 = std::chrono::duration<double>(clock::now() - pressed).count();
    const int second = calllog.waitLine("key 4 2", 5, static_cast<size_t>(first + 1));
    const double t2 = std::chrono::duration<double>(clock::now() - pressed).count();
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    EXPECT_GT(t1, 0.5);
    EXPECT_LT(t1, 1.9);
    EXPECT_GT(t2, 1.5);
    EXPECT_LT(t2, 3.5);
    fifo->write({DOWN | RELEASE});
    ASSERT_GE(calllog.waitLine("key 4 0"), 0);
    // Past the next repeat's time, another key: nothing came in between.
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    fifo->write({DIGIT_5});
    ASSERT_GE(calllog.waitLine("key 53 1"), 0);
    EXPECT_EQ(calllog.lines("key "),
              (std::vector<std::string>{"key 4 1", "key 4 2", "key 4 2", "key 4 0", "key 53 1"}));
    quitAll();
}
