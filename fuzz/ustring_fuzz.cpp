// UString's UTF-8 decoder and encoder and its ASCII conversion against
// straightforward reference versions of the same rules, plus the promises
// built on them:
//  - the input bytes, decoded, give the units of the reference decoder,
//    through fromUTF8 and through the std::string constructor alike;
//  - the input bytes, taken as 16-bit units, and the decoded string:
//    toUTF8 gives the reference bytes; without surrogate units
//    fromUTF8(s.toUTF8()) == s; toASCII has one byte per unit with
//    0xE000..0xE002 as 0x1F; c_str() holds the units and a terminating zero;
//  - operator< orders two strings as their UTF-8 forms, as unsigned bytes.
#include "fuzzcheck.h"
#include "ustring.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>


namespace {

typedef std::vector<unsigned short> Units;

unsigned char byteAt(const std::string& s, size_t i)
{
    return i < s.size() ? static_cast<unsigned char>(s[i]) : 0;
}

Units referenceDecode(const std::string& bytes)
{
    Units out;
    size_t i = 0;
    while (i < bytes.size()) {
        const unsigned b = byteAt(bytes, i);
        if (b < 0x80) {
            out.push_back(static_cast<unsigned short>(b));
            i += 1;
        } else if ((b & 0xE0) == 0xC0) {
            out.push_back(static_cast<unsigned short>(((b << 6) & 0x7C0) |
                                                      (byteAt(bytes, i + 1) & 0x3F)));
            i += 2;
        } else if ((b & 0xF0) == 0xE0) {
            out.push_back(static_cast<unsigned short>(((b & 0x0F) << 12) |
                                                      ((byteAt(bytes, i + 1) & 0x3F) << 6) |
                                                      (byteAt(bytes, i + 2) & 0x3F)));
            i += 3;
        } else {
            i += 1;
        }
    }
    return out;
}

std::string referenceEncode(const Units& units)
{
    std::string out;
    for (unsigned u : units) {
        if (u < 0x80) {
            out += static_cast<char>(u);
        } else if (u < 0x800) {
            out += static_cast<char>(0xC0 | (u >> 6));
            out += static_cast<char>(0x80 | (u & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (u >> 12));
            out += static_cast<char>(0x80 | ((u >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (u & 0x3F));
        }
    }
    return out;
}

bool hasSurrogate(const Units& units)
{
    for (unsigned u : units)
        if (u >= 0xD800 && u <= 0xDFFF)
            return true;
    return false;
}

void checkString(const UString& s)
{
    const Units& units = s.storage();
    FUZZ_CHECK(s.length() == units.size());

    const std::string utf8 = s.toUTF8();
    FUZZ_CHECK(utf8 == referenceEncode(units));
    if (!hasSurrogate(units))
        FUZZ_CHECK(UString::fromUTF8(utf8) == s);

    const std::string ascii = s.toASCII();
    FUZZ_CHECK(ascii.size() == s.length());
    for (size_t i = 0; i < units.size(); ++i) {
        const unsigned u = units[i];
        const unsigned expected = (u >= 0xE000 && u <= 0xE002) ? 0x1F : (u & 0xFF);
        FUZZ_CHECK(static_cast<unsigned char>(ascii[i]) == expected);
    }

    const unsigned short* c = s.c_str();
    for (size_t i = 0; i < units.size(); ++i)
        FUZZ_CHECK(c[i] == units[i]);
    FUZZ_CHECK(c[units.size()] == 0);
    FUZZ_CHECK(s.c_str() == c);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);

    // The bytes as UTF-8 text.
    const UString decoded = UString::fromUTF8(bytes);
    FUZZ_CHECK(decoded.storage() == referenceDecode(bytes));
    FUZZ_CHECK(UString(bytes) == decoded);
    checkString(decoded);

    // The bytes as 16-bit units, little-endian.
    UString units;
    for (size_t i = 0; i + 1 < size; i += 2)
        units.append(static_cast<unsigned short>(data[i] | (data[i + 1] << 8)));
    checkString(units);

    // Ordering of two strings cut from the units.
    const unsigned half = units.length() / 2;
    const UString a = units.substr(0, half);
    const UString b = units.substr(half, units.length());
    FUZZ_CHECK((a < b) == (a.toUTF8() < b.toUTF8()));
    FUZZ_CHECK((b < a) == (b.toUTF8() < a.toUTF8()));
    FUZZ_CHECK(!(a < a));
    return 0;
}
