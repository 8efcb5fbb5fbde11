#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <string>

#include "keymap.h"
#include "lcdart.h"
#include "views.h"

namespace {

std::atomic<bool> g_resized(false);

extern "C" void onResize(int)
{
    g_resized.store(true);
}

const char* const HELP =
    "0-9 * #  arrows  Enter=select  Backspace=left  F1-F4 or a s d f=soft keys (F1 menu)  q=quit";

class TerminalView : public View {
public:
    TerminalView()
    {
        tcgetattr(STDIN_FILENO, &m_saved);
        termios raw = m_saved;
        raw.c_lflag &= ~(ICANON | ECHO | ISIG | IEXTEN);
        raw.c_iflag &= ~(IXON | ICRNL | INLCR);
        raw.c_cc[VMIN] = 0;
        raw.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &raw);
        struct sigaction sa = {};
        sa.sa_handler = onResize;
        sigaction(SIGWINCH, &sa, nullptr);
        write("\x1b[?1049h\x1b[?25l\x1b[2J");
    }

    ~TerminalView() override
    {
        write("\x1b[0m\x1b[?25h\x1b[?1049l");
        tcsetattr(STDIN_FILENO, TCSANOW, &m_saved);
    }

    void show(const snapshot::Picture& lcd) override
    {
        m_lcd = lcd;
        draw();
    }

    std::vector<ViewKey> keys(int timeoutMs) override
    {
        if (g_resized.exchange(false))
            draw();
        std::vector<ViewKey> out;
        pollfd p = {STDIN_FILENO, POLLIN, 0};
        if (poll(&p, 1, m_decoder.pending() ? std::min(timeoutMs, 30) : timeoutMs) <= 0) {
            m_decoder.flush(); // a lone Escape
            return out;
        }
        char bytes[64];
        const ssize_t n = read(STDIN_FILENO, bytes, sizeof bytes);
        if (n <= 0)
            return out;
        for (int raw : m_decoder.feed(bytes, size_t(n))) {
            ViewKey k;
            k.kind = raw == keymap::QUIT ? ViewKey::Quit : ViewKey::Tap;
            k.raw = raw;
            out.push_back(k);
        }
        return out;
    }

    void status(const std::string& text) override
    {
        m_status = text;
        draw();
    }

private:
    static void write(const std::string& s)
    {
        size_t done = 0;
        while (done < s.size()) {
            const ssize_t n = ::write(STDOUT_FILENO, s.data() + done, s.size() - done);
            if (n <= 0)
                return;
            done += size_t(n);
        }
    }

    void draw()
    {
        std::string out = "\x1b[H\x1b[0m";
        std::string rule;
        for (uint32_t i = 0; i < m_lcd.width; ++i)
            rule += "\u2500";
        out += "\u250c" + rule + "\u2510\x1b[K\r\n";
        // Black ink on a light LCD whatever the terminal's own colours.
        for (const std::string& line : lcdart::halfBlocks(m_lcd))
            out += "\u2502\x1b[30;47m" + line + "\x1b[0m\u2502\x1b[K\r\n";
        out += "\u2514" + rule + "\u2518\x1b[K\r\n";
        out += std::string(HELP) + "\x1b[K\r\n";
        out += m_status + "\x1b[K\x1b[J";
        write(out);
    }

    termios m_saved;
    snapshot::Picture m_lcd;
    keymap::TerminalDecoder m_decoder;
    std::string m_status;
};

} // namespace

std::unique_ptr<View> makeTerminalView()
{
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO))
        return nullptr;
    return std::unique_ptr<View>(new TerminalView());
}
