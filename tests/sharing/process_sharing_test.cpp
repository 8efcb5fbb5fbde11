// The screen sharing across real processes: a ServerMode desktop (screen
// server, key listener and its own client) and client phonelets, each a
// process of its own, talking over loopback UDP, with key records written
// into the real named pipe and the picture read from the shared drawing
// buffer.
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "process_harness.h"
#include "textart.h"

using harness::PhoneletProcess;

namespace {

// Key records: bit 7 set for a release, raw key number below.
const unsigned char DOWN = 13, HASH = 11, DIGIT_5 = 5, DIGIT_7 = 7, UNMAPPED = 17;
const unsigned char RELEASE = 0x80;

class ProcessSharing : public harness::SharingFixture {
protected:
    PhoneletProcess& startDesktop()
    {
        PhoneletProcess& d = start("desktop", {UTK_PHONELET_DESKTOP});
        EXPECT_GE(d.waitLine("New client connected: DesktopPhonelet"), 0);
        EXPECT_GE(d.waitLine("ready"), 0);
        EXPECT_GE(d.waitLine("show"), 0); // the first registrant gets the screen
        return d;
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
    // The picture in the shared buffer matches the golden file within a
    // few seconds (the field's cursor blinks, so it is sampled until then).
    void expectPicture(const std::string& golden)
    {
        if (std::getenv("UTK_UPDATE_GOLDEN"))
            std::this_thread::sleep_for(std::chrono::seconds(1)); // let it settle
        std::string art;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        do {
            const std::vector<unsigned char> buf = drawingBuffer();
            art = buf.empty() ? "" : textart::fromBuffer(buf.data(), 25, 0, 0, 199, 48);
            if (textart::matchesGolden(art, golden))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        } while (std::chrono::steady_clock::now() < end);
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
};

std::vector<std::string> keyLines(std::initializer_list<std::pair<int, int>> keys)
{
    std::vector<std::string> r;
    for (const auto& k : keys)
        r.push_back("key " + std::to_string(k.first) + " " + std::to_string(k.second));
    return r;
}

} // namespace

// Registration, hand-over, full screen and keys from the pipe, with the
// order of the server's registry (desktop, call log, messages) deciding
// who gets the screen, and keys reaching only the enabled owner.
TEST_F(ProcessSharing, KeysFollowTheScreenAcrossProcesses)
{
    PhoneletProcess& desktop = startDesktop();
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
    keys({DOWN, DOWN | RELEASE, DIGIT_5, DIGIT_5 | RELEASE, DIGIT_7, DIGIT_7 | RELEASE,
          UNMAPPED, UNMAPPED | RELEASE, HASH | RELEASE});
    ASSERT_GE(calllog.waitLine("key 35 0"), 0);
    ASSERT_GE(calllog.waitLine("list 1"), 0); // list events queue behind the keys
    EXPECT_EQ(calllog.lines("key "), keyLines({{4, 1}, {4, 0}, {53, 1}, {53, 0}, {55, 1},
                                               {55, 0}, {0, 1}, {0, 0}, {35, 0}}));
    EXPECT_EQ(calllog.lines("list "), std::vector<std::string>{"list 1"});
    EXPECT_EQ(calllog.lines("edit "), (std::vector<std::string>{"edit 5", "edit 57"}));
    EXPECT_NE(desktop.errText().find("UWARNING: Key is not mapped: 17\n"), std::string::npos)
        << desktop.errText();

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
    const int portLine = messages.waitLine("port ", 20, 0, true);
    ASSERT_GE(portLine, 0);
    sendDatagram(static_cast<unsigned short>(std::stoi(messages.line(portLine).substr(5))),
                 {0x01, 0x00, 0x00});
    ASSERT_GE(messages.waitLine("UAppClient MessagesPhonelet: unrecognized message: 0x100"), 0);
    EXPECT_EQ(messages.lines("key "), std::vector<std::string>{});
    EXPECT_EQ(messages.lines("show"), std::vector<std::string>{});

    quitAll();
}

// A key held down repeats once a second as KEY_HELD until its release; no
// repeat follows the release.
TEST_F(ProcessSharing, HeldKeyRepeatsOnceASecond)
{
    PhoneletProcess& desktop = startDesktop();
    PhoneletProcess& calllog = startClient(desktop, "calllog", "CallLogPhonelet", "Call log");
    ASSERT_FALSE(HasFailure());
    desktop.send("release");
    ASSERT_GE(calllog.waitLine("show"), 0);

    using clock = std::chrono::steady_clock;
    const clock::time_point pressed = clock::now();
    keys({DOWN});
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
    keys({DOWN | RELEASE});
    ASSERT_GE(calllog.waitLine("key 4 0"), 0);
    // Past the next repeat's time, another key: nothing came in between.
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    keys({DIGIT_5});
    ASSERT_GE(calllog.waitLine("key 53 1"), 0);
    EXPECT_EQ(calllog.lines("key "), keyLines({{4, 1}, {4, 2}, {4, 2}, {4, 0}, {53, 1}}));

    quitAll();
}
