// Key input of utk-phone before it reaches the key pipe: terminal bytes
// decoded into raw key numbers, and key scripts parsed.
#include <gtest/gtest.h>

#include "keymap.h"
#include "phone.h"

namespace {

std::vector<int> decode(keymap::TerminalDecoder& d, const std::string& bytes)
{
    return d.feed(bytes.data(), bytes.size());
}

TEST(PhoneKeys, TerminalBytesBecomeRawKeys)
{
    keymap::TerminalDecoder d;
    // Digits, star, hash, Enter (CR LF is one), Backspace both ways.
    EXPECT_EQ(decode(d, "09*#\r\n\x7f\b"), (std::vector<int>{0, 9, 10, 11, 16, 14, 14}));
    // Arrows in both cursor modes; F1-F4 as xterm, rxvt and the Linux
    // console send them; the letter soft keys; quit.
    EXPECT_EQ(decode(d, "\x1b[A\x1b[B\x1b[D\x1b[C\x1bOA\x1bOC"), (std::vector<int>{12, 13, 14, 15, 12, 15}));
    EXPECT_EQ(decode(d, "\x1bOP\x1b[12~\x1b[[C\x1bOSasdf"), (std::vector<int>{18, 19, 20, 21, 18, 19, 20, 21}));
    EXPECT_EQ(decode(d, "5q\x03"), (std::vector<int>{5, keymap::QUIT, keymap::QUIT}));
    // A sequence split over reads is kept, not taken for Escape plus keys.
    EXPECT_TRUE(decode(d, "1\x1b[1").size() == 1 && d.pending());
    EXPECT_EQ(decode(d, "3~2"), (std::vector<int>{20, 2}));
    EXPECT_FALSE(d.pending());
    // Unknown sequences and keys are skipped whole.
    EXPECT_EQ(decode(d, "\x1b[15~x\x1b[200~7"), (std::vector<int>{7}));
}

TEST(PhoneKeys, ScriptsParseOrSayWhichLineIsWrong)
{
    std::vector<ScriptStep> steps;
    std::string error;
    ASSERT_TRUE(parseScript("# start\nsettle\ntap # 250   # the hash key, held\n"
                            "press 127\nrelease menu\nsnap first\nkill phone-calllog 15\nquit\n",
                            steps, error))
        << error;
    // Kind, number, hold, text and line of each step.
    std::string seen;
    for (const ScriptStep& st : steps)
        seen += std::to_string(st.kind) + " " + std::to_string(st.number) + " " +
                std::to_string(st.hold) + " " + st.text + " " + std::to_string(st.line) + "\n";
    EXPECT_EQ(seen, "4 600 100  2\n3 11 250  3\n1 127 100  4\n2 18 100  5\n"
                    "6 0 100 first 6\n7 15 100 phone-calllog 7\n8 0 100  8\n");
    for (const char* bad : {"press 128", "tap", "tap up x", "snap ../x", "wait", "hop 1"}) {
        steps.clear();
        EXPECT_FALSE(parseScript(std::string("settle\n") + bad + "\n", steps, error)) << bad;
        EXPECT_EQ(error.compare(0, 7, "line 2:"), 0) << error;
    }
}

} // namespace
