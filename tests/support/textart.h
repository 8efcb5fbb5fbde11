// Text art of one-bit screens for golden tests: one character per pixel,
// '#' for ink (a clear bit) and '.' for background (a set bit), one line per
// row. Golden files live in tests/golden/<name>.txt; running a test with
// UTK_UPDATE_GOLDEN=1 in the environment rewrites them from the output.
#ifndef UTK_TESTS_TEXTART_H
#define UTK_TESTS_TEXTART_H

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "uscreenifc.h"

namespace textart {

// Rows [y0, y0+h) and columns [x0, x0+w) of a one-bit buffer, MSB first.
inline std::string fromBuffer(const unsigned char* buf, int stride, int x0, int y0, int w, int h)
{
    std::string out;
    out.reserve(static_cast<size_t>((w + 1) * h));
    for (int y = y0; y < y0 + h; ++y) {
        const unsigned char* row = buf + y * stride;
        for (int x = x0; x < x0 + w; ++x)
            out += (row[x / 8] & (0x80 >> (x % 8))) ? '.' : '#';
        out += '\n';
    }
    return out;
}

// A screen region through pixel(): 0 is ink, anything else background.
inline std::string fromScreen(const UScreenIfc& s, int x0, int y0, int w, int h)
{
    std::string out;
    for (int y = y0; y < y0 + h; ++y) {
        for (int x = x0; x < x0 + w; ++x)
            out += s.pixel(static_cast<unsigned short>(x), static_cast<unsigned short>(y)) ? '.' : '#';
        out += '\n';
    }
    return out;
}

// A whole file, empty when it cannot be read.
inline std::string readFile(const std::string& path)
{
    std::stringstream ss;
    ss << std::ifstream(path, std::ios::binary).rdbuf();
    return ss.str();
}

inline std::string goldenPath(const std::string& name)
{
    return std::string(UTK_SOURCE_DIR) + "/tests/golden/" + name + ".txt";
}

// Compares `art` with the golden file `name`; on mismatch the test fails
// and shows both pictures.
inline ::testing::AssertionResult matchesGolden(const std::string& art, const std::string& name)
{
    const std::string path = goldenPath(name);
    const char* update = std::getenv("UTK_UPDATE_GOLDEN");
    if (update && *update && std::string(update) != "0") {
        std::ofstream(path, std::ios::binary) << art;
        return ::testing::AssertionSuccess();
    }
    if (!std::ifstream(path))
        return ::testing::AssertionFailure() << "missing golden file " << path
                                             << " (run with UTK_UPDATE_GOLDEN=1)\n" << art;
    const std::string golden = readFile(path);
    if (golden == art)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "golden " << name << " differs.\nexpected:\n"
                                         << golden << "actual:\n" << art;
}

} // namespace textart

#endif
