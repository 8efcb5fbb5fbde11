// The LCD as terminal text: two pixel rows a line in half-block characters
// (upper half, lower half, both, neither), dark pixels drawn as blocks.
#ifndef UTK_SIM_PHONE_LCDART_H
#define UTK_SIM_PHONE_LCDART_H

#include <string>
#include <vector>

#include "snapshot.h"

namespace lcdart {

inline bool dark(const snapshot::Picture& p, uint32_t x, uint32_t y)
{
    const uint8_t* c = &p.rgb[(static_cast<size_t>(y) * p.width + x) * 3];
    return (c[0] * 299u + c[1] * 587u + c[2] * 114u) / 1000u < 128;
}

// One string (UTF-8) per terminal line, (height + 1) / 2 lines.
inline std::vector<std::string> halfBlocks(const snapshot::Picture& p)
{
    std::vector<std::string> lines;
    for (uint32_t y = 0; y < p.height; y += 2) {
        std::string line;
        for (uint32_t x = 0; x < p.width; ++x) {
            const bool top = dark(p, x, y);
            const bool bottom = y + 1 < p.height && dark(p, x, y + 1);
            line += top && bottom ? "\u2588" : top ? "\u2580" : bottom ? "\u2584" : " ";
        }
        lines.push_back(line);
    }
    return lines;
}

} // namespace lcdart

#endif
