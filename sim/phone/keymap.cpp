#include "keymap.h"

#include <cstdlib>

namespace keymap {

namespace {

struct Named {
    const char* name;
    int raw;
};
const Named NAMES[] = {{"star", 10},  {"hash", 11},  {"up", 12},    {"down", 13},
                       {"left", 14},  {"right", 15}, {"select", 16}, {"soft1", 18},
                       {"menu", 18},  {"soft2", 19}, {"soft3", 20},  {"soft4", 21}};

// Escape sequences after ESC, and the raw key they mean.
const Named SEQUENCES[] = {
    {"[A", 12},   {"[B", 13},   {"[D", 14},   {"[C", 15},   {"OA", 12},   {"OB", 13},
    {"OD", 14},   {"OC", 15},   {"OP", 18},   {"OQ", 19},   {"OR", 20},   {"OS", 21},
    {"[11~", 18}, {"[12~", 19}, {"[13~", 20}, {"[14~", 21}, {"[[A", 18},  {"[[B", 19},
    {"[[C", 20},  {"[[D", 21},  {"OM", 16},
};

int single(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    switch (c) {
    case '*': return 10;
    case '#': return 11;
    case '\r':
    case '\n': return 16;
    case 0x7F:
    case 0x08: return 14;
    case 'a': return 18;
    case 's': return 19;
    case 'd': return 20;
    case 'f': return 21;
    case 'q':
    case 0x03: return QUIT;
    default: return -1;
    }
}

} // namespace

int rawByName(const std::string& name)
{
    if (name.size() == 1 && name[0] >= '0' && name[0] <= '9')
        return name[0] - '0';
    for (const Named& n : NAMES)
        if (name == n.name)
            return n.raw;
    if (name.empty() || name.size() > 3 || name.find_first_not_of("0123456789") != std::string::npos)
        return -1;
    const int raw = std::atoi(name.c_str());
    return raw <= 127 ? raw : -1;
}

std::string nameOfRaw(int raw)
{
    if (raw >= 0 && raw <= 9)
        return std::string(1, char('0' + raw));
    for (const Named& n : NAMES)
        if (n.raw == raw)
            return n.name;
    return "raw " + std::to_string(raw);
}

std::vector<int> TerminalDecoder::feed(const char* bytes, size_t count)
{
    std::vector<int> keys;
    m_pending.append(bytes, count);
    size_t i = 0;
    while (i < m_pending.size()) {
        const unsigned char c = static_cast<unsigned char>(m_pending[i]);
        if (c != 0x1B) {
            // CR LF from one Enter is one select.
            if (c == '\n' && i > 0 && m_pending[i - 1] == '\r') {
                ++i;
                continue;
            }
            const int raw = single(c);
            if (raw != -1)
                keys.push_back(raw);
            ++i;
            continue;
        }
        // An escape sequence: match a known one, wait for more bytes while
        // the rest could still become one, else skip the Escape.
        const std::string rest = m_pending.substr(i + 1);
        bool matched = false, prefix = false;
        for (const Named& s : SEQUENCES) {
            const std::string seq = s.name;
            if (rest.compare(0, seq.size(), seq) == 0) {
                keys.push_back(s.raw);
                i += 1 + seq.size();
                matched = true;
                break;
            }
            if (seq.compare(0, rest.size(), rest) == 0)
                prefix = true;
        }
        if (matched)
            continue;
        if (prefix) {
            m_pending.erase(0, i);
            return keys;
        }
        // Unknown sequence: skip ESC and the CSI body up to its final byte.
        ++i;
        if (i < m_pending.size() && (m_pending[i] == '[' || m_pending[i] == 'O')) {
            ++i;
            while (i < m_pending.size() && !(m_pending[i] >= 0x40 && m_pending[i] <= 0x7E))
                ++i;
            if (i < m_pending.size())
                ++i;
        }
    }
    m_pending.clear();
    return keys;
}

} // namespace keymap
