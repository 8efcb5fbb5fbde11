// The phone's keypad on a PC: key names for scripts and the decoding of a
// terminal's keyboard bytes into raw key numbers, the numbers the keypad
// driver writes into the key pipe (0-9 digits, 10 star, 11 hash, 12 up,
// 13 down, 14 left, 15 right, 16 select, 18-21 the soft keys).
#ifndef UTK_SIM_PHONE_KEYMAP_H
#define UTK_SIM_PHONE_KEYMAP_H

#include <string>
#include <vector>

namespace keymap {

const int QUIT = -2;

// Raw key number of a script key name ("0".."9", star, hash, up, down,
// left, right, select, soft1..soft4, menu = soft1) or of a decimal raw
// number 0-127; -1 when unknown.
int rawByName(const std::string& name);

// The name of a raw number, for messages ("raw 17" when it has none).
std::string nameOfRaw(int raw);

// Decodes the bytes a terminal sends for keys. Escape sequences may arrive
// split over several reads; feed() keeps an unfinished one for the next
// call, and flush() drops it (a lone Escape key).
//
//   0-9 * #            digits, star, hash
//   arrows             up, down, left, right
//   Enter              select
//   Backspace          left
//   F1-F4, a s d f     soft keys 1-4 (raw 18-21); F1 / a is the menu key
//   q, Ctrl-C          quit
class TerminalDecoder {
public:
    // Raw key numbers (or QUIT) for the bytes, in order.
    std::vector<int> feed(const char* bytes, size_t count);
    bool pending() const { return !m_pending.empty(); }
    void flush() { m_pending.clear(); }

private:
    std::string m_pending;
};

} // namespace keymap

#endif
